// Little-endian float PCM in a QuickTime movie, described the way every reader reads it.
//
// FFmpeg's muxer describes it as 'fl32' (or 'fl64') with a version 1 sound description whose
// 'wave' extension carries an 'enda' atom for the byte order. Some readers (GStreamer among
// them) ignore 'enda' for floats and decode the samples as big-endian noise. A version 2
// 'lpcm' description states the byte order in its flags, which every reader honours; the
// muxer writes one only above 65535 Hz. This rewrites the finished movie's description.
#pragma once

#include "../MediaStatus.h"

#include <cstdint>
#include <string>

namespace kiva::qt::media::ffmpeg {

// Rewrites the float sample descriptions of the movie header at `movieAtom` (the last atom of
// the file at `path`). A header that holds none, or is not as the muxer writes it, stays as it
// is; kIOErr when the file could not be rewritten.
OSErr DescribeFloatAsLinearPcm(const std::string& path, std::uint64_t movieAtom);

}  // namespace kiva::qt::media::ffmpeg
