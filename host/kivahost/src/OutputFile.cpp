#include "OutputFile.h"

#include "Console.h"

#include <noxcore/filesupport/File.h>
#include <noxcore/utility/Strings.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <regex>

namespace kivahost {

namespace {

// Temporaries are hidden and end in ".part", so nobody takes one for output; the process id in
// the name tells a leftover of a killed run from one that is still being written.
constexpr const char* kTemporaryMarker = ".kivahost-";
constexpr const char* kTemporarySuffix = ".part";

// Live temporaries, kept where a signal handler can read them without allocating.
constexpr std::size_t kSlots = 8;
std::array<std::array<char, PATH_MAX>, kSlots> sTemporaries{};
std::array<std::atomic<bool>, kSlots> sInUse{};

int Register(const std::string& path) {
  for (std::size_t i = 0; i < kSlots; ++i) {
    bool expected = false;
    if (sInUse[i].compare_exchange_strong(expected, true)) {
      std::snprintf(sTemporaries[i].data(), PATH_MAX, "%s", path.c_str());
      return static_cast<int>(i);
    }
  }
  return -1;  // more outputs at once than slots: that one is not removed on interruption
}

void Unregister(int slot) {
  if (slot >= 0) sInUse[static_cast<std::size_t>(slot)] = false;
}

extern "C" void OnInterruption(int signal) {
  for (std::size_t i = 0; i < kSlots; ++i) {
    if (sInUse[i]) ::unlink(sTemporaries[i].data());
  }
  _exit(128 + signal);
}

std::string DirectoryOf(const std::string& target) {
  const std::filesystem::path parent = std::filesystem::path(target).parent_path();
  return parent.empty() ? "." : parent.string();
}

bool SameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Removes the temporaries that killed runs left in `directory` (their process is gone).
void RemoveLeftovers(const std::string& directory) {
  DIR* listing = ::opendir(directory.c_str());
  if (listing == nullptr) return;
  // The name TemporaryName gives, with the process id to read.
  static const std::regex kLeftover(R"(\..*\.kivahost-([0-9]+)\.part)");
  while (const dirent* entry = ::readdir(listing)) {
    std::cmatch match;
    if (!std::regex_match(entry->d_name, match, kLeftover)) continue;
    const long pid = std::strtol(match[1].first, nullptr, 10);
    if (pid <= 0 || pid > INT_MAX) continue;
    if (::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH) continue;
    const std::string path = directory + "/" + entry->d_name;
    struct stat info {};
    if (::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) ::unlink(path.c_str());
  }
  ::closedir(listing);
}

// A name for the temporary that fits the file system even when the target's name barely does.
std::string TemporaryName(const std::string& directory, const std::string& name) {
  const long maximum = ::pathconf(directory.c_str(), _PC_NAME_MAX);
  const std::string tail = kTemporaryMarker + std::to_string(::getpid()) + kTemporarySuffix;
  const std::size_t room = maximum > 0 ? static_cast<std::size_t>(maximum) - 1 - tail.size() : 200;
  return directory + "/." + name.substr(0, std::min(name.size(), room)) + tail;
}

}  // namespace

std::string TemporaryDirectory() {
  const char* directory = std::getenv("TMPDIR");
  return directory != nullptr && *directory != '\0' ? directory : "/tmp";
}

std::string DescribeError(int error) {
  switch (error) {
    case ENOSPC:
      return "no space left on the device";
    case EDQUOT:
      return "the disk quota is used up";
    case EROFS:
      return "the file system is read-only";
    case EACCES:
    case EPERM:
      return "permission denied";
    case ENOENT:
      return "no such file or directory";
    case ENAMETOOLONG:
      return "the file name is too long";
    case ELOOP:
      return "too many levels of symbolic links (a link loop)";
    case EISDIR:
      return "it is a directory";
    case ENOTDIR:
      return "a part of the path is not a directory";
    case EFBIG:
      return "the file is too large for the file system";
    case EIO:
      return "an input/output error on the device";
    default:
      return std::strerror(error);
  }
}

OutputFile::OutputFile(std::string targetPath, const std::vector<std::string>& inputs)
    : target(std::move(targetPath)) {
  if (target.empty()) throw OutputError("no output file was named");
  if (target == "-") {
    OpenForStandardOutput();
    return;
  }
  directory = DirectoryOf(target);
  const std::string name = std::filesystem::path(target).filename().string();
  if (name.empty() || name == "." || name == "..") {
    throw OutputError("the name is a directory's, not a file's");
  }

  struct stat directoryInfo {};
  if (::stat(directory.c_str(), &directoryInfo) != 0) {
    if (errno == ENOENT) throw OutputError("the directory " + directory + " does not exist");
    throw OutputError("the directory " + directory + ": " + DescribeError(errno));
  }
  if (!S_ISDIR(directoryInfo.st_mode)) throw OutputError(directory + " is not a directory");

  const long maximum = ::pathconf(directory.c_str(), _PC_NAME_MAX);
  if (maximum > 0 && name.size() > static_cast<std::size_t>(maximum)) {
    throw OutputError("the file name is too long (" + std::to_string(name.size()) +
                      " bytes; the file system takes at most " + std::to_string(maximum) + ")");
  }

  struct stat targetInfo {};
  const bool exists = ::stat(target.c_str(), &targetInfo) == 0;
  if (!exists && errno != ENOENT) {
    throw OutputError(DescribeError(errno));
  }
  if (exists && S_ISDIR(targetInfo.st_mode)) throw OutputError("it is a directory");
  // A protected file is not replaced, even where its directory would allow it.
  std::u16string widePath;
  noxcore::utility::UTF8to16(target, widePath);
  if (exists && noxcore::filesupport::File(widePath).IsProtected()) {
    throw OutputError("it is write-protected");
  }
  if (exists) {
    for (const auto& input : inputs) {
      struct stat inputInfo {};
      if (::stat(input.c_str(), &inputInfo) == 0 && SameFile(inputInfo, targetInfo)) {
        throw OutputError("it is the input file " + input +
                          " (writing it would destroy what is being read)");
      }
    }
  }

  struct statvfs fileSystem {};
  if (::statvfs(directory.c_str(), &fileSystem) == 0 && (fileSystem.f_flag & ST_RDONLY) != 0) {
    throw OutputError("the file system of " + directory + " is read-only");
  }
  if (::access(directory.c_str(), W_OK | X_OK) != 0) {
    throw OutputError("permission denied: cannot create files in " + directory);
  }

  RemoveLeftovers(directory);
  temporary = TemporaryName(directory, name);
  descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor < 0) {
    throw OutputError(DescribeError(errno));
  }
  slot = Register(temporary);
}

void OutputFile::OpenForStandardOutput() {
  if (::isatty(STDOUT_FILENO) != 0) {
    throw OutputError("standard output is a terminal; redirect it to a file or a pipe");
  }
  toStandardOutput = true;
  SendDataToStandardOutput();
  // A reader that goes away ends the copy with an error, not the process with SIGPIPE, so that
  // the temporary is removed.
  ::signal(SIGPIPE, SIG_IGN);
  // Writers seek back to finish their headers: the file is made whole first, then copied out.
  directory = TemporaryDirectory();
  RemoveLeftovers(directory);
  temporary = TemporaryName(directory, "kivahost-standard-output");
  descriptor = ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor < 0) throw OutputError("the temporary " + temporary + ": " + DescribeError(errno));
  slot = Register(temporary);
}

void OutputFile::CopyToStandardOutput() {
  const int written = ::open(temporary.c_str(), O_RDONLY | O_CLOEXEC);
  if (written < 0) throw OutputError("the output was not written");
  std::vector<char> buffer(1 << 16);
  for (;;) {
    const ssize_t got = ::read(written, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      const int error = errno;
      ::close(written);
      throw OutputError(DescribeError(error));
    }
    if (got == 0) break;
    for (ssize_t sent = 0; sent < got;) {
      const ssize_t now =
          ::write(STDOUT_FILENO, buffer.data() + sent, static_cast<std::size_t>(got - sent));
      if (now < 0 && errno == EINTR) continue;
      if (now <= 0) {
        const int error = errno;
        ::close(written);
        throw OutputError(error == EPIPE ? "standard output was closed before the end"
                                         : DescribeError(error));
      }
      sent += now;
    }
  }
  ::close(written);
  ::unlink(temporary.c_str());
  committed = true;
  Unregister(slot);
}

OutputFile::~OutputFile() {
  if (committed) return;
  if (descriptor >= 0) ::close(descriptor);
  ::unlink(temporary.c_str());
  Unregister(slot);
}

bool OutputFile::DeviceIsFull() const {
  struct statvfs fileSystem {};
  if (::statvfs(directory.c_str(), &fileSystem) != 0) return false;
  return static_cast<unsigned long long>(fileSystem.f_bavail) * fileSystem.f_frsize < (1u << 20);
}

void OutputFile::Write(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = ::write(descriptor, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) throw OutputError(DescribeError(errno));
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}

void OutputFile::Commit() {
  const int ours = descriptor;
  descriptor = -1;
  if (::close(ours) != 0) throw OutputError(DescribeError(errno));
  struct stat made {};
  if (::stat(temporary.c_str(), &made) == 0) committedSize = made.st_size;
  if (toStandardOutput) {
    CopyToStandardOutput();
    return;
  }
  // Flushed through the path: a plug-in given the temporary's path may have made a new file there.
  const int written = ::open(temporary.c_str(), O_RDONLY | O_CLOEXEC);
  if (written < 0) throw OutputError("the output was not written");
  const bool flushed = ::fsync(written) == 0;
  const int error = errno;
  ::close(written);
  if (!flushed) throw OutputError(DescribeError(error));
  // The new file takes the permissions of the one it replaces, or the usual ones of a new file.
  struct stat targetInfo {};
  mode_t mode = 0;
  if (::stat(target.c_str(), &targetInfo) == 0) {
    mode = targetInfo.st_mode & 07777;
  } else {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    mode = 0666 & ~mask;
  }
  ::chmod(temporary.c_str(), mode);
  if (::rename(temporary.c_str(), target.c_str()) != 0) {
    throw OutputError(DescribeError(errno));
  }
  committed = true;
  Unregister(slot);
  // The rename itself must reach the disk too.
  const int directory = ::open(DirectoryOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory >= 0) {
    ::fsync(directory);
    ::close(directory);
  }
}

void RemoveTemporariesOnInterruption() {
  struct sigaction action {};
  action.sa_handler = OnInterruption;
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGINT, SIGTERM}) {
    // A signal the process was started with ignored (a background job's SIGINT) stays ignored.
    struct sigaction current {};
    if (::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) continue;
    ::sigaction(signal, &action, nullptr);
  }
}

}  // namespace kivahost
