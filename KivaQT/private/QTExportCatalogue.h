// The export format catalogue: the media layer's movie exporters, found once per module
// lifetime. A position in it is a format index of the private settings.
#pragma once

#include "media/Component.h"

#include <string>
#include <vector>

namespace kiva::qt {

// Searches the exporters anew, keeps every one that can be opened as a catalogue entry (in the
// media layer's order), and appends the set of their extension texts to `extensions`.
void InitExportDescriptions(std::vector<std::string>& extensions, std::vector<std::string>* unused,
                            bool lowerCase);

// A copy of the catalogue, built on the first call.
void GetExportComponentDescriptions(std::vector<media::ComponentDescription>& out);

// The catalogue as it stands, without building it (empty until the settings dialog ran).
std::vector<media::ComponentDescription> CurrentExportComponentDescriptions();

// Empties the catalogue, as a freshly loaded module has it: for test programs that go through
// many module lifetimes in one process.
void ForgetExportDescriptionsForTesting();

}  // namespace kiva::qt
