#include <uit/ImageProvider.h>

namespace uit {

ImageProvider::ImageProvider(const noxui::utility::ResourceManager* resources,
                             const noxui::drawbot::SupplierInterface* supplier)
    : resources(resources), supplier(supplier) {}

std::string ImageProvider::FindImage(const std::string& name) const {
  if (resources == nullptr) return {};
  if (supplier != nullptr && supplier->GetScreenScaleFactor() >= 2.0) {
    std::string path = resources->FindResource(name + "@2x.png");
    if (!path.empty()) return path;
  }
  return resources->FindResource(name + ".png");
}

}  // namespace uit
