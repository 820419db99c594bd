// The movie's sound tracks side by side: each track's channels in track order, resampled to
// the session's rate where needed, placed at the track's start on the movie timeline, with
// silence where a track has no media.
#pragma once

#include "AudioStreamFacts.h"
#include "AudioStreamReader.h"
#include "ResampledStreamReader.h"

#include "../AudioExtraction.h"

#include <memory>
#include <vector>

namespace kiva::qt::media::ffmpeg {

struct TimelineTrack {
  const AudioStreamFacts* facts = nullptr;
  std::int64_t offset = 0;  // start on the movie timeline, in frames at the track's own rate
};

class FFmpegAudioExtraction final : public AudioExtraction {
 public:
  // `facts` (owned by the movie, shared here) must hold every track's facts.
  FFmpegAudioExtraction(const std::string& path,
                        std::shared_ptr<const std::vector<AudioStreamFacts>> facts,
                        const std::vector<TimelineTrack>& tracks, int outputRate);

  std::int64_t GetLength() const override { return length; }

 protected:
  OSErr ReadFrames(std::int64_t start, std::int64_t frames,
                   const std::vector<float*>& channels) override;

 private:
  struct Placed {
    std::unique_ptr<AudioStreamReader> native;
    std::unique_ptr<ResampledStreamReader> resampled;
    std::int64_t offset = 0;  // at the output rate
    std::int64_t length = 0;  // at the output rate
    std::size_t firstChannel = 0;
    std::size_t channels = 0;
  };

  std::shared_ptr<const std::vector<AudioStreamFacts>> facts;
  std::vector<Placed> placed;
  std::int64_t length = 0;
};

// The session's output format: float, one channel per channel of every track, at `rate`.
AudioStreamBasicDescription ExtractionFormat(int channels, int rate);

}  // namespace kiva::qt::media::ffmpeg
