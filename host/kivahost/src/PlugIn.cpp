#include "PlugIn.h"

#include <kiva/KivaInterfaceTemplate.h>
#include <kiva/KivaVersion.h>

#include <dlfcn.h>
#include <sys/stat.h>

#include <stdexcept>
#include <string>

namespace kivahost {

std::string LibraryPathForBundle(const std::string& bundlePath) {
  struct stat fileInfo {};
  if (::stat(bundlePath.c_str(), &fileInfo) == 0 && S_ISREG(fileInfo.st_mode)) return bundlePath;
  return bundlePath + "/Contents/Linux/KivaQT.so";
}

PlugIn::PlugIn(const std::string& bundlePath) : libraryPath(LibraryPathForBundle(bundlePath)) {
  struct stat fileInfo {};
  if (::stat(libraryPath.c_str(), &fileInfo) != 0) {
    throw std::runtime_error("no plug-in library at " + libraryPath +
                             " (is the bundle path right, and was the project built?)");
  }
  library = dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    const char* reason = dlerror();
    throw std::runtime_error("cannot load " + libraryPath + ": " +
                             (reason != nullptr ? reason : "unknown reason"));
  }
  entry = reinterpret_cast<KivaInterfaceFunction>(dlsym(library, "KivaInterface"));
  if (entry == nullptr) {
    dlclose(library);
    throw std::runtime_error(libraryPath + " is not a Kiva plug-in: it exports no KivaInterface");
  }
  HostKivaInfo info;
  infoStatus = Call(kiva::kSelGetKivaInfo, nullptr, &info);
  description = info.Description();
  if (!kiva::KivaInterfaceVersionIsCompatible(description.interfaceMajor,
                                              description.interfaceMinor)) {
    Call(kiva::kSelTerminate, nullptr, nullptr);
    dlclose(library);
    throw std::runtime_error(libraryPath + " speaks the host interface " +
                             std::to_string(description.interfaceMajor) + "." +
                             std::to_string(description.interfaceMinor) + "; this host speaks " +
                             std::to_string(kiva::kKivaInterfaceVersionMajor) + "." +
                             std::to_string(kiva::kKivaInterfaceVersionMinor));
  }
}

PlugIn::~PlugIn() {
  Call(kiva::kSelTerminate, nullptr, nullptr);
  dlclose(library);
}

}  // namespace kivahost
