// Finds a module's images (PNG files among its resources) for its dialogs.
#pragma once

#include <noxui/drawbot/Supplier.h>
#include <noxui/utility/ResourceManager.h>

#include <string>

namespace uit {

class ImageProvider {
 public:
  // Neither argument is owned; both must outlive the provider. Either may be null.
  ImageProvider(const noxui::utility::ResourceManager* resources,
                const noxui::drawbot::SupplierInterface* supplier);
  virtual ~ImageProvider() = default;

  const noxui::utility::ResourceManager* GetResourceManager() const { return resources; }
  const noxui::drawbot::SupplierInterface* GetDrawSupplier() const { return supplier; }

  // Path of the image `name` for the supplier's screen scale: "<name>@2x.png" on a scale of 2
  // or more when the module has it, else "<name>.png"; empty when neither exists.
  std::string FindImage(const std::string& name) const;

 private:
  const noxui::utility::ResourceManager* resources;
  const noxui::drawbot::SupplierInterface* supplier;
};

}  // namespace uit
