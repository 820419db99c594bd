// kivahost export: a file's audio read through the plug-in and written through it into a new
// QuickTime movie, as a host exports.
#pragma once

#include "PlugIn.h"

#include <string>

namespace kivahost {

// `sampleType` is "8", "16", "24" or "32f"; `settings` the private settings string (empty: the
// plug-in's defaults for a file's format); `formatName` the format as the settings dialog names
// it, when it was chosen by name (its encoder is asked whether it takes the audio). Under `json`
// says what it wrote (or why not) as one JSON object.
int RunExport(const PlugIn& plugIn, const std::string& input, const std::string& output,
              const std::string& settings, const std::string& sampleType,
              const std::string& formatName = "", bool json = false);

}  // namespace kivahost
