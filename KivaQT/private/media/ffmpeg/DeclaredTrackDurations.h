// What a QuickTime or MP4 movie declares about its tracks' lengths: the movie's time scale and
// each track's duration in it (its edit list's total, empty edits included), by track ID.
// FFmpeg keeps neither; a track's length in a movie is that declared duration.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace kiva::qt::media::ffmpeg {

struct DeclaredTrackDurations {
  std::int64_t movieScale = 0;                  // 0 when the file declares none
  std::map<std::int64_t, std::int64_t> tracks;  // track ID -> duration in movieScale
};

// Reads the movie header of the file at `path`; empty when it has none (not a movie, or a
// fragmented one whose headers declare no lengths).
DeclaredTrackDurations ReadDeclaredTrackDurations(const std::string& path);

}  // namespace kiva::qt::media::ffmpeg
