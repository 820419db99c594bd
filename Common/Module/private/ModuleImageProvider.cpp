#include "ModuleImageProvider.h"

#include "Module.h"

namespace kiva {

namespace {

uit::ImageProvider* sImageProvider = nullptr;

}  // namespace

void InitModuleImageProvider() {
  delete sImageProvider;
  sImageProvider = new uit::ImageProvider(module::GetResourceManager(), module::GetDrawSupplier());
}

uit::ImageProvider* GetModuleImageProvider() { return sImageProvider; }

void TerminateModuleImageProvider() {
  delete sImageProvider;
  sImageProvider = nullptr;
}

}  // namespace kiva
