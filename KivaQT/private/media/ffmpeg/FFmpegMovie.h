// A movie over an FFmpeg demuxer. Tracks are listed sound first (in stream order), then video,
// then the rest, so that the movie's time scale is still the audio-exact one while sound track
// durations are read. Cover art (an attached picture) is not a track.
#pragma once

#include "AudioStreamFacts.h"
#include "FFmpegPtr.h"
#include "FFmpegVideoRenderer.h"
#include "OffscreenPool.h"
#include "VideoSampleTimes.h"

#include "../Movie.h"

#include <memory>
#include <string>
#include <vector>

namespace kiva::qt::media::ffmpeg {

class FFmpegMovie final : public Movie {
 public:
  static OSErr Open(const std::string& path, std::unique_ptr<Movie>& movie);

  std::int32_t GetTimeScale() const override { return timeScale; }
  void SetTimeScale(std::int32_t scale) override;
  std::int32_t GetTrackCount() const override { return static_cast<std::int32_t>(tracks.size()); }
  const Track* GetTrack(std::int32_t index) const override;
  Rect GetBox() const override { return box; }
  OSErr BeginAudioExtraction(std::unique_ptr<AudioExtraction>& session) override;

  OSErr NewOffscreen(const Rect& box, std::unique_ptr<Offscreen>& offscreen) override;
  void SetOffscreen(Offscreen* target) override;
  void SetBox(const Rect& newBox) override { drawBox = newBox; }
  void SetTimeValue(std::int64_t time) override { timeValue = time; }
  void SetPlayHints(std::uint32_t hints, std::uint32_t mask) override;
  OSErr Task() override;
  OSErr GetNextInterestingTime(std::uint16_t flags, std::int64_t time, std::int64_t& next,
                               std::int64_t& duration) override;

  // What drawing has cost so far (for tests and measurements): null before the first frame.
  const FFmpegVideoRenderer* VideoRenderer() const { return renderer.get(); }
  const OffscreenPool& Pictures() const { return *pictures; }

 private:
  FFmpegMovie() = default;

  std::string path;
  // Shared with the extraction sessions, whose readers refer to it.
  std::shared_ptr<std::vector<AudioStreamFacts>> audio;
  std::vector<std::int64_t> audioOffsets;  // per audio facts entry, at its own rate
  std::vector<std::unique_ptr<Track>> tracks;
  std::int32_t timeScale = 600;
  Rect box;

  // Video: the first video stream with a decoder, drawn on demand.
  const AVInputFormat* demuxer = nullptr;
  int videoStream = -1;
  AVRational videoTimeBase{1, 1};
  std::int64_t videoOrigin = 0;  // the first frame's time, from which movie times count
  FormatContextPtr studied;      // the demuxer the file was studied with, kept for the pictures
  std::unique_ptr<FFmpegVideoRenderer> renderer;
  std::unique_ptr<VideoSampleTimes> sampleTimes;
  Offscreen* offscreen = nullptr;
  std::shared_ptr<OffscreenPool> pictures = std::make_shared<OffscreenPool>();
  Rect drawBox;
  std::int64_t timeValue = 0;
  bool highQuality = false;
  FFmpegVideoRenderer* Renderer();
};

}  // namespace kiva::qt::media::ffmpeg
