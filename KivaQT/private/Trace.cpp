#include "Trace.h"

#include <noxcore/debug/Trace.h>
#include <noxcore/threads/Thread.h>
#include <noxcore/utility/Strings.h>

#include <sstream>

namespace kiva {

bool TraceSite::Enabled() {
  const std::uint32_t count = noxcore::debug::TraceChangeCount();
  if (count != sTraceChangeCount.load(std::memory_order_relaxed)) {
    sEnabled.store(noxcore::debug::TraceEnabled(kTraceCategory, level, true),
                   std::memory_order_relaxed);
    sTraceChangeCount.store(count, std::memory_order_relaxed);
  }
  return sEnabled.load(std::memory_order_relaxed);
}

void WriteTraceLine(int level, const char* message) {
  std::ostringstream line;
  line << "<" << noxcore::threads::GetCurrentThreadID() << "> "
       << "<" << kTraceCategory << "> "
       << "<" << level << "> " << message << noxcore::utility::ENDL;
  noxcore::debug::Trace(line.str());
}

}  // namespace kiva
