#include "AudioSampleHelpers.h"

#include <cstring>

namespace kiva {

std::int32_t GetBytesPerSample(AudioSampleType type) {
  switch (type) {
    case kAudioSampleType_8Bit:
      return 1;
    case kAudioSampleType_16Bit:
      return 2;
    case kAudioSampleType_24Bit:
      return 3;
    case kAudioSampleType_32BitFloat:
      return 4;
    default:
      return 0;
  }
}

AudioSampleType DeduceSampleType(std::int32_t bits) {
  switch (bits) {
    case 16:
      return kAudioSampleType_16Bit;
    case 24:
      return kAudioSampleType_24Bit;
    case 8:
      return kAudioSampleType_8Bit;
    default:
      return kAudioSampleType_32BitFloat;
  }
}

void InterleaveAndConvertToFloat32(const void* source, float* destination, std::int32_t count,
                                   std::int32_t stride, AudioSampleType type) {
  const auto* bytes = static_cast<const unsigned char*>(source);
  for (std::int32_t i = 0; i < count; ++i) {
    float value = 0.0f;
    switch (type) {
      case kAudioSampleType_8Bit:
        value = static_cast<float>(static_cast<int>(bytes[i]) - 128) * 0.0078125f;
        break;
      case kAudioSampleType_16Bit: {
        std::int16_t sample = 0;
        std::memcpy(&sample, bytes + 2 * i, 2);
        value = static_cast<float>(sample) * 3.0517578e-5f;
        break;
      }
      case kAudioSampleType_24Bit: {
        const unsigned char* p = bytes + 3 * i;
        std::int32_t sample = p[0] | p[1] << 8 | p[2] << 16;
        if (sample & 0x800000) sample -= 0x1000000;  // the sign is bit 23
        value = static_cast<float>(sample) * 1.1920929e-7f;
        break;
      }
      case kAudioSampleType_32BitFloat:
        std::memcpy(&value, bytes + 4 * i, 4);
        break;
      default:
        return;
    }
    destination[static_cast<std::int64_t>(i) * stride] = value;
  }
}

std::int64_t ConvertAudioDurationToAudioTimeScale(std::int32_t duration, std::int32_t fromScale,
                                                  std::int32_t /*unused*/, std::int32_t toScale) {
  return static_cast<std::int64_t>((static_cast<double>(duration) * toScale + fromScale - 1) /
                                   fromScale);
}

}  // namespace kiva
