// A picture a movie draws into: 32-bit ARGB words stored big-endian (bytes A, R, G, B), rows of
// `rowBytes` bytes (at least width * 4).
#pragma once

#include <cstdint>
#include <vector>

namespace kiva::qt::media {

struct Offscreen {
  virtual ~Offscreen() = default;  // a media layer may keep the pixels of the pictures it made
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t rowBytes = 0;
  std::vector<std::uint8_t> pixels;  // height * rowBytes bytes
};

// Play hints.
inline constexpr std::uint32_t kHintsHighQuality = 0x100;

// Flags of GetNextInterestingTime.
inline constexpr std::uint16_t kNextTimeMediaSample = 0x0010;
inline constexpr std::uint16_t kNextTimeEdgeOK = 0x4000;

}  // namespace kiva::qt::media
