// The plug-in's diagnostic trace: lines under the host category "LmLog.Plug-in" at level 5.
// Each call site remembers whether tracing is on and asks the host again only when the host's
// trace change count has moved, so a disabled trace costs one integer compare per call.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>

namespace kiva {

inline constexpr const char* kTraceCategory = "LmLog.Plug-in";
inline constexpr int kTraceLevel = 5;

class TraceSite {
 public:
  explicit constexpr TraceSite(int level = kTraceLevel) : level(level) {}
  bool Enabled();
  int Level() const { return level; }

 private:
  const int level;
  // Atomic because the host may trace from several threads; a double refresh is harmless.
  std::atomic<std::uint32_t> sTraceChangeCount{0};
  std::atomic<bool> sEnabled{false};
};

// Writes "<thread id> <LmLog.Plug-in> <level> message\n" to the host's trace.
void WriteTraceLine(int level, const char* message);

}  // namespace kiva

// KIVA_TRACE("format", args...): formats with snprintf only when tracing is enabled here.
#define KIVA_TRACE(...)                                                      \
  do {                                                                       \
    static ::kiva::TraceSite kivaTraceSite;                                  \
    if (kivaTraceSite.Enabled()) {                                           \
      char kivaTraceMessage[1024];                                           \
      std::snprintf(kivaTraceMessage, sizeof kivaTraceMessage, __VA_ARGS__); \
      ::kiva::WriteTraceLine(kivaTraceSite.Level(), kivaTraceMessage);       \
    }                                                                        \
  } while (false)
