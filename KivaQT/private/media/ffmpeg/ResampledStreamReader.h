// One audio stream at another sample rate. A random read restarts the resampler at an input
// position that is a whole number of rate periods (and enough filter length) before the wanted
// output, where the polyphase filter is in the same phase as in a resampling from the start:
// its output there is the same, bit for bit.
#pragma once

#include "AudioStreamReader.h"
#include "FFmpegPtr.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace kiva::qt::media::ffmpeg {

class ResampledStreamReader {
 public:
  ResampledStreamReader(std::unique_ptr<AudioStreamReader> source, int outputRate);
  ~ResampledStreamReader();
  ResampledStreamReader(const ResampledStreamReader&) = delete;
  ResampledStreamReader& operator=(const ResampledStreamReader&) = delete;

  // Whether one rate converts to the other: the resampler's filter grows with the ratio of the
  // rates (a reduction by N holds N times the taps in each of its phases), so rates further apart
  // than any two real ones (6 kHz and 384 kHz) are not converted.
  static bool Converts(std::int64_t fromRate, std::int64_t toRate);

  int Channels() const { return source->Channels(); }
  // The resampled length: every input frame's time, rounded up to whole output frames.
  std::int64_t Length() const;

  // Same contract as AudioStreamReader::Read, at the output rate.
  OSErr Read(std::int64_t start, std::int64_t count, const std::vector<float*>& out);

 private:
  OSErr Restart(std::int64_t outputStart);
  OSErr Produce(bool& ended);

  std::unique_ptr<AudioStreamReader> source;
  int outputRate;
  std::int64_t inputPeriod;   // input frames per rate period
  std::int64_t outputPeriod;  // output frames per rate period
  SwrContextPtr resampler;
  AVChannelLayout layout{};

  std::vector<std::vector<float>> input;
  std::vector<std::vector<float>> pending;
  std::int64_t pendingStart = 0;
  std::int64_t pendingFrames = 0;
  std::int64_t inputPosition = 0;
  std::int64_t nextOutput = 0;
  bool started = false;
  bool drained = false;
};

}  // namespace kiva::qt::media::ffmpeg
