// When each frame of a video stream starts and how long it lasts, read from the stream's
// packets as far as a question needs and no further (a frame-rate guess looks at a dozen).
//
// Packets come in decoding order; presentation times arrive out of order with B-frames. A time
// below the latest decoding time read is final in the sorted list: every later packet is
// presented at or after its own decoding time.
#pragma once

#include "FFmpegPtr.h"

#include "../MediaStatus.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kiva::qt::media::ffmpeg {

class VideoSampleTimes {
 public:
  VideoSampleTimes(std::string path, const AVInputFormat* demuxer, int streamIndex);

  // Frame `index` (in presentation order): its start and duration in the stream's time base.
  // `exists` is false past the last frame.
  OSErr Sample(std::size_t index, bool& exists, std::int64_t& start, std::int64_t& duration);

 private:
  OSErr Open();
  // Reads until the first `count` times are final or the stream ends.
  void ReadFinal(std::size_t count);

  std::string path;
  const AVInputFormat* demuxer;
  int streamIndex;
  FormatContextPtr format;
  PacketPtr packet;
  // Presentation time and declared duration of each frame read so far, ascending.
  std::vector<std::pair<std::int64_t, std::int64_t>> samples;
  std::int64_t finalBelow = AV_NOPTS_VALUE;
  bool ended = false;
};

}  // namespace kiva::qt::media::ffmpeg
