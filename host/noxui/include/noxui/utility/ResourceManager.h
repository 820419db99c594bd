// Where a module's resources (dialog layouts, images, string tables) are found.
#pragma once

#include <string>

namespace noxui::utility {

class ResourceManager {
 public:
  virtual ~ResourceManager() = default;
  // Full path of the named resource ("FormatOptions.ui"), or empty when the module has none.
  virtual std::string FindResource(const std::string& name) const = 0;
};

// The resources inside a bundle directory: <bundle>/Contents/Resources/<name>.
class OS_ResourceManager : public ResourceManager {
 public:
  explicit OS_ResourceManager(std::string bundlePath);
  const std::string& GetBundlePath() const { return bundlePath; }
  std::string GetResourceDirectory() const;
  std::string FindResource(const std::string& name) const override;

 private:
  std::string bundlePath;
};

}  // namespace noxui::utility
