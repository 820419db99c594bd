// kivahost export: a file's audio read through the plug-in and written through it into a new
// QuickTime movie, as a host exports.
#pragma once

#include "PlugIn.h"

#include <string>

namespace kivahost {

// `sampleType` is "8", "16", "24" or "32f"; `settings` the private settings string (empty: the
// plug-in's defaults for a file's format).
int RunExport(const PlugIn& plugIn, const std::string& input, const std::string& output,
              const std::string& settings, const std::string& sampleType);

}  // namespace kivahost
