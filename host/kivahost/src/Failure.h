// A failed command, told the same way whatever failed: what kivahost was doing, the plug-in's
// status and the messages its error reporter got, and the cause in plain words where kivahost
// can tell it. As text on standard error, or under --json as one object with the results (on
// standard output, unless that carries data):
// {"error": {"what": ..., "status": ..., "messages": [...], "cause": ...}}.
#pragma once

#include "OpenedFile.h"
#include "OutputFile.h"

#include <string>
#include <vector>

namespace kivahost {

struct Failure {
  std::string what;  // "cannot open FILE"
  int status = 0;    // the plug-in's status; 0 when the plug-in did not fail (kivahost's own)
  std::vector<std::string> messages;
  std::string cause;  // empty when kivahost cannot tell
};

// Prints the failure and answers `exitStatus`.
int Report(const Failure& failure, bool json, int exitStatus = 1);

// A request the plug-in refused about `input`, with what the path itself says of the cause.
int ReportFailure(const PlugInError& error, const std::string& input, bool json);

// An output that cannot be written: "cannot write TARGET: CAUSE".
int ReportOutputFailure(const std::string& target, const OutputError& error, bool json);

}  // namespace kivahost
