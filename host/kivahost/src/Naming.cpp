#include "Naming.h"

#include "OpenedFile.h"

#include <algorithm>

namespace kivahost {

std::string SampleTypeName(int code) {
  switch (code) {
    case 10:
      return "8-bit";
    case 20:
      return "16-bit";
    case 30:
      return "24-bit";
    case 40:
      return "32-bit float";
    default:
      return "code " + std::to_string(code);
  }
}

std::string LabelJsonName(std::uint32_t label) {
  return label == 0 ? "unlabelled" : LabelName(label);
}

std::string ChannelSetName(const std::vector<std::uint32_t>& labels) {
  if (labels.size() == 1) return "mono";
  if (std::all_of(labels.begin(), labels.end(), [](std::uint32_t label) { return label == 0; })) {
    return "unlabelled";
  }
  std::string names;
  for (const auto label : labels) names += (names.empty() ? "" : " ") + LabelName(label);
  return names;
}

std::string Counted(std::int64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace kivahost
