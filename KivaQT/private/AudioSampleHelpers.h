// Conversions between the host's sample formats and 32-bit float.
#pragma once

#include <kiva/KivaAudioSampleType.h>

#include <cstdint>

namespace kiva {

// 1, 2, 3 or 4 for the 8-, 16-, 24-bit and float codes; 0 for any other code.
std::int32_t GetBytesPerSample(AudioSampleType type);
// The code for a bit depth: 16, 24 and 8 give their integer codes, anything else float.
AudioSampleType DeduceSampleType(std::int32_t bits);
// Converts `count` samples of `type` at `source` to float and writes them to destination[0],
// destination[stride], destination[2 * stride], ... (one channel into an interleaved buffer).
// 8-bit is unsigned around 128; 24-bit is 3 little-endian bytes; an unknown type writes nothing.
void InterleaveAndConvertToFloat32(const void* source, float* destination, std::int32_t count,
                                   std::int32_t stride, AudioSampleType type);
// A duration in one time scale rounded up into another.
std::int64_t ConvertAudioDurationToAudioTimeScale(std::int32_t duration, std::int32_t fromScale,
                                                  std::int32_t unused, std::int32_t toScale);

}  // namespace kiva
