#include "VideoKeyframes.h"

#include "BoundedInput.h"

#include <algorithm>

namespace kiva::qt::media::ffmpeg {

void VideoKeyframes::Find(AVFormatContext& format, int streamIndex, AVPacket& scratch) {
  timestamps.clear();
  positions.clear();
  scanned = false;
  const int flags = format.iformat->flags;
  const bool byteSeekable = (flags & AVFMT_NO_BYTE_SEEK) == 0;
  // Broadcast streams (MPEG transport and program streams) have no index: their seeks guess a
  // position from the timestamps they find, and the entries they add on the way are not
  // keyframes.
  if ((flags & AVFMT_TS_DISCONT) == 0 || !byteSeekable) {
    // Some demuxers read their index on the first seek only (Matroska's cues).
    SeekFrame(&format, streamIndex, 0, AVSEEK_FLAG_BACKWARD);
    AVStream* stream = format.streams[streamIndex];
    const int entries = avformat_index_get_entries_count(stream);
    for (int e = 0; e < entries; ++e) {
      const AVIndexEntry* entry = avformat_index_get_entry(stream, e);
      if (entry != nullptr && (entry->flags & AVINDEX_KEYFRAME) != 0) {
        timestamps.push_back(entry->timestamp);
      }
    }
    if (!timestamps.empty() || !byteSeekable) {
      std::sort(timestamps.begin(), timestamps.end());
      return;
    }
  }
  // No index: one pass over the packets.
  std::vector<std::pair<std::int64_t, std::int64_t>> found;  // presentation time, position
  SeekFrame(&format, streamIndex, 0, AVSEEK_FLAG_BYTE);
  while (ReadFrame(&format, &scratch) >= 0) {
    PacketReference unref(&scratch);
    if (scratch.stream_index != streamIndex || (scratch.flags & AV_PKT_FLAG_KEY) == 0) continue;
    const std::int64_t timestamp = scratch.pts != AV_NOPTS_VALUE ? scratch.pts : scratch.dts;
    if (timestamp != AV_NOPTS_VALUE && scratch.pos >= 0) found.emplace_back(timestamp, scratch.pos);
  }
  std::sort(found.begin(), found.end());
  for (const auto& [timestamp, position] : found) {
    timestamps.push_back(timestamp);
    positions.push_back(position);
  }
  scanned = true;
}

bool VideoKeyframes::SeekAtOrBefore(AVFormatContext& format, int streamIndex,
                                    std::int64_t timestamp) const {
  if (!scanned) {
    return SeekFrame(&format, streamIndex, timestamp, AVSEEK_FLAG_BACKWARD) >= 0 ||
           SeekFrame(&format, streamIndex, timestamp, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY) >= 0;
  }
  if (timestamps.empty()) return SeekFrame(&format, streamIndex, 0, AVSEEK_FLAG_BYTE) >= 0;
  const auto after = std::upper_bound(timestamps.begin(), timestamps.end(), timestamp);
  const std::size_t keyframe =
      after == timestamps.begin() ? 0 : static_cast<std::size_t>(after - timestamps.begin()) - 1;
  return SeekFrame(&format, streamIndex, positions[keyframe], AVSEEK_FLAG_BYTE) >= 0;
}

}  // namespace kiva::qt::media::ffmpeg
