// kivahost probe: everything the plug-in reports about a file, with the audio's stored bit rate
// that kivahost reads beside it. One set of facts, printed as text or as JSON.
#pragma once

#include "PlugIn.h"

#include <string>

namespace kivahost {

int RunProbe(const PlugIn& plugIn, const std::string& path, bool json);

}  // namespace kivahost
