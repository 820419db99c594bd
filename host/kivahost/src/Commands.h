// kivahost's commands. Each returns the process exit status.
#pragma once

#include "PlugIn.h"

#include <cstdint>
#include <string>

namespace kivahost {

// Prints the plug-in's identity and its formats, as text or as JSON.
int RunInfo(const PlugIn& plugIn, bool json);
// Reads a file's audio through the plug-in into a 32-bit float WAV file; under `json` says
// what it wrote (or why not) as one JSON object.
int RunDecode(const PlugIn& plugIn, const std::string& path, const std::string& output,
              std::int64_t start, std::int64_t frames, bool json);
// Shows what the plug-in makes of the sample the build generated: description, probe, decode.
int RunDemo(const PlugIn& plugIn, const std::string& samplePath,
            const std::string& outputDirectory);

}  // namespace kivahost
