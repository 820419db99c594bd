// Where kivahost's words go. Summaries (what was read, written or will be) go to standard output,
// or to standard error while standard output carries data (a file written to "-"), and nowhere
// under -q. JSON results are the answer asked for: -q does not silence them, but they too leave
// standard output to the data. Warnings and failures always go to standard error.
#pragma once

#include <iosfwd>
#include <string>

namespace kivahost {

// -q: no summaries and no progress.
void SetQuiet(bool quiet);
bool IsQuiet();

// Standard output carries the data from now on.
void SendDataToStandardOutput();

// Summaries: standard output or standard error, or nowhere under -q.
std::ostream& Summary();
// JSON results and JSON failures.
std::ostream& Results();
// The input the plug-in is given at `path` (a temporary copy of standard input or a pipe, a
// descriptor of a file whose name is not UTF-8) is named `name` in everything said of it.
void NameInput(const std::string& path, const std::string& name);
// An input path as results name it.
std::string InputName(const std::string& path);
// `text` with the input's stand-in path, wherever it appears, as the input's name.
std::string WithInputNamed(std::string text);
// "kivahost: warning: TEXT" on standard error.
void Warn(const std::string& text);

}  // namespace kivahost
