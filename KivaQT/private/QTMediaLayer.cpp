#include "QTMediaLayer.h"

#include "Trace.h"
#include "media/Toolbox.h"

#include <atomic>

namespace kiva::qt {

namespace {

// Never reset: a later Initialize answers true without starting the media layer again.
std::atomic<bool> gIsAvailable{false};

}  // namespace

bool Initialize() {
  if (gIsAvailable) return true;
  media::Toolbox& toolbox = media::DefaultToolbox();
  std::int32_t response = 0;
  const media::OSErr versionError = toolbox.GetVersion(response);
  if (versionError == media::kNoErr) {
    KIVA_TRACE("Quicktime version detected: 0x%08lx %ld.%ld.%ld",
               static_cast<unsigned long>(static_cast<std::uint32_t>(response)),
               static_cast<long>((response >> 16) & 0xFFFF),
               static_cast<long>((response >> 8) & 0xFF), static_cast<long>(response & 0xFF));
  }
  // A failed query leaves the response 0, which is below the minimum too.
  if (versionError != media::kNoErr || response < media::kMinimumMediaLayerVersion) return false;
  gIsAvailable = toolbox.Start() == media::kNoErr;
  return gIsAvailable;
}

void Terminate() { media::DefaultToolbox().Stop(); }

bool IsAvailable() { return gIsAvailable; }

void ForgetStartForTesting() { gIsAvailable = false; }

}  // namespace kiva::qt
