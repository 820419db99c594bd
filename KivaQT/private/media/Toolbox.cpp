#include "Toolbox.h"

namespace kiva::qt::media {

std::vector<std::shared_ptr<Component>> Toolbox::FindComponents(
    const ComponentDescription& search) {
  std::vector<std::shared_ptr<Component>> found;
  for (auto& component : GetComponents()) {
    if (component != nullptr && Matches(component->GetDescription(), search)) {
      found.push_back(std::move(component));
    }
  }
  return found;
}

}  // namespace kiva::qt::media
