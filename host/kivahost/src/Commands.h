// kivahost's commands. Each returns the process exit status.
#pragma once

#include "PlugIn.h"

#include <string>

namespace kivahost {

// Prints the plug-in's identity and its formats, as text or as JSON.
int RunInfo(const PlugIn& plugIn, bool json);
// Shows what the plug-in makes of the sample the build generated.
int RunDemo(const PlugIn& plugIn, const std::string& samplePath);

}  // namespace kivahost
