// The module's image provider, built from its resource manager and draw supplier.
#pragma once

#include <uit/ImageProvider.h>

namespace kiva {

// Makes a new provider over the module's resource manager and draw supplier and keeps it.
void InitModuleImageProvider();
// The provider, or null outside a module start.
uit::ImageProvider* GetModuleImageProvider();
// Deletes the provider if there is one; the pointer is null afterwards.
void TerminateModuleImageProvider();

}  // namespace kiva
