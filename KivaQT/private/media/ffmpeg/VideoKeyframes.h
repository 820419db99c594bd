// Where decoding of a video stream can start, and how to get the demuxer there.
//
// A container with an index (QuickTime/MP4, Matroska, AVI) is sought by time: the demuxer's own
// seek goes to the keyframe its index lists at or before that time. A stream without one (MPEG
// transport and program streams) would be sought by guessing a byte position from timestamps,
// which lands on whatever packet is nearest; such a stream is scanned once instead, and its
// keyframes are reached by their exact byte positions.
#pragma once

#include "FFmpegPtr.h"

#include <cstdint>
#include <vector>

namespace kiva::qt::media::ffmpeg {

class VideoKeyframes {
 public:
  // Reads the container's index, or scans the stream where there is none. Leaves the demuxer
  // at an unspecified place.
  void Find(AVFormatContext& format, int streamIndex, AVPacket& scratch);

  // Keyframe stamps in the stream's time base, ascending: the index's own (a decoding time in
  // some containers, never later than the presentation time), or the presentation times the
  // scan found.
  const std::vector<std::int64_t>& Timestamps() const { return timestamps; }
  bool Scanned() const { return scanned; }

  // Puts the demuxer at the last keyframe whose stamp is at or before `timestamp` (or at the
  // first one). The caller still skips packets up to the first keyframe packet.
  bool SeekAtOrBefore(AVFormatContext& format, int streamIndex, std::int64_t timestamp) const;

 private:
  std::vector<std::int64_t> timestamps;
  std::vector<std::int64_t> positions;  // byte positions, for a scanned stream
  bool scanned = false;
};

}  // namespace kiva::qt::media::ffmpeg
