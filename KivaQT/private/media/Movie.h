// An open movie: its tracks, their media and sample descriptions, and the sessions that read
// its audio (and, later, render its video).
#pragma once

#include "AudioChannelLayout.h"
#include "AudioExtraction.h"
#include "Component.h"
#include "MediaStatus.h"
#include "Offscreen.h"
#include "SoundDescription.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace kiva::qt::media {

inline constexpr std::uint32_t kSoundMediaType = FourCharCode("soun");
inline constexpr std::uint32_t kVideoMediaType = FourCharCode("vide");

// What the sample description of a sound track says.
struct SoundDescription {
  // Absent when the track's format cannot be described (no decoder for it).
  std::optional<AudioStreamBasicDescription> streamDescription;
  std::optional<AudioChannelLayout> channelLayout;
  std::uint32_t formatCode = 0;  // the four-character format ('aac ', 'lpcm', '.mp3', ...)
  std::string userReadableText;  // a one-line summary ("AAC, 48000 Hz, stereo")
};

// What the sample description of a video track says.
struct ImageDescription {
  std::uint32_t codecType = 0;  // four-character code of the coding
  std::string codecName;        // human-readable coding name, may be empty
  std::string summary;          // one-line summary of the picture format
  std::optional<std::pair<std::uint32_t, std::uint32_t>> pixelAspectRatio;  // h, v spacing
};

struct Rect {
  std::int32_t top = 0, left = 0, bottom = 0, right = 0;
};

class Track {
 public:
  virtual ~Track() = default;
  virtual std::uint32_t GetMediaType() const = 0;
  // Duration in the movie's current time scale.
  virtual std::int64_t GetDuration() const = 0;
  virtual std::int32_t GetMediaTimeScale() const = 0;
  // Display duration of the media, in the media's time scale.
  virtual std::int64_t GetMediaDisplayDuration() const = 0;
  virtual std::int64_t GetMediaSampleCount() const = 0;
  virtual SoundDescription GetSoundDescription() const = 0;
  virtual ImageDescription GetImageDescription() const = 0;
};

class Movie {
 public:
  virtual ~Movie() = default;
  virtual std::int32_t GetTimeScale() const = 0;
  // Later track durations are given in the new scale.
  virtual void SetTimeScale(std::int32_t timeScale) = 0;
  virtual std::int32_t GetTrackCount() const = 0;
  // Track 1 .. GetTrackCount(); null outside that range.
  virtual const Track* GetTrack(std::int32_t index) const = 0;
  // The picture's natural size (display size); empty without video.
  virtual Rect GetBox() const = 0;
  // A new audio extraction session over all sound tracks, positioned at 0; an error when the
  // movie has no readable sound track.
  virtual OSErr BeginAudioExtraction(std::unique_ptr<AudioExtraction>& session) = 0;

  // Video. The movie draws its first video track's picture at the current time, scaled to its
  // box, into the offscreen it is given (not owned; null: draw nowhere).
  virtual OSErr NewOffscreen(const Rect& box, std::unique_ptr<Offscreen>& offscreen) = 0;
  virtual void SetOffscreen(Offscreen* offscreen) = 0;
  virtual void SetBox(const Rect& box) = 0;
  // The current time, in the movie's time scale, from the first frame.
  virtual void SetTimeValue(std::int64_t time) = 0;
  virtual void SetPlayHints(std::uint32_t hints, std::uint32_t mask) = 0;
  // Draws the picture shown at the current time; 0 or the error of the drawing.
  virtual OSErr Task() = 0;
  // The first video sample time after `time` (at or after it with kNextTimeEdgeOK), in the
  // movie's time scale, with that sample's duration; `next` is -1 when there is none.
  virtual OSErr GetNextInterestingTime(std::uint16_t flags, std::int64_t time, std::int64_t& next,
                                       std::int64_t& duration) = 0;
};

}  // namespace kiva::qt::media
