#include "InputFile.h"

#include "Console.h"
#include "LocalSocket.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace kivahost {

namespace {

// A stream that can be read only once, front to back.
bool IsStream(const struct stat& info) { return S_ISFIFO(info.st_mode) || S_ISSOCK(info.st_mode); }

int OpenStream(const std::string& given, const struct stat& info) {
  return S_ISSOCK(info.st_mode) ? ConnectToLocalSocket(given)
                                : ::open(given.c_str(), O_RDONLY | O_CLOEXEC);
}

}  // namespace

InputFile::InputFile(const std::string& given) : path(given) {
  if (given == "-") {
    if (::isatty(STDIN_FILENO) != 0) {
      throw OutputError("standard input is a terminal; pipe a file into it");
    }
    CopyFrom(STDIN_FILENO);
    NameInput(path, "standard input");
    return;
  }
  struct stat info {};
  if (::stat(given.c_str(), &info) == 0 && IsStream(info)) {
    const int source = OpenStream(given, info);
    if (source < 0) throw OutputError(DescribeError(errno));
    try {
      CopyFrom(source);
    } catch (...) {
      ::close(source);
      throw;
    }
    ::close(source);
    NameInput(path, given);
    return;
  }
  if (!IsUtf8(given)) {
    // Opened only to be named: the plug-in opens it anew through the descriptor, and what it
    // cannot open it reports as for any path.
    descriptor = ::open(given.c_str(), O_PATH | O_CLOEXEC);
    if (descriptor >= 0) {
      path = "/proc/self/fd/" + std::to_string(descriptor);
      NameInput(path, given);
    }
  }
}

InputFile::~InputFile() {
  if (descriptor >= 0) ::close(descriptor);
}

void InputFile::CopyFrom(int source) {
  copy = std::make_unique<OutputFile>(TemporaryDirectory() + "/kivahost-input",
                                      std::vector<std::string>{});
  std::vector<char> buffer(1 << 16);
  for (;;) {
    const ssize_t got = ::read(source, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw OutputError(DescribeError(errno));
    if (got == 0) break;
    copy->Write(buffer.data(), static_cast<std::size_t>(got));
  }
  path = copy->TemporaryPath();
}

}  // namespace kivahost
