// kivahost settings: the plug-in's export settings dialog, as a host shows it before an export.
#pragma once

#include "PlugIn.h"

#include <string>

namespace kivahost {

// Runs the dialog on `settings`; on OK `settings` becomes the plug-in's new string. Returns the
// plug-in's status; `canceled` tells whether the user canceled. The host's errors (a dialog
// that cannot be shown) are thrown as they come.
int ChooseExportSettings(const PlugIn& plugIn, std::string& settings, bool& canceled);

// Chooses the export format whose popup text is `name` in the dialog, answered by script, and
// sets `settings` to the result. Throws when no format was chosen (the popup has no such item).
void ChooseFormatByName(const PlugIn& plugIn, const std::string& name, std::string& settings);

// Saved settings made ready for an export, as a host restores them: the plug-in knows its
// formats only once its settings dialog has run in the process, so the dialog runs first, on the
// saved string, answered by script with the saved format chosen by its number and then Cancel,
// which keeps the string as it was. Returns the dialog's name of the format the string names
// ("lpcm", "aac", ...); empty, with a warning printed, when the string names nothing the plug-in
// reads (the export is then uncompressed PCM).
std::string RestoreSavedSettings(const PlugIn& plugIn, const std::string& settings);

// The settings command: shows the dialog (answered by `script` when given) and prints the
// resulting private settings string.
int RunSettings(const PlugIn& plugIn, std::string settings, const std::string& script);

}  // namespace kivahost
