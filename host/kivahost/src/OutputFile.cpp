#include "OutputFile.h"

#include "Console.h"
#include "Interruption.h"
#include "LocalSocket.h"

#include <noxcore/utility/Strings.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

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

std::string NameOf(const std::string& path) {
  return std::filesystem::path(path).filename().string();
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

// A name for the temporary that fits the file system even when the target's name barely does,
// and that the host's records can carry even when the target's name is not UTF-8.
std::string TemporaryName(const std::string& directory, const std::string& name) {
  const std::string base = IsUtf8(name) ? name : "output";
  const long maximum = ::pathconf(directory.c_str(), _PC_NAME_MAX);
  const std::string tail = kTemporaryMarker + std::to_string(::getpid()) + kTemporarySuffix;
  std::size_t room = maximum > 0 ? static_cast<std::size_t>(maximum) - 1 - tail.size() : 200;
  // Never cut a character in two.
  while (room < base.size() && room > 0 && (base[room] & 0xC0) == 0x80) --room;
  return directory + "/." + base.substr(0, std::min(base.size(), room)) + tail;
}

// The limit on the size of files this process may write, in bytes; 0 when there is none.
unsigned long long FileSizeLimit() {
  struct rlimit limit {};
  if (::getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return 0;
  return limit.rlim_cur;
}

std::string FileSizeLimitCause() {
  return "the file would be larger than this process may write (ulimit -f: " +
         std::to_string(FileSizeLimit()) + " bytes)";
}

// Writes all of `size` bytes to `sink`; answers 0 or the errno of the write that failed.
int WriteAll(int sink, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(sink, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    if (written == 0) return EIO;
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
  return 0;
}

// A stream's own words for a failed write.
std::string DescribeStreamError(int error) {
  // Only where SIGPIPE was ignored when kivahost started: otherwise the signal ends it first.
  if (error == EPIPE) return "the reader went away before the end";
  return DescribeError(error);
}

}  // namespace

bool IsUtf8(const std::string& path) {
  std::u16string wide;
  return noxcore::utility::UTF8to16(path, wide);
}

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
      return FileSizeLimit() != 0 ? FileSizeLimitCause()
                                  : "the file is too large for the file system";
    case EIO:
      return "an input/output error on the device";
    case ENXIO:
      return "no such device (or, for a pipe, nothing reads from it)";
    default:
      return std::strerror(error);
  }
}

OutputFile::OutputFile(std::string targetPath, const std::vector<std::string>& inputs)
    : target(std::move(targetPath)) {
  if (target.empty()) throw OutputError("no output file was named");
  destination = ResolveOutput(target);
  if (destination.kind == OutputTarget::Kind::kStream) {
    CheckStreamTarget();
    if (destination.descriptor == STDOUT_FILENO) SendDataToStandardOutput();
    directory = TemporaryDirectory();
    Reserve("kivahost-output");
    return;
  }
  CheckFileTarget(inputs);
  directory = DirectoryOf(destination.path);
  Reserve(NameOf(destination.path));
}

void OutputFile::CheckFileTarget(const std::vector<std::string>& inputs) {
  const std::string& path = destination.path;
  const std::string parent = DirectoryOf(path);
  const std::string name = NameOf(path);
  if (name.empty() || name == "." || name == "..") {
    throw OutputError("the name is a directory's, not a file's");
  }
  struct stat directoryInfo {};
  if (::stat(parent.c_str(), &directoryInfo) != 0) {
    if (errno == ENOENT) throw OutputError("the directory " + parent + " does not exist");
    throw OutputError("the directory " + parent + ": " + DescribeError(errno));
  }
  if (!S_ISDIR(directoryInfo.st_mode)) throw OutputError(parent + " is not a directory");

  const long maximum = ::pathconf(parent.c_str(), _PC_NAME_MAX);
  if (maximum > 0 && name.size() > static_cast<std::size_t>(maximum)) {
    throw OutputError("the file name is too long (" + std::to_string(name.size()) +
                      " bytes; the file system takes at most " + std::to_string(maximum) + ")");
  }

  struct stat targetInfo {};
  const bool exists = ::stat(path.c_str(), &targetInfo) == 0;
  // A protected file is not replaced, even where its directory would allow it (the host's own
  // rule; asked here directly, as a name that is not UTF-8 cannot be given to the host).
  if (exists && ((targetInfo.st_mode & S_IWUSR) == 0 || ::access(path.c_str(), W_OK) != 0)) {
    throw OutputError("it is write-protected");
  }
  if (exists) {
    for (const auto& input : inputs) {
      struct stat inputInfo {};
      if (::stat(input.c_str(), &inputInfo) == 0 && SameFile(inputInfo, targetInfo)) {
        throw OutputError("it is the input file " + InputName(input) +
                          " (writing it would destroy what is being read)");
      }
    }
  }

  struct statvfs fileSystem {};
  if (::statvfs(parent.c_str(), &fileSystem) == 0 && (fileSystem.f_flag & ST_RDONLY) != 0) {
    throw OutputError("the file system of " + parent + " is read-only");
  }
  if (::access(parent.c_str(), W_OK | X_OK) != 0) {
    throw OutputError("permission denied: cannot create files in " + parent);
  }
}

void OutputFile::CheckStreamTarget() {
  if (destination.descriptor >= 0) {
    if (::fcntl(destination.descriptor, F_GETFD) < 0) throw OutputError("the descriptor is closed");
    if (::isatty(destination.descriptor) != 0) {
      throw OutputError(destination.descriptor == STDOUT_FILENO
                            ? "standard output is a terminal; redirect it to a file or a pipe"
                            : "it is a terminal");
    }
    return;
  }
  if (::access(destination.path.c_str(), W_OK) != 0) throw OutputError(DescribeError(errno));
}

void OutputFile::Reserve(const std::string& name) {
  RemoveLeftovers(directory);
  temporary = TemporaryName(directory, name);
  descriptor = ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor < 0) {
    const int error = errno;
    if (destination.kind == OutputTarget::Kind::kStream) {
      throw OutputError("the temporary " + temporary + ": " + DescribeError(error));
    }
    throw OutputError(DescribeError(error));
  }
  slot = RegisterTemporary(temporary);
  plugInPath = temporary;
  if (!IsUtf8(directory)) {
    // The directory's name cannot travel in the host's records: the plug-in reaches it through
    // this process's descriptor of it.
    directoryDescriptor = ::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (directoryDescriptor >= 0) {
      plugInPath = "/proc/self/fd/" + std::to_string(directoryDescriptor) + "/" + NameOf(temporary);
    }
  }
}

OutputFile::~OutputFile() {
  if (directoryDescriptor >= 0) ::close(directoryDescriptor);
  if (!committed) Discard();
}

void OutputFile::Discard() {
  if (descriptor >= 0) ::close(descriptor);
  descriptor = -1;
  ::unlink(temporary.c_str());
  UnregisterTemporary(slot);
}

std::string OutputFile::FailureCause() const {
  struct statvfs fileSystem {};
  if (::statvfs(directory.c_str(), &fileSystem) == 0 &&
      static_cast<unsigned long long>(fileSystem.f_bavail) * fileSystem.f_frsize < (1u << 20)) {
    return "no space left on the device";
  }
  struct stat made {};
  const unsigned long long limit = FileSizeLimit();
  // A writer stops short of the limit by at most a buffer.
  constexpr unsigned long long kBuffer = 1 << 20;
  if (limit != 0 && ::stat(temporary.c_str(), &made) == 0 &&
      static_cast<unsigned long long>(made.st_size) + kBuffer >= limit) {
    return FileSizeLimitCause();
  }
  return "";
}

void OutputFile::Write(const void* data, std::size_t size) {
  if (const int error = WriteAll(descriptor, static_cast<const char*>(data), size); error != 0) {
    throw OutputError(DescribeError(error));
  }
}

void OutputFile::Commit() {
  const int ours = descriptor;
  descriptor = -1;
  if (::close(ours) != 0) throw OutputError(DescribeError(errno));
  struct stat made {};
  if (::stat(temporary.c_str(), &made) == 0) committedSize = made.st_size;
  if (destination.kind == OutputTarget::Kind::kStream) {
    CommitStream();
  } else {
    CommitFile();
  }
}

void OutputFile::CommitFile() {
  const std::string& path = destination.path;
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
  if (::stat(path.c_str(), &targetInfo) == 0) {
    mode = targetInfo.st_mode & 07777;
  } else {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    mode = 0666 & ~mask;
  }
  ::chmod(temporary.c_str(), mode);
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    throw OutputError(DescribeError(errno));
  }
  committed = true;
  UnregisterTemporary(slot);
  // The rename itself must reach the disk too.
  const int parent = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (parent >= 0) {
    ::fsync(parent);
    ::close(parent);
  }
}

void OutputFile::CommitStream() {
  const int made = ::open(temporary.c_str(), O_RDONLY | O_CLOEXEC);
  if (made < 0) throw OutputError("the output was not written");
  int sink = destination.descriptor;
  const bool ownSink = sink < 0;
  try {
    if (destination.isSocket) {
      sink = ConnectToLocalSocket(destination.path);
      if (sink < 0) {
        throw OutputError(errno == ECONNREFUSED   ? "nothing listens on the socket"
                          : errno == ENAMETOOLONG ? "the socket's path is too long to connect to"
                                                  : DescribeError(errno));
      }
    } else if (ownSink) {
      // Opening a pipe waits for its reader, as any writer of a pipe does.
      sink = ::open(destination.path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
      if (sink < 0) throw OutputError(DescribeError(errno));
      if (::isatty(sink) != 0) {
        ::close(sink);
        throw OutputError("it is a terminal");
      }
    }
  } catch (const OutputError&) {
    ::close(made);
    throw;
  }
  std::vector<char> buffer(1 << 16);
  int error = 0;
  for (;;) {
    const ssize_t got = ::read(made, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      error = got < 0 ? errno : 0;
      break;
    }
    if ((error = WriteAll(sink, buffer.data(), static_cast<std::size_t>(got))) != 0) break;
  }
  ::close(made);
  struct stat info {};
  // What a block device was given must reach it before it counts as written.
  if (error == 0 && ::fstat(sink, &info) == 0 && S_ISBLK(info.st_mode) && ::fsync(sink) != 0) {
    error = errno;
  }
  if (ownSink && ::close(sink) != 0 && error == 0) error = errno;
  if (error != 0) throw OutputError(DescribeStreamError(error));
  Discard();
  committed = true;
}

}  // namespace kivahost
