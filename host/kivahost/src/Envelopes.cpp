#include "Envelopes.h"

#include <algorithm>
#include <cstdint>

namespace kivahost {

std::vector<std::vector<std::pair<float, float>>> Envelopes(const OpenedFile& file, int columns) {
  const std::size_t channels = file.Format().labels.size();
  const std::int64_t length = file.Format().sampleCount;
  std::vector<std::vector<std::pair<float, float>>> envelopes(
      channels,
      std::vector<std::pair<float, float>>(static_cast<std::size_t>(columns), {0.0f, 0.0f}));
  if (channels == 0 || length <= 0) return envelopes;
  constexpr std::int64_t kBlock = 65536;
  std::vector<std::vector<float>> planes(channels, std::vector<float>(kBlock));
  std::vector<float*> buffers;
  for (auto& plane : planes) buffers.push_back(plane.data());
  for (std::int64_t position = 0; position < length; position += kBlock) {
    const std::int64_t count = std::min(kBlock, length - position);
    std::int64_t read = 0;
    if (file.Read(position, count, buffers, read) != 0) break;
    for (std::size_t c = 0; c < channels; ++c) {
      for (std::int64_t i = 0; i < count; ++i) {
        const auto column = static_cast<std::size_t>((position + i) * columns / length);
        auto& [low, high] = envelopes[c][column];
        low = std::min(low, planes[c][static_cast<std::size_t>(i)]);
        high = std::max(high, planes[c][static_cast<std::size_t>(i)]);
      }
    }
  }
  return envelopes;
}

}  // namespace kivahost
