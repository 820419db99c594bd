#include <noxcore/debug/Contract.h>
#include <noxcore/debug/Trace.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace noxcore::debug {

bool BreakAfterContractDialog(const char* file, const char* condition, int line) {
  const std::string text = std::string("Contract violation: ") + (condition ? condition : "") +
                           " (" + (file ? file : "") + ":" + std::to_string(line) + ")\n";
  Trace(text);
  const char* wantBreak = std::getenv("NOX_BREAK_ON_CONTRACT");
  return wantBreak != nullptr && std::strcmp(wantBreak, "1") == 0;
}

}  // namespace noxcore::debug
