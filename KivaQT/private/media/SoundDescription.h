// Sound formats in the media layer's terms.
#pragma once

#include "Component.h"

#include <cstdint>

namespace kiva::qt::media {

// The 40-byte stream description of a sound format.
struct AudioStreamBasicDescription {
  double mSampleRate = 0;
  std::uint32_t mFormatID = 0;
  std::uint32_t mFormatFlags = 0;
  std::uint32_t mBytesPerPacket = 0;
  std::uint32_t mFramesPerPacket = 0;
  std::uint32_t mBytesPerFrame = 0;
  std::uint32_t mChannelsPerFrame = 0;
  std::uint32_t mBitsPerChannel = 0;
  std::uint32_t mReserved = 0;
};
static_assert(sizeof(AudioStreamBasicDescription) == 40);

inline constexpr std::uint32_t kAudioFormatLinearPCM = FourCharCode("lpcm");
inline constexpr std::uint32_t kAudioFormatFlagIsFloat = 1u << 0;
inline constexpr std::uint32_t kAudioFormatFlagIsBigEndian = 1u << 1;
inline constexpr std::uint32_t kAudioFormatFlagIsSignedInteger = 1u << 2;
inline constexpr std::uint32_t kAudioFormatFlagIsPacked = 1u << 3;
inline constexpr std::uint32_t kAudioFormatFlagIsNonInterleaved = 1u << 5;

}  // namespace kiva::qt::media
