#include <noxcore/config/Error.h>
#include <noxcore/filesupport/File.h>
#include <noxcore/utility/Strings.h>

#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>

namespace noxcore::filesupport {

namespace {

constexpr const char* kCannotDelete =
    "$$$/noxcore/filesupport/Error/CannotDelete=The file @0 could not be deleted.";

}  // namespace

File::File(std::u16string path) : path(std::move(path)) {}

bool File::Exists() const {
  std::string native;
  if (!utility::UTF16to8(path, native) || native.empty()) return false;
  struct stat info {};
  return ::stat(native.c_str(), &info) == 0;
}

bool File::IsProtected() const {
  std::string native;
  if (!utility::UTF16to8(path, native) || native.empty()) return false;
  struct stat info {};
  if (::stat(native.c_str(), &info) != 0) return false;
  return (info.st_mode & S_IWUSR) == 0 || ::access(native.c_str(), W_OK) != 0;
}

void File::Delete() const {
  std::string native;
  if (!utility::UTF16to8(path, native) || native.empty()) return;
  struct stat info {};
  if (::lstat(native.c_str(), &info) != 0) {
    if (errno == ENOENT) return;
    config::ThrowError(0, kCannotDelete, 0, errno, true, config::ReplacementValue(path));
  }
  // Only a plain file is deleted, and not a protected one, even where the directory would allow
  // it: a locked file is not to be deleted, and one the user may not write is not theirs.
  if (!S_ISREG(info.st_mode) || IsProtected()) {
    config::ThrowError(0, kCannotDelete, 0, S_ISREG(info.st_mode) ? EACCES : EISDIR, true,
                       config::ReplacementValue(path));
  }
  if (::unlink(native.c_str()) != 0 && errno != ENOENT) {
    config::ThrowError(0, kCannotDelete, 0, errno, true, config::ReplacementValue(path));
  }
}

std::u16string File::GetExtension() const {
  const auto slash = path.find_last_of(u'/');
  const auto nameStart = slash == std::u16string::npos ? 0 : slash + 1;
  const auto dot = path.find_last_of(u'.');
  // A leading dot names a hidden file, not an extension.
  if (dot == std::u16string::npos || dot <= nameStart) return {};
  return path.substr(dot);
}

}  // namespace noxcore::filesupport
