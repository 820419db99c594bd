#include "FFmpegVideoRenderer.h"

#include "AudioStreamFacts.h"
#include "BoundedInput.h"
#include "FFmpegErrors.h"

#include <algorithm>
#include <limits>

namespace kiva::qt::media::ffmpeg {

namespace {

constexpr OSErr kParamErr = -50;
// A frame this many frames ahead of the decoder is decoded on to even past a keyframe: cheaper
// than a seek, and what playing in order asks for.
constexpr std::int64_t kDecodeOnFrames = 8;
// Keyframes to go back, one at a time, before giving up on a time; and how many of those may
// give nothing at all (each such run decodes to the end of the stream).
constexpr int kMostStepsBack = 64;
constexpr int kMostFruitlessRuns = 3;
// Frames before the wanted one that a run from a keyframe keeps, unless it decodes a stretch it
// decoded before (a host stepping backwards): each frame kept holds its own buffer, and a
// single request would pay for them all.
constexpr std::int64_t kKeptBeforeWanted = 8;

std::int64_t TimestampOf(const AVFrame& frame) {
  return frame.best_effort_timestamp != AV_NOPTS_VALUE ? frame.best_effort_timestamp : frame.pts;
}

}  // namespace

FFmpegVideoRenderer::FFmpegVideoRenderer(std::string path, FormatContextPtr opened,
                                         const AVInputFormat* demuxer, int streamIndex,
                                         AVRational timeBase)
    : path(std::move(path)),
      demuxer(demuxer),
      streamIndex(streamIndex),
      timeBase(timeBase),
      studied(std::move(opened)),
      packet(av_packet_alloc()),
      decoded(av_frame_alloc()),
      shown(av_frame_alloc()) {}

OSErr FFmpegVideoRenderer::Open() {
  // Opened whole or not at all: a later request must not find a demuxer without its decoder.
  if (decoder) return kNoErr;
  if (!packet || !decoded || !shown) return kMemFullErr;
  FormatContextPtr opened = std::move(studied);
  if (!opened) {
    if (const int result = OpenBoundedInput(path, demuxer, nullptr, opened); result < 0) {
      return ToOSErr(result);
    }
    if (FindStreamInfo(opened.get()) < 0) return kInvalidMovieErr;
  }
  if (streamIndex >= static_cast<int>(opened->nb_streams)) return kInvalidMovieErr;
  KeepOnlyStream(opened.get(), streamIndex);
  const AVStream* stream = opened->streams[streamIndex];
  orientation = DisplayOrientation::Of(*stream);
  const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
  if (codec == nullptr) return kInvalidMovieErr;
  CodecContextPtr context(avcodec_alloc_context3(codec));
  if (!context || avcodec_parameters_to_context(context.get(), stream->codecpar) < 0) {
    return kInvalidMovieErr;
  }
  context->pkt_timebase = stream->time_base;
  context->thread_count = 0;  // as many as the machine has
  context->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
  if (avcodec_open2(context.get(), codec, nullptr) < 0) return kInvalidMovieErr;
  const AVRational rate =
      stream->avg_frame_rate.num > 0 ? stream->avg_frame_rate : stream->r_frame_rate;
  if (rate.num > 0 && rate.den > 0) frameDuration = av_rescale_q(1, av_inv_q(rate), timeBase);
  // The container's own account of the first frame's time where it has one; otherwise the
  // first frame is decoded to learn it.
  origin = stream->start_time;
  keyframes.Find(*opened, streamIndex, *packet);
  format = std::move(opened);
  decoder = std::move(context);
  return kNoErr;
}

OSErr FFmpegVideoRenderer::Seek(std::int64_t stamp) {
  if (!keyframes.SeekAtOrBefore(*format, streamIndex, stamp)) return kInvalidMovieErr;
  ++seeks;
  avcodec_flush_buffers(decoder.get());
  cache.BreakRun();
  running = true;
  inputEnded = false;
  waitingForKeyframe = true;
  runStamp = AV_NOPTS_VALUE;
  runStart = AV_NOPTS_VALUE;
  lastOutput = AV_NOPTS_VALUE;
  counting = false;
  counted = 0;
  return kNoErr;
}

OSErr FFmpegVideoRenderer::Receive(bool& ended) {
  ended = false;
  while (true) {
    const int result = avcodec_receive_frame(decoder.get(), decoded.get());
    if (result == 0) {
      ++decodedFrames;
      return kNoErr;
    }
    if (result != AVERROR(EAGAIN) || inputEnded) {
      ended = true;
      return kNoErr;
    }
    if (ReadFrame(format.get(), packet.get()) < 0) {
      inputEnded = true;
      avcodec_send_packet(decoder.get(), nullptr);
      continue;
    }
    PacketReference unref(packet.get());
    if (packet->stream_index != streamIndex) continue;
    if (waitingForKeyframe) {
      // A run never starts from a packet that needs earlier ones.
      if ((packet->flags & AV_PKT_FLAG_KEY) == 0) continue;
      waitingForKeyframe = false;
      runStamp = keyframes.Scanned() || packet->dts == AV_NOPTS_VALUE ? packet->pts : packet->dts;
      if (runStamp == AV_NOPTS_VALUE) runStamp = packet->dts;
      runStart = packet->pts;
      keepWholeRun = runStamp == previousRunStamp;
      previousRunStamp = runStamp;
      counting = packet->pts == AV_NOPTS_VALUE && packet->dts != AV_NOPTS_VALUE;
      countStep =
          packet->duration > 0 ? packet->duration : std::max<std::int64_t>(frameDuration, 1);
    }
    avcodec_send_packet(decoder.get(), packet.get());  // a damaged packet is skipped
  }
}

OSErr FFmpegVideoRenderer::DecodeForward(std::int64_t wanted, Outcome& outcome) {
  bool found = false;
  while (true) {
    bool ended = false;
    if (const OSErr error = Receive(ended); error != kNoErr) return error;
    if (ended) {
      running = false;
      cache.EndRun();
      outcome = found ? Outcome::kFound : Outcome::kNothing;
      return kNoErr;
    }
    const std::int64_t timestamp =
        counting ? runStamp + countStep * counted++ : TimestampOf(*decoded);
    // Pictures before the run's keyframe were decoded without what they refer to.
    if (timestamp == AV_NOPTS_VALUE || (runStart != AV_NOPTS_VALUE && timestamp < runStart) ||
        (lastOutput != AV_NOPTS_VALUE && timestamp <= lastOutput)) {
      av_frame_unref(decoded.get());
      continue;
    }
    const bool first = lastOutput == AV_NOPTS_VALUE;
    lastOutput = timestamp;
    if (keepWholeRun || timestamp >= keepFrom) cache.Add(*decoded, timestamp);
    if (timestamp <= wanted) {
      av_frame_unref(shown.get());
      av_frame_move_ref(shown.get(), decoded.get());
      shownAt = timestamp;
      found = true;
      // A frame that starts exactly then is the one on screen: no two frames start together.
      if (timestamp == wanted) {
        outcome = Outcome::kFound;
        return kNoErr;
      }
      continue;
    }
    if (!found && first) {
      av_frame_unref(shown.get());
      av_frame_move_ref(shown.get(), decoded.get());
      shownAt = timestamp;
      outcome = Outcome::kAllLater;
      return kNoErr;
    }
    av_frame_unref(decoded.get());
    // A frame found in an earlier call of this run is still in `shown` only if this call found
    // it; otherwise the one before this frame is in the cache.
    outcome = found ? Outcome::kFound : Outcome::kNothing;
    return kNoErr;
  }
}

bool FFmpegVideoRenderer::DecodeOnReaches(std::int64_t wanted) const {
  if (!running || lastOutput == AV_NOPTS_VALUE || wanted < lastOutput) return false;
  if (frameDuration > 0 && wanted - lastOutput <= kDecodeOnFrames * frameDuration) return true;
  // Beyond that only while no keyframe lies between: a seek could not start any later.
  const auto& stamps = keyframes.Timestamps();
  const auto next = std::upper_bound(stamps.begin(), stamps.end(), lastOutput);
  return next == stamps.end() || *next > wanted;
}

OSErr FFmpegVideoRenderer::Locate(std::int64_t wanted) {
  if (DecodeOnReaches(wanted)) {
    Outcome outcome = Outcome::kNothing;
    if (const OSErr error = DecodeForward(wanted, outcome); error != kNoErr) return error;
    if (outcome == Outcome::kFound) return kNoErr;
    // The frame on screen is the one the run had already put out before `wanted`.
    if (const AVFrame* kept = cache.Find(wanted, shownAt); kept != nullptr) {
      av_frame_unref(shown.get());
      return av_frame_ref(shown.get(), kept) < 0 ? kMemFullErr : kNoErr;
    }
  }
  keepFrom = frameDuration > 0 ? wanted - kKeptBeforeWanted * frameDuration
                               : std::numeric_limits<std::int64_t>::min();
  std::int64_t stamp = wanted;
  std::int64_t previousStamp = std::numeric_limits<std::int64_t>::max();
  bool haveLater = false;  // `shown` holds the earliest frame found, which starts after `wanted`
  int fruitless = 0;
  for (int step = 0; step <= kMostStepsBack && fruitless < kMostFruitlessRuns; ++step) {
    if (const OSErr error = Seek(stamp); error != kNoErr) {
      if (step == 0) return error;
      break;  // nothing further back to seek to
    }
    Outcome outcome = Outcome::kNothing;
    if (const OSErr error = DecodeForward(wanted, outcome); error != kNoErr) return error;
    if (outcome == Outcome::kFound) return kNoErr;
    if (outcome == Outcome::kAllLater) haveLater = true;
    if (outcome == Outcome::kNothing) ++fruitless;
    // This keyframe starts after `wanted`, or nothing came from it: one further back, unless
    // the seek found no earlier one than before.
    if (runStamp == AV_NOPTS_VALUE || runStamp >= previousStamp) break;
    previousStamp = runStamp;
    stamp = runStamp - 1;
  }
  // Before the first frame that decodes: that frame is the one on screen.
  return haveLater ? kNoErr : kInvalidMovieErr;
}

OSErr FFmpegVideoRenderer::FindOrigin() {
  if (origin != AV_NOPTS_VALUE) return kNoErr;
  const auto& stamps = keyframes.Timestamps();
  if (const OSErr error = Seek(stamps.empty() ? 0 : stamps.front()); error != kNoErr) return error;
  Outcome outcome = Outcome::kNothing;
  const std::int64_t beforeAll = std::numeric_limits<std::int64_t>::min();
  keepFrom = beforeAll;
  if (const OSErr error = DecodeForward(beforeAll, outcome); error != kNoErr) return error;
  if (outcome != Outcome::kAllLater) return kInvalidMovieErr;  // no frame decodes at all
  origin = shownAt;
  return kNoErr;
}

OSErr FFmpegVideoRenderer::Render(std::int64_t time, bool highQuality, Offscreen& target) {
  if (target.width <= 0 || target.height <= 0) return kParamErr;
  if (const OSErr error = Open(); error != kNoErr) return error;
  if (const OSErr error = FindOrigin(); error != kNoErr) return error;
  const std::int64_t wanted = origin + time;
  std::int64_t timestamp = AV_NOPTS_VALUE;
  const AVFrame* frame = cache.Find(wanted, timestamp);
  if (frame == nullptr) {
    if (const OSErr error = Locate(wanted); error != kNoErr) return error;
    frame = shown.get();
    timestamp = shownAt;
  }
  if (timestamp == drawnTimestamp && drawnWidth == target.width && drawnHeight == target.height &&
      drawnHighQuality == highQuality) {
    return kNoErr;  // already drawn there
  }
  if (const OSErr error = scaler.Scale(*frame, highQuality, orientation, target); error != kNoErr) {
    return error;
  }
  drawnTimestamp = timestamp;
  drawnWidth = target.width;
  drawnHeight = target.height;
  drawnHighQuality = highQuality;
  return kNoErr;
}

}  // namespace kiva::qt::media::ffmpeg
