#include "FFmpegErrors.h"

extern "C" {
#include <libavutil/error.h>
}

#include <cerrno>

namespace kiva::qt::media::ffmpeg {

OSErr ToOSErr(int averror) {
  if (averror >= 0) return kNoErr;
  if (averror == AVERROR(ENOENT) || averror == AVERROR(ENOTDIR)) return kFileNotFoundErr;
  if (averror == AVERROR(EACCES) || averror == AVERROR(EPERM)) return kPermissionErr;
  if (averror == AVERROR(EIO)) return kIOErr;
  if (averror == AVERROR(ENOMEM)) return kMemFullErr;
  return kInvalidMovieErr;
}

}  // namespace kiva::qt::media::ffmpeg
