// A new movie being written into a file: one sound track with its media, samples appended in
// order, the movie header written at the end.
#pragma once

#include "AudioChannelLayout.h"
#include "MediaStatus.h"
#include "SoundDescription.h"

#include <cstdint>
#include <vector>

namespace kiva::qt::media {

// What the samples of a sound track are: their stream description, where each channel belongs
// and, for compressed formats, the encoder's setup data.
struct SoundFormat {
  AudioStreamBasicDescription description;
  AudioChannelLayout layout;
  std::vector<std::uint8_t> magicCookie;
  std::int64_t primingFrames = 0;  // encoder delay at the start of compressed media
};

class MovieStorage {
 public:
  virtual ~MovieStorage() = default;
  virtual OSErr NewSoundTrack() = 0;
  // The track's media, counting time in `timeScale` units, holding samples of `format`.
  virtual OSErr NewSoundMedia(std::int32_t timeScale, const SoundFormat& format) = 0;
  virtual OSErr BeginMediaEdits() = 0;
  // Appends `samples` samples of `size` bytes at `data`, each lasting `durationPerSample`.
  virtual OSErr AddMediaSample(const void* data, std::size_t size, std::int64_t durationPerSample,
                               const SoundFormat& format, std::int64_t samples) = 0;
  virtual OSErr EndMediaEdits() = 0;
  // Media time added so far.
  virtual std::int64_t GetMediaDuration() const = 0;
  virtual OSErr InsertMediaIntoTrack(std::int64_t trackStart, std::int64_t mediaTime,
                                     std::int64_t mediaDuration, std::int32_t rate) = 0;
  // Writes the movie (its header) into the file.
  virtual OSErr AddMovieToStorage() = 0;
  // Closes the file; what was written stays.
  virtual OSErr Close() = 0;
};

}  // namespace kiva::qt::media
