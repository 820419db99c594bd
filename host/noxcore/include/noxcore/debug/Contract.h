// Contract failures. A failed precondition is reported here first; the caller then raises the
// "input contract violation" error (or, when this answers true, stops in the debugger).
#pragma once

namespace noxcore::debug {

// Writes the failed condition with its file and line to standard error and to the trace.
// Answers true when the host wants a debugger break (NOX_BREAK_ON_CONTRACT=1), else false.
bool BreakAfterContractDialog(const char* file, const char* condition, int line);

}  // namespace noxcore::debug
