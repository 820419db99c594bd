#include "Module.h"

#include "ModuleImageProvider.h"

namespace kiva::module {

namespace {

noxui::drawbot::SupplierInterface* sDrawSupplier = nullptr;

// Deletes the supplier at unload when the host never called Terminate.
struct DrawSupplierReaper {
  ~DrawSupplierReaper() {
    delete sDrawSupplier;
    sDrawSupplier = nullptr;
  }
} sDrawSupplierReaper;

}  // namespace

void Initialize() {
  InitResourceManager();
  InitModuleImageProvider();
}

void Terminate() {
  TerminateModuleImageProvider();
  TerminateResourceManager();
  delete sDrawSupplier;
  sDrawSupplier = nullptr;
}

noxui::drawbot::SupplierInterface* GetDrawSupplier() {
  if (sDrawSupplier == nullptr) sDrawSupplier = noxui::drawbot::NewOSSupplier();
  return sDrawSupplier;
}

}  // namespace kiva::module
