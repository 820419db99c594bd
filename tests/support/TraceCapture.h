// Captures the host trace for the lifetime of the object, with tracing switched on for the
// plug-in's category.
#pragma once

#include <noxcore/debug/Trace.h>

#include <mutex>
#include <string>
#include <vector>

namespace kiva::test {

class TraceCapture {
 public:
  explicit TraceCapture(const std::string& configuration = "LmLog.Plug-in=5") {
    noxcore::debug::SetTraceSink([this](std::string_view line) {
      std::lock_guard lock(mutex);
      lines.emplace_back(line);
    });
    noxcore::debug::SetTraceConfiguration(configuration);
  }
  ~TraceCapture() {
    noxcore::debug::SetTraceConfiguration("");
    noxcore::debug::SetTraceSink({});
  }
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  std::vector<std::string> Lines() const {
    std::lock_guard lock(mutex);
    return lines;
  }
  // The lines with the "<thread> <category> <level> " prefix removed.
  std::vector<std::string> Messages() const {
    std::vector<std::string> messages;
    for (const auto& line : Lines()) {
      std::string message = line;
      for (int field = 0; field < 3; ++field) {
        const auto end = message.find("> ");
        if (message.empty() || message.front() != '<' || end == std::string::npos) break;
        message.erase(0, end + 2);
      }
      if (!message.empty() && message.back() == '\n') message.pop_back();
      messages.push_back(message);
    }
    return messages;
  }

 private:
  mutable std::mutex mutex;
  std::vector<std::string> lines;
};

}  // namespace kiva::test
