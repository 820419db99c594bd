#include "Component.h"

namespace kiva::qt::media {

bool Matches(const ComponentDescription& component, const ComponentDescription& search) {
  const auto fieldMatches = [](std::uint32_t value, std::uint32_t wanted) {
    return wanted == 0 || value == wanted;
  };
  return fieldMatches(component.componentType, search.componentType) &&
         fieldMatches(component.componentSubType, search.componentSubType) &&
         fieldMatches(component.componentManufacturer, search.componentManufacturer) &&
         (component.componentFlags & search.componentFlagsMask) ==
             (search.componentFlags & search.componentFlagsMask);
}

}  // namespace kiva::qt::media
