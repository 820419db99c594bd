// A loaded KivaQT bundle: its library handle and its one entry point. Loading starts the
// plug-in (selector 0); destruction stops it (selector 2) and unloads the library.
#pragma once

#include "HostRecords.h"

#include <string>

namespace kivahost {

using KivaInterfaceFunction = int (*)(int selector, void* handle, void* record);

class PlugIn {
 public:
  // Throws std::runtime_error with a readable reason when the bundle cannot be loaded.
  explicit PlugIn(const std::string& bundlePath);
  ~PlugIn();
  PlugIn(const PlugIn&) = delete;
  PlugIn& operator=(const PlugIn&) = delete;

  int Call(int selector, void* handle, void* record) const {
    return entry(selector, handle, record);
  }
  const PlugInDescription& Description() const { return description; }
  int InfoStatus() const { return infoStatus; }
  const std::string& LibraryPath() const { return libraryPath; }

 private:
  std::string libraryPath;
  void* library = nullptr;
  KivaInterfaceFunction entry = nullptr;
  PlugInDescription description;
  int infoStatus = 0;
};

// The library inside a bundle directory; a path to a file (the library itself) is taken as it is.
std::string LibraryPathForBundle(const std::string& bundlePath);

}  // namespace kivahost
