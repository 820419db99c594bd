#include "StandardInput.h"

#include <unistd.h>

#include <cerrno>
#include <vector>

namespace kivahost {

StandardInputCopy::StandardInputCopy()
    : file(TemporaryDirectory() + "/kivahost-standard-input", {}) {
  if (::isatty(STDIN_FILENO) != 0) {
    throw OutputError("standard input is a terminal; pipe a file into it");
  }
  std::vector<char> buffer(1 << 16);
  for (;;) {
    const ssize_t got = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw OutputError("standard input: " + DescribeError(errno));
    if (got == 0) break;
    file.Write(buffer.data(), static_cast<std::size_t>(got));
  }
}

}  // namespace kivahost
