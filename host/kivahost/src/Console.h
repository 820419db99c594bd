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
// The temporary copy of standard input is named as "-" was: "standard input".
void NameStandardInputCopy(const std::string& path);
// An input path as results name it.
std::string InputName(const std::string& path);
// `text` with the temporary copy's path, wherever it appears, as "standard input".
std::string WithInputNamed(std::string text);
// An output path as a summary names it: "-" is "standard output".
std::string OutputName(const std::string& path);
// "kivahost: warning: TEXT" on standard error.
void Warn(const std::string& text);

}  // namespace kivahost
