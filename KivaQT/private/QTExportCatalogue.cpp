#include "QTExportCatalogue.h"

#include "QTExtensions.h"
#include "Trace.h"
#include "media/Toolbox.h"

#include <mutex>
#include <set>

namespace kiva::qt {

namespace {

// Module-wide; the host may ask from several threads, so every use takes the lock.
std::mutex sCatalogueMutex;
std::vector<media::ComponentDescription> sExportCompDescs;

void BuildLocked(std::vector<std::string>& extensions, bool lowerCase) {
  sExportCompDescs.clear();
  std::set<std::string> found;
  media::ComponentDescription search;
  search.componentType = media::kMovieExportType;
  search.componentFlags = media::kCanMovieExportValidateMovie;
  search.componentFlagsMask = media::kCanMovieExportValidateMovie;
  for (const auto& component : media::DefaultToolbox().FindComponents(search)) {
    const media::ComponentDescription description = component->GetDescription();
    const std::string extension = ExtensionFromSubType(description.componentSubType, lowerCase);
    KIVA_TRACE("Quicktime component main extension: %s", extension.c_str());
    if (component->Open() != media::kNoErr) {
      KIVA_TRACE("Could not open.");
      continue;
    }
    found.insert(extension);
    sExportCompDescs.push_back(description);
  }
  extensions.insert(extensions.end(), found.begin(), found.end());
}

}  // namespace

void InitExportDescriptions(std::vector<std::string>& extensions,
                            std::vector<std::string>* /*unused*/, bool lowerCase) {
  std::lock_guard lock(sCatalogueMutex);
  BuildLocked(extensions, lowerCase);
}

void GetExportComponentDescriptions(std::vector<media::ComponentDescription>& out) {
  std::lock_guard lock(sCatalogueMutex);
  if (sExportCompDescs.empty()) {
    std::vector<std::string> scratch;
    BuildLocked(scratch, false);
  }
  out = sExportCompDescs;
}

std::vector<media::ComponentDescription> CurrentExportComponentDescriptions() {
  std::lock_guard lock(sCatalogueMutex);
  return sExportCompDescs;
}

void ForgetExportDescriptionsForTesting() {
  std::lock_guard lock(sCatalogueMutex);
  sExportCompDescs.clear();
}

}  // namespace kiva::qt
