// FFmpeg's error codes in the media layer's classic terms.
#pragma once

#include "../MediaStatus.h"

namespace kiva::qt::media::ffmpeg {

// ENOENT -43, EACCES/EPERM -54, EIO -36, ENOMEM -108; anything else (invalid data, no demuxer,
// no decoder) -2048.
OSErr ToOSErr(int averror);

}  // namespace kiva::qt::media::ffmpeg
