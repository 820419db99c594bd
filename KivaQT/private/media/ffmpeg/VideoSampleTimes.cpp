#include "VideoSampleTimes.h"

#include "AudioStreamFacts.h"
#include "BoundedInput.h"
#include "FFmpegErrors.h"

#include <algorithm>
#include <limits>

namespace kiva::qt::media::ffmpeg {

VideoSampleTimes::VideoSampleTimes(std::string path, const AVInputFormat* demuxer, int streamIndex)
    : path(std::move(path)),
      demuxer(demuxer),
      streamIndex(streamIndex),
      packet(av_packet_alloc()) {}

OSErr VideoSampleTimes::Open() {
  if (format) return kNoErr;
  if (!packet) return kMemFullErr;
  FormatContextPtr opened;
  if (const int result = OpenBoundedInput(path, demuxer, nullptr, opened); result < 0) {
    return ToOSErr(result);
  }
  if (FindStreamInfo(opened.get()) < 0 || streamIndex >= static_cast<int>(opened->nb_streams)) {
    return kInvalidMovieErr;
  }
  KeepOnlyStream(opened.get(), streamIndex);
  format = std::move(opened);
  return kNoErr;
}

void VideoSampleTimes::ReadFinal(std::size_t count) {
  const auto finalCount = [&] {
    if (ended) return samples.size();
    return static_cast<std::size_t>(
        std::lower_bound(samples.begin(), samples.end(), std::pair{finalBelow, std::int64_t{0}}) -
        samples.begin());
  };
  while (!ended && finalCount() < count) {
    if (ReadFrame(format.get(), packet.get()) < 0) {
      ended = true;
      break;
    }
    PacketReference unref(packet.get());
    if (packet->stream_index != streamIndex) continue;
    // Frames an edit list cuts away are decoded (others depend on them) but never shown.
    if (packet->flags & AV_PKT_FLAG_DISCARD) continue;
    const std::int64_t timestamp = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
    if (timestamp == AV_NOPTS_VALUE) continue;
    const std::pair sample{timestamp, packet->duration};
    samples.insert(std::upper_bound(samples.begin(), samples.end(), sample), sample);
    // Without decoding times nothing is final until the end.
    finalBelow =
        packet->dts != AV_NOPTS_VALUE ? packet->dts : std::numeric_limits<std::int64_t>::min();
  }
}

OSErr VideoSampleTimes::Sample(std::size_t index, bool& exists, std::int64_t& start,
                               std::int64_t& duration) {
  exists = false;
  start = 0;
  duration = 0;
  if (const OSErr error = Open(); error != kNoErr) return error;
  ReadFinal(index + 2);
  if (index >= samples.size()) return kNoErr;
  exists = true;
  start = samples[index].first;
  // The time to the next frame; the last one lasts as long as its packet says.
  duration = index + 1 < samples.size() ? samples[index + 1].first - start
                                        : std::max<std::int64_t>(samples[index].second, 1);
  return kNoErr;
}

}  // namespace kiva::qt::media::ffmpeg
