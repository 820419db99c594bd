// Resource manager and bundle lookup on Linux. The bundle is the directory tree the module's
// shared object was loaded from: <bundle>/Contents/Linux/KivaQT.so.

#include "../Module.h"

#include <noxcore/config/Error.h>
#include <noxcore/debug/Contract.h>

#include <dlfcn.h>

#include <climits>
#include <cstdlib>
#include <string>

namespace kiva::module {

namespace {

noxui::utility::OS_ResourceManager* sResourceManager = nullptr;

// Hosts recognise module contract failures by this location, whatever the platform.
constexpr const char* kContractFile = "Common/Module/private/mac/Module_MAC";
constexpr const char* kInputContractViolation =
    "$$$/noxcore/utility/Error/Contract/InputContractViolation=An input contract violation has "
    "occurred!";

[[noreturn]] void ContractViolation(const char* condition, int line) {
  if (noxcore::debug::BreakAfterContractDialog(kContractFile, condition, line)) __builtin_trap();
  noxcore::config::ThrowError(0, kInputContractViolation, 105, 25, true, {}, {}, {}, {});
}

std::string ParentDirectory(const std::string& path) {
  const auto slash = path.find_last_of('/');
  return slash == std::string::npos || slash == 0 ? std::string() : path.substr(0, slash);
}

std::string LastElement(const std::string& path) {
  const auto slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

std::string GetBundleIdentifier() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&GetBundleIdentifier), &info) == 0 ||
      info.dli_fname == nullptr) {
    return {};
  }
  char resolved[PATH_MAX];
  if (realpath(info.dli_fname, resolved) == nullptr) return {};
  const std::string linuxDirectory = ParentDirectory(resolved);
  const std::string contents = ParentDirectory(linuxDirectory);
  if (LastElement(linuxDirectory) != "Linux" || LastElement(contents) != "Contents") return {};
  return ParentDirectory(contents);
}

void InitResourceManager() {
  if (!(sResourceManager == nullptr)) ContractViolation("sResourceManager == 0", 54);
  const std::string resourceBundle = GetBundleIdentifier();
  if (resourceBundle.empty()) ContractViolation("resourceBundle != 0", 57);
  sResourceManager = new noxui::utility::OS_ResourceManager(resourceBundle);
}

noxui::utility::OS_ResourceManager* GetResourceManager() { return sResourceManager; }

void TerminateResourceManager() {
  delete sResourceManager;
  sResourceManager = nullptr;
}

}  // namespace kiva::module
