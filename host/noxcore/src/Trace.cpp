#include <noxcore/debug/Trace.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

namespace noxcore::debug {

namespace {

struct TraceState {
  std::mutex mutex;
  std::map<std::string, int, std::less<>> levels;
  std::FILE* output = stderr;
  std::function<void(std::string_view)> sink;
  bool loaded = false;
};

TraceState& State() {
  static TraceState state;
  return state;
}

std::atomic<std::uint32_t> sChangeCount{1};

// Parses "A=5,B.C=3". Entries without a valid level are ignored.
std::map<std::string, int, std::less<>> ParseConfiguration(const std::string& text) {
  std::map<std::string, int, std::less<>> levels;
  std::size_t begin = 0;
  while (begin <= text.size()) {
    std::size_t end = text.find(',', begin);
    if (end == std::string::npos) end = text.size();
    const std::string entry = text.substr(begin, end - begin);
    const auto equals = entry.find('=');
    if (equals != std::string::npos && equals > 0) {
      char* parsedEnd = nullptr;
      const long level = std::strtol(entry.c_str() + equals + 1, &parsedEnd, 10);
      if (parsedEnd != entry.c_str() + equals + 1 && *parsedEnd == '\0') {
        levels[entry.substr(0, equals)] = static_cast<int>(level);
      }
    }
    begin = end + 1;
  }
  return levels;
}

void ApplyLocked(TraceState& state, const std::string& configuration, const char* file) {
  state.levels = ParseConfiguration(configuration);
  if (state.output != stderr) std::fclose(state.output);
  state.output = stderr;
  if (file != nullptr && *file != '\0') {
    if (std::FILE* opened = std::fopen(file, "a")) state.output = opened;
  }
  state.loaded = true;
  sChangeCount.fetch_add(1);
}

void LoadFromEnvironmentLocked(TraceState& state) {
  const char* configuration = std::getenv("NOX_TRACE");
  ApplyLocked(state, configuration != nullptr ? configuration : "", std::getenv("NOX_TRACE_FILE"));
}

TraceState& LoadedState() {
  TraceState& state = State();
  std::lock_guard lock(state.mutex);
  if (!state.loaded) LoadFromEnvironmentLocked(state);
  return state;
}

}  // namespace

void Trace(std::string_view text) {
  TraceState& state = LoadedState();
  std::lock_guard lock(state.mutex);
  if (state.sink) {
    state.sink(text);
    return;
  }
  std::fwrite(text.data(), 1, text.size(), state.output);
  std::fflush(state.output);
}

bool TraceEnabled(std::string_view category, int level, bool inherit) {
  TraceState& state = LoadedState();
  std::lock_guard lock(state.mutex);
  std::string_view name = category;
  while (true) {
    if (const auto found = state.levels.find(name); found != state.levels.end()) {
      return found->second >= level;
    }
    const auto dot = name.rfind('.');
    if (!inherit || dot == std::string_view::npos) return false;
    name = name.substr(0, dot);
  }
}

std::uint32_t TraceChangeCount() {
  LoadedState();
  return sChangeCount.load();
}

void SetTraceConfiguration(const std::string& configuration) {
  TraceState& state = State();
  std::lock_guard lock(state.mutex);
  ApplyLocked(state, configuration, std::getenv("NOX_TRACE_FILE"));
}

void SetTraceSink(std::function<void(std::string_view)> sink) {
  TraceState& state = State();
  std::lock_guard lock(state.mutex);
  state.sink = std::move(sink);
}

void ReloadTraceConfiguration() {
  TraceState& state = State();
  std::lock_guard lock(state.mutex);
  LoadFromEnvironmentLocked(state);
}

}  // namespace noxcore::debug
