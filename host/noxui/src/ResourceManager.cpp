#include <noxui/utility/ResourceManager.h>

#include <sys/stat.h>

namespace noxui::utility {

OS_ResourceManager::OS_ResourceManager(std::string bundlePath)
    : bundlePath(std::move(bundlePath)) {}

std::string OS_ResourceManager::GetResourceDirectory() const {
  return bundlePath + "/Contents/Resources";
}

std::string OS_ResourceManager::FindResource(const std::string& name) const {
  // Resource names are plain file names; anything that could climb out of the bundle is refused.
  if (name.empty() || name.find('/') != std::string::npos || name == "." || name == "..") {
    return {};
  }
  std::string path = GetResourceDirectory() + "/" + name;
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return {};
  return path;
}

}  // namespace noxui::utility
