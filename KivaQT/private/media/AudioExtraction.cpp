#include "AudioExtraction.h"

#include <algorithm>

namespace kiva::qt::media {

namespace {

constexpr OSErr kParamErr = -50;

}  // namespace

AudioExtraction::AudioExtraction(const AudioStreamBasicDescription& outputFormat)
    : format(outputFormat) {}

OSErr AudioExtraction::GetStreamDescription(AudioStreamBasicDescription& description) const {
  description = format;
  return kNoErr;
}

OSErr AudioExtraction::SetStreamDescription(const AudioStreamBasicDescription& description) {
  if (description.mFormatID != kAudioFormatLinearPCM ||
      (description.mFormatFlags & kAudioFormatFlagIsFloat) == 0 ||
      description.mBitsPerChannel != 32 ||
      description.mChannelsPerFrame != format.mChannelsPerFrame ||
      description.mSampleRate != format.mSampleRate) {
    return kParamErr;
  }
  format = description;
  return kNoErr;
}

OSErr AudioExtraction::SetAllChannelsDiscrete(bool discrete) {
  return discrete ? kNoErr : kParamErr;
}

OSErr AudioExtraction::SetCurrentTime(std::int64_t frame) {
  if (frame < 0) return kParamErr;
  if (frame != currentTime) PositionChanged(frame);
  currentTime = frame;
  return kNoErr;
}

OSErr AudioExtraction::FillBuffer(std::uint32_t& ioFrames, std::vector<AudioBuffer>& buffers) {
  if (buffers.size() != format.mChannelsPerFrame) return kParamErr;
  std::vector<float*> channels;
  channels.reserve(buffers.size());
  for (const auto& buffer : buffers) {
    // A buffer too small for the request is one the caller does not want filled.
    const bool fits = buffer.data != nullptr && buffer.byteSize / sizeof(float) >= ioFrames;
    channels.push_back(fits ? static_cast<float*>(buffer.data) : nullptr);
  }
  const std::int64_t available = std::max<std::int64_t>(0, GetLength() - currentTime);
  const std::int64_t frames = std::min<std::int64_t>(ioFrames, available);
  if (frames > 0) {
    if (const OSErr error = ReadFrames(currentTime, frames, channels); error != kNoErr) {
      ioFrames = 0;
      return error;
    }
  }
  currentTime += frames;
  ioFrames = static_cast<std::uint32_t>(frames);
  return kNoErr;
}

}  // namespace kiva::qt::media
