// Diagnostic trace. Lines are written only for categories the host enabled at a level at least
// as high as the line's. Configuration: NOX_TRACE="Category=level,Other.Category=level" and
// NOX_TRACE_FILE=path (default: standard error), read on first use. Every change of the
// configuration moves TraceChangeCount(), so callers may cache TraceEnabled() until it moves.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace noxcore::debug {

// Thread-safe; a line is written whole.
void Trace(std::string_view text);

// With `inherit`, a category not configured itself takes the level of its nearest configured
// parent ("LmLog" for "LmLog.Plug-in").
bool TraceEnabled(std::string_view category, int level, bool inherit);

// Starts at 1 and moves on every configuration change.
std::uint32_t TraceChangeCount();

// Replaces the configuration (same syntax as NOX_TRACE); an empty text disables all tracing.
void SetTraceConfiguration(const std::string& configuration);
// Re-reads NOX_TRACE and NOX_TRACE_FILE.
void ReloadTraceConfiguration();

// Sends every traced line to `sink` instead of the file (a host's log window, a test); an empty
// function restores the file. The sink is called under the trace lock, one line at a time.
void SetTraceSink(std::function<void(std::string_view)> sink);

}  // namespace noxcore::debug
