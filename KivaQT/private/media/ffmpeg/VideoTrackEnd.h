// Where a video track's own pictures end, for containers that state no duration per track
// (Matroska, WebM, Ogg): there the file's duration is that of its longest track, which is often
// the sound, and a video counted from it gains frames it does not have.
#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>

namespace kiva::qt::media::ffmpeg {

// The end of the last picture of `stream` (its time plus its duration, in the stream's time
// base), read from the file's last stretch; AV_NOPTS_VALUE when it cannot be learned.
std::int64_t VideoTrackEnd(const AVFormatContext& format, const AVStream& stream);

}  // namespace kiva::qt::media::ffmpeg
