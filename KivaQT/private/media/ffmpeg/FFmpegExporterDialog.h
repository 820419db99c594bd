// The settings dialog of one exporter, drawn by the host's UI framework from the module's
// "ExporterOptions" dialog resource.
#pragma once

#include <string>
#include <vector>

namespace kiva::qt::media::ffmpeg {

// Shows the dialog for the format `name`. With `bitRates` (bits per second) it offers them in a
// popup with `bitRate` chosen, and on OK sets `bitRate` to the user's choice; without, it says
// the format has nothing to set. Returns true when the user pressed OK.
bool RunExporterDialog(const std::string& name, const std::vector<int>& bitRates, int& bitRate);

}  // namespace kiva::qt::media::ffmpeg
