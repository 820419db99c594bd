// The decoded frames a timeline steps back and forth over, bounded in memory.
//
// Frames enter in the order one decoding run puts them out (presentation order, from a
// keyframe on), so each entry learns when the frame after it starts: a frame is known to be
// the one on screen at time t only when it starts at or before t and the next one after t.
// Entries hold references to the decoder's own buffers (no copies); the least recently used
// go first once the bound is reached.
#pragma once

#include "FFmpegPtr.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>

namespace kiva::qt::media::ffmpeg {

class DecodedFrameCache {
 public:
  static constexpr std::size_t kDefaultLimitBytes = 64u << 20;
  static constexpr std::int64_t kEndOfStream = std::numeric_limits<std::int64_t>::max();

  explicit DecodedFrameCache(std::size_t limitBytes = kDefaultLimitBytes) : limit(limitBytes) {}

  // The frame on screen at `timestamp` (and when it starts), or null when that is not known
  // from what is kept.
  const AVFrame* Find(std::int64_t timestamp, std::int64_t& start);

  // Adds the next frame of the current decoding run (a new reference to its buffers).
  void Add(const AVFrame& frame, std::int64_t timestamp);
  // The run reached the end of the stream: its last frame stays on screen from then on.
  void EndRun();
  // The next frame added starts a new run (after a seek).
  void BreakRun() { previous = kNone; }

  std::size_t Bytes() const { return bytes; }
  std::size_t LimitBytes() const { return limit; }
  std::size_t Count() const { return entries.size(); }

 private:
  static constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::min();
  struct Entry {
    FramePtr frame;
    std::int64_t next = kNone;  // when the next frame starts; kNone while unknown
    std::size_t bytes = 0;
    std::uint64_t lastUse = 0;
  };
  void EvictFor(std::size_t incoming);

  std::map<std::int64_t, Entry> entries;  // by presentation time
  std::int64_t previous = kNone;          // the run's last frame
  std::size_t limit;
  std::size_t bytes = 0;
  std::uint64_t clock = 0;
};

}  // namespace kiva::qt::media::ffmpeg
