#include "DecodedFrameCache.h"

namespace kiva::qt::media::ffmpeg {

namespace {

std::size_t BytesOf(const AVFrame& frame) {
  std::size_t total = 0;
  for (const AVBufferRef* buffer : frame.buf) {
    if (buffer != nullptr) total += buffer->size;
  }
  for (int i = 0; i < frame.nb_extended_buf; ++i) total += frame.extended_buf[i]->size;
  return total;
}

}  // namespace

const AVFrame* DecodedFrameCache::Find(std::int64_t timestamp, std::int64_t& start) {
  auto at = entries.upper_bound(timestamp);
  if (at == entries.begin()) return nullptr;
  --at;
  Entry& entry = at->second;
  if (entry.next == kNone || timestamp >= entry.next) return nullptr;
  entry.lastUse = ++clock;
  start = at->first;
  return entry.frame.get();
}

void DecodedFrameCache::Add(const AVFrame& frame, std::int64_t timestamp) {
  if (previous != kNone) {
    if (auto before = entries.find(previous); before != entries.end()) {
      before->second.next = timestamp;
    }
  }
  previous = timestamp;
  const std::size_t size = BytesOf(frame);
  if (auto same = entries.find(timestamp); same != entries.end()) {
    // Already kept from an earlier run: the same picture.
    same->second.lastUse = ++clock;
    return;
  }
  if (size > limit) return;  // larger than the whole cache: shown, never kept
  EvictFor(size);
  FramePtr kept(av_frame_alloc());
  // Without memory for a reference the frame is simply not kept.
  if (!kept || av_frame_ref(kept.get(), &frame) < 0) return;
  entries.emplace(timestamp, Entry{std::move(kept), kNone, size, ++clock});
  bytes += size;
}

void DecodedFrameCache::EndRun() {
  if (auto last = entries.find(previous); last != entries.end()) last->second.next = kEndOfStream;
  previous = kNone;
}

void DecodedFrameCache::EvictFor(std::size_t incoming) {
  while (!entries.empty() && bytes + incoming > limit) {
    auto oldest = entries.end();
    for (auto it = entries.begin(); it != entries.end(); ++it) {
      if (oldest == entries.end() || it->second.lastUse < oldest->second.lastUse) oldest = it;
    }
    if (oldest == entries.end()) return;
    bytes -= oldest->second.bytes;
    entries.erase(oldest);
  }
}

}  // namespace kiva::qt::media::ffmpeg
