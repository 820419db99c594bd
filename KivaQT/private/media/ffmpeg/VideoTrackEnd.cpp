#include "VideoTrackEnd.h"

#include "BoundedInput.h"
#include "FFmpegPtr.h"

#include <algorithm>

namespace kiva::qt::media::ffmpeg {

std::int64_t VideoTrackEnd(const AVFormatContext& format, const AVStream& stream) {
  if (format.duration == AV_NOPTS_VALUE || format.duration <= 0) return AV_NOPTS_VALUE;
  FormatContextPtr again;
  if (OpenBoundedInput(format.url, format.iformat, nullptr, again) < 0 ||
      stream.index >= static_cast<int>(again->nb_streams)) {
    return AV_NOPTS_VALUE;
  }
  // From the last keyframe before the file's end (found through its index, such as Matroska's
  // cues) to the end: the last pictures are among those.
  const AVStream& tail = *again->streams[stream.index];
  const std::int64_t start = format.start_time != AV_NOPTS_VALUE ? format.start_time : 0;
  const std::int64_t end = av_rescale_q(start + format.duration, AV_TIME_BASE_Q, tail.time_base);
  if (SeekFrame(again.get(), stream.index, end, AVSEEK_FLAG_BACKWARD) < 0) return AV_NOPTS_VALUE;
  const PacketPtr packet(av_packet_alloc());
  if (!packet) return AV_NOPTS_VALUE;
  std::int64_t last = AV_NOPTS_VALUE;
  while (ReadFrame(again.get(), packet.get()) >= 0) {
    if (packet->stream_index == stream.index && packet->pts != AV_NOPTS_VALUE) {
      const std::int64_t shownUntil = packet->pts + std::max<std::int64_t>(packet->duration, 0);
      last = last == AV_NOPTS_VALUE ? shownUntil : std::max(last, shownUntil);
    }
    av_packet_unref(packet.get());
  }
  return last;
}

}  // namespace kiva::qt::media::ffmpeg
