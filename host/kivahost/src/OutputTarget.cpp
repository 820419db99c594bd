#include "OutputTarget.h"

#include "OutputFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <regex>

namespace kivahost {

std::string DirectoryOf(const std::string& path) {
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  return parent.empty() ? "." : parent.string();
}

namespace {

// The kernel's own limit on links followed in one lookup.
constexpr int kMostLinks = 40;

// Whether `path` is an entry of a process's descriptor table (/proc/PID/fd/N, also reached as
// /dev/fd/N or /proc/self/fd/N): such a link names no file to replace but an open descriptor,
// which may be a pipe or a socket that no path reaches. Answers N when it is ours, else -1 in
// `ours`.
bool IsDescriptorLink(const std::string& path, int& ours) {
  char* real = ::realpath(DirectoryOf(path).c_str(), nullptr);
  if (real == nullptr) return false;
  const std::string directory = real;
  std::free(real);
  static const std::regex kTable(R"(/proc/([0-9]+)(/task/[0-9]+)?/fd)");
  std::smatch match;
  if (!std::regex_match(directory, match, kTable)) return false;
  const std::string name = std::filesystem::path(path).filename().string();
  ours = -1;
  if (std::stol(match[1].str()) == ::getpid() && !name.empty() &&
      name.find_first_not_of("0123456789") == std::string::npos && name.size() < 9) {
    ours = std::stoi(name);
  }
  return true;
}

std::string DescriptorName(int descriptor, const std::string& given) {
  if (descriptor == STDOUT_FILENO) return "standard output";
  if (descriptor == STDERR_FILENO) return "standard error";
  return given;
}

}  // namespace

OutputTarget ResolveOutput(const std::string& given) {
  OutputTarget target;
  target.name = given;
  if (given == "-") {
    target.kind = OutputTarget::Kind::kStream;
    target.descriptor = STDOUT_FILENO;
    target.name = "standard output";
    return target;
  }
  std::string path = given;
  for (int links = 0;; ++links) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) {
      // A new file, or the missing target of a dangling link: made at `path`. A name too long is
      // told with the file system's limit when the file is made.
      if (errno != ENOENT && errno != ENAMETOOLONG) throw OutputError(DescribeError(errno));
      break;
    }
    if (S_ISLNK(info.st_mode)) {
      if (links == kMostLinks) throw OutputError(DescribeError(ELOOP));
      int ours = -1;
      if (IsDescriptorLink(path, ours)) {
        target.kind = OutputTarget::Kind::kStream;
        target.descriptor = ours;
        target.path = path;
        target.name = DescriptorName(ours, given);
        return target;
      }
      std::string link(PATH_MAX, '\0');
      const ssize_t length = ::readlink(path.c_str(), link.data(), link.size());
      if (length < 0) throw OutputError(DescribeError(errno));
      link.resize(static_cast<std::size_t>(length));
      const std::string directory = DirectoryOf(path);
      path = link.front() == '/' || directory == "." ? link : directory + "/" + link;
      continue;
    }
    if (S_ISDIR(info.st_mode)) throw OutputError("it is a directory");
    if (!S_ISREG(info.st_mode)) {
      target.kind = OutputTarget::Kind::kStream;
      target.isSocket = S_ISSOCK(info.st_mode);
    }
    break;
  }
  target.path = path;
  if (target.kind == OutputTarget::Kind::kFile && path != given) {
    target.name = given + " (a link to " + path + ")";
  }
  return target;
}

}  // namespace kivahost
