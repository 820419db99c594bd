// Reading a movie's audio: every channel of every sound track side by side, as 32-bit float,
// at one sample rate, on the movie's timeline.
#pragma once

#include "MediaStatus.h"
#include "SoundDescription.h"

#include <cstdint>
#include <vector>

namespace kiva::qt::media {

// One destination per output channel; `data` may be null for a channel the caller skips, and
// `byteSize` is the room at `data` in bytes.
struct AudioBuffer {
  std::uint32_t numberChannels = 1;
  std::uint32_t byteSize = 0;
  void* data = nullptr;
};

class AudioExtraction {
 public:
  virtual ~AudioExtraction() = default;

  // The format the session delivers. It starts as the movie's own (float, all channels, the
  // reported rate); only float output of the same channel count and rate is accepted back.
  OSErr GetStreamDescription(AudioStreamBasicDescription& description) const;
  OSErr SetStreamDescription(const AudioStreamBasicDescription& description);
  // Every channel of every track as its own output channel (the only mode there is here).
  OSErr SetAllChannelsDiscrete(bool discrete);

  // The session's position, in frames at the output rate.
  std::int64_t GetCurrentTime() const { return currentTime; }
  OSErr SetCurrentTime(std::int64_t frame);

  // Fills up to `ioFrames` frames from the current position into `buffers` (one per channel,
  // each with room for ioFrames floats), advances the position and sets `ioFrames` to the
  // frames delivered: fewer only at the end of the movie.
  OSErr FillBuffer(std::uint32_t& ioFrames, std::vector<AudioBuffer>& buffers);

  // Frames on the movie's timeline at the output rate.
  virtual std::int64_t GetLength() const = 0;

 protected:
  explicit AudioExtraction(const AudioStreamBasicDescription& outputFormat);

  // Called when SetCurrentTime moves the session somewhere new.
  virtual void PositionChanged(std::int64_t /*frame*/) {}

  // Writes frames [start, start + frames) of every channel into `channels` (null entries are
  // skipped); start + frames never passes the end. Returns 0 or an error.
  virtual OSErr ReadFrames(std::int64_t start, std::int64_t frames,
                           const std::vector<float*>& channels) = 0;

 private:
  AudioStreamBasicDescription format;
  std::int64_t currentTime = 0;
};

}  // namespace kiva::qt::media
