#include "StoredBitRate.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <vector>

namespace kivahost {

namespace {

struct InputCloser {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

struct PacketFreer {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

// The rate is a summary, not worth a wait: reading stops after a second (FFmpeg asks at every
// refill of its buffer), and tracks are measured over the packets read by then. Without it, a
// file followed by gigabytes of zeros (a preallocated recording stopped early) kept FFmpeg
// walking the zeros for minutes looking for more chunks or frames.
constexpr std::chrono::seconds kMeasuringTime{1};

int PastDeadline(void* opaque) {
  return std::chrono::steady_clock::now() >
         *static_cast<const std::chrono::steady_clock::time_point*>(opaque);
}

bool IsAudio(const AVStream* stream) {
  return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO &&
         (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

// What one audio track's packets hold, and the time they span.
struct Extent {
  std::int64_t bytes = 0;
  std::int64_t first = std::numeric_limits<std::int64_t>::max();
  std::int64_t end = std::numeric_limits<std::int64_t>::min();
};

// Bits per second of each audio track that states none (FLAC, Vorbis and Opus streams usually
// do not), measured from its packets' sizes over the time they span. Other tracks are skipped
// without being read.
void MeasureUnstatedRates(AVFormatContext* context, std::vector<std::int64_t>& rates) {
  std::vector<Extent> extents(context->nb_streams);
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    if (rates[i] != 0) context->streams[i]->discard = AVDISCARD_ALL;
  }
  std::unique_ptr<AVPacket, PacketFreer> packet(av_packet_alloc());
  if (!packet) return;
  while (av_read_frame(context, packet.get()) >= 0) {
    const auto index = static_cast<std::size_t>(packet->stream_index);
    if (index < extents.size() && rates[index] == 0 && packet->pts != AV_NOPTS_VALUE) {
      Extent& extent = extents[index];
      extent.bytes += packet->size;
      extent.first = std::min(extent.first, packet->pts);
      extent.end = std::max(extent.end, packet->pts + packet->duration);
    }
    av_packet_unref(packet.get());
  }
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    const Extent& extent = extents[i];
    if (rates[i] != 0 || extent.end <= extent.first) continue;
    const double seconds =
        static_cast<double>(extent.end - extent.first) * av_q2d(context->streams[i]->time_base);
    if (seconds > 0) rates[i] = static_cast<std::int64_t>(extent.bytes * 8 / seconds + 0.5);
  }
}

}  // namespace

std::optional<std::int64_t> StoredAudioBitRate(const std::string& path) {
  const auto deadline = std::chrono::steady_clock::now() + kMeasuringTime;
  AVFormatContext* opened = avformat_alloc_context();
  if (opened == nullptr) return std::nullopt;
  opened->interrupt_callback =
      AVIOInterruptCB{PastDeadline, const_cast<void*>(static_cast<const void*>(&deadline))};
  // avformat_open_input frees the context when it fails.
  if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0) return std::nullopt;
  std::unique_ptr<AVFormatContext, InputCloser> context(opened);
  if (avformat_find_stream_info(context.get(), nullptr) < 0) return std::nullopt;
  // 0 for a track still to measure, -1 for one that is not audio.
  std::vector<std::int64_t> rates(context->nb_streams, -1);
  bool unstated = false;
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    const AVStream* stream = context->streams[i];
    if (!IsAudio(stream)) continue;
    rates[i] = std::max<std::int64_t>(stream->codecpar->bit_rate, 0);
    unstated = unstated || rates[i] == 0;
  }
  if (unstated) MeasureUnstatedRates(context.get(), rates);
  std::int64_t total = 0;
  bool anyAudio = false;
  for (const std::int64_t rate : rates) {
    if (rate == 0) return std::nullopt;  // an audio track whose rate could not be told
    if (rate > 0) {
      total += rate;
      anyAudio = true;
    }
  }
  if (!anyAudio) return std::nullopt;
  return total;
}

}  // namespace kivahost
