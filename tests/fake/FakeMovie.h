// A scriptable movie: tracks with given descriptions, and an audio session that serves a ramp
// (channel c, frame f holds c * 1000 + f) so that every delivered sample tells where it came
// from.
#pragma once

#include "media/Movie.h"

#include <memory>
#include <vector>

namespace kiva::test {

class FakeTrack final : public qt::media::Track {
 public:
  std::uint32_t GetMediaType() const override { return mediaType; }
  std::int64_t GetDuration() const override;
  std::int32_t GetMediaTimeScale() const override { return mediaTimeScale; }
  std::int64_t GetMediaDisplayDuration() const override { return displayDuration; }
  std::int64_t GetMediaSampleCount() const override { return sampleCount; }
  qt::media::SoundDescription GetSoundDescription() const override { return sound; }
  qt::media::ImageDescription GetImageDescription() const override { return image; }

  std::uint32_t mediaType = qt::media::kSoundMediaType;
  // Duration in seconds as a fraction, given in the movie's scale at the time it is asked.
  std::int64_t durationUnits = 0;
  std::int32_t durationScale = 1;
  const std::int32_t* movieScale = nullptr;
  std::int32_t mediaTimeScale = 48000;
  std::int64_t displayDuration = 0;
  std::int64_t sampleCount = 0;
  qt::media::SoundDescription sound;
  qt::media::ImageDescription image;
};

class FakeAudioExtraction final : public qt::media::AudioExtraction {
 public:
  FakeAudioExtraction(std::uint32_t channels, double rate, std::int64_t length);
  std::int64_t GetLength() const override { return length; }

  int seeks = 0;                    // SetCurrentTime calls that moved the position
  std::vector<std::int64_t> reads;  // start of every ReadFrames call
  std::int64_t length;
  qt::media::OSErr readError = qt::media::kNoErr;

 protected:
  void PositionChanged(std::int64_t) override { ++seeks; }
  qt::media::OSErr ReadFrames(std::int64_t start, std::int64_t frames,
                              const std::vector<float*>& channels) override;
};

class FakeMovie final : public qt::media::Movie {
 public:
  std::int32_t GetTimeScale() const override { return timeScale; }
  void SetTimeScale(std::int32_t scale) override { timeScale = scale; }
  std::int32_t GetTrackCount() const override { return static_cast<std::int32_t>(tracks.size()); }
  const qt::media::Track* GetTrack(std::int32_t index) const override;
  qt::media::Rect GetBox() const override { return box; }
  qt::media::OSErr BeginAudioExtraction(
      std::unique_ptr<qt::media::AudioExtraction>& session) override;

  qt::media::OSErr NewOffscreen(const qt::media::Rect& box,
                                std::unique_ptr<qt::media::Offscreen>& offscreen) override;
  void SetOffscreen(qt::media::Offscreen* target) override { offscreen = target; }
  void SetBox(const qt::media::Rect& newBox) override { boxes.push_back(newBox); }
  void SetTimeValue(std::int64_t time) override { times.push_back(time); }
  void SetPlayHints(std::uint32_t hints, std::uint32_t mask) override {
    playHints.emplace_back(hints, mask);
  }
  // Fills the offscreen with `pixel` (an ARGB word), stored big-endian.
  qt::media::OSErr Task() override;
  qt::media::OSErr GetNextInterestingTime(std::uint16_t flags, std::int64_t time,
                                          std::int64_t& next, std::int64_t& duration) override;

  // A sound track of `seconds` (as units / scale) with the given description.
  FakeTrack& AddSoundTrack(double rate, std::uint32_t channels, std::int64_t units,
                           std::int32_t scale);
  FakeTrack& AddVideoTrack(std::int32_t timeScale, std::int64_t duration, std::int64_t samples);

  std::int32_t timeScale = 65536;
  std::vector<std::unique_ptr<FakeTrack>> tracks;
  qt::media::Rect box;
  std::int64_t extractionLength = 0;
  // Video script and record.
  std::uint32_t pixel = 0xFF102030;
  qt::media::OSErr taskError = qt::media::kNoErr;
  int rowPadding = 16;  // extra bytes per offscreen row, as a real picture may have
  std::vector<std::pair<std::int64_t, std::int64_t>> samples;  // (time, duration) of video
  qt::media::OSErr interestingTimeError = qt::media::kNoErr;
  qt::media::Offscreen* offscreen = nullptr;
  int offscreensMade = 0;
  std::vector<qt::media::Rect> boxes;
  std::vector<std::int64_t> times;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> playHints;
  // The last session handed out (owned by the source).
  FakeAudioExtraction* lastSession = nullptr;
  int sessionsBegun = 0;
};

}  // namespace kiva::test
