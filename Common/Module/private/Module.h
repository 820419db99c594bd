// The module frame: start and stop of the module-wide UI resources that dialogs draw with.
#pragma once

#include <noxui/drawbot/Supplier.h>
#include <noxui/utility/ResourceManager.h>

#include <string>

namespace kiva::module {

// Makes the resource manager, then the image provider. Not repeatable before Terminate: a
// second start is a contract violation raised as the host's error exception.
void Initialize();
// Destroys the image provider, the resource manager and the draw supplier, in that order.
void Terminate();

// The module's draw supplier, made on first use; lives until Terminate.
noxui::drawbot::SupplierInterface* GetDrawSupplier();

// Resource manager bound to this module's bundle; null before InitResourceManager and after
// TerminateResourceManager.
void InitResourceManager();
noxui::utility::OS_ResourceManager* GetResourceManager();
void TerminateResourceManager();

// The directory of the bundle this module was loaded from (".../KivaQT.bundle"), found from
// the loaded library's own path; empty when the module does not sit in a bundle.
std::string GetBundleIdentifier();

}  // namespace kiva::module
