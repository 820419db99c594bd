#include "FFmpegVideoRenderer.h"

#include "AudioStreamFacts.h"
#include "FFmpegErrors.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>

namespace kiva::qt::media::ffmpeg {

namespace {

constexpr OSErr kParamErr = -50;
// Frames ahead of the current one that are decoded on rather than sought to.
constexpr std::size_t kDecodeOnLimit = 48;

int ColorspaceOf(const AVFrame& frame) {
  switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
      return SWS_CS_ITU709;
    case AVCOL_SPC_FCC:
      return SWS_CS_FCC;
    case AVCOL_SPC_SMPTE240M:
      return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
      return SWS_CS_BT2020;
    default:
      return SWS_CS_DEFAULT;
  }
}

}  // namespace

FFmpegVideoRenderer::FFmpegVideoRenderer(std::string path, const AVInputFormat* demuxer,
                                         int streamIndex, AVRational timeBase)
    : path(std::move(path)),
      demuxer(demuxer),
      streamIndex(streamIndex),
      timeBase(timeBase),
      packet(av_packet_alloc()),
      decoded(av_frame_alloc()),
      current(av_frame_alloc()),
      lookahead(av_frame_alloc()) {}

OSErr FFmpegVideoRenderer::Open() {
  // Opened whole or not at all: a later request must not find a demuxer without its decoder.
  if (decoder) return kNoErr;
  AVFormatContext* raw = nullptr;
  if (const int result = avformat_open_input(&raw, path.c_str(), demuxer, nullptr); result < 0) {
    return ToOSErr(result);
  }
  FormatContextPtr opened(raw);
  if (avformat_find_stream_info(opened.get(), nullptr) < 0 ||
      streamIndex >= static_cast<int>(opened->nb_streams)) {
    return kInvalidMovieErr;
  }
  KeepOnlyStream(opened.get(), streamIndex);
  const AVStream* stream = opened->streams[streamIndex];
  const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
  if (codec == nullptr || !packet || !decoded || !current || !lookahead) return kInvalidMovieErr;
  CodecContextPtr context(avcodec_alloc_context3(codec));
  if (!context || avcodec_parameters_to_context(context.get(), stream->codecpar) < 0) {
    return kInvalidMovieErr;
  }
  context->pkt_timebase = stream->time_base;
  context->thread_count = 0;  // as many as the machine has
  context->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
  if (avcodec_open2(context.get(), codec, nullptr) < 0) return kInvalidMovieErr;
  format = std::move(opened);
  decoder = std::move(context);
  return kNoErr;
}

OSErr FFmpegVideoRenderer::ScanFrames() {
  // A stream whose index promises frames that no packet delivers has nothing to show, on the
  // first request and on every later one.
  if (scanned) return times.empty() ? kInvalidMovieErr : kNoErr;
  if (const OSErr error = Open(); error != kNoErr) return error;
  std::vector<std::pair<std::int64_t, std::int64_t>> frames;  // timestamp, duration
  while (av_read_frame(format.get(), packet.get()) >= 0) {
    PacketReference unref(packet.get());
    if (packet->stream_index != streamIndex) continue;
    // Frames an edit list cuts away are decoded (others depend on them) but never shown.
    if (packet->flags & AV_PKT_FLAG_DISCARD) continue;
    const std::int64_t timestamp = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
    if (timestamp == AV_NOPTS_VALUE) continue;
    frames.emplace_back(timestamp, packet->duration);
    if (packet->flags & AV_PKT_FLAG_KEY) keyframes.push_back(timestamp);
  }
  std::sort(frames.begin(), frames.end());
  std::sort(keyframes.begin(), keyframes.end());
  for (std::size_t i = 0; i < frames.size(); ++i) {
    times.push_back(frames[i].first);
    relative.push_back(frames[i].first - frames.front().first);
    const std::int64_t next = i + 1 < frames.size() ? frames[i + 1].first - frames[i].first
                                                    : std::max<std::int64_t>(frames[i].second, 1);
    durations.push_back(next);
  }
  scanned = true;
  positioned = false;
  return times.empty() ? kInvalidMovieErr : Seek(times.front());
}

OSErr FFmpegVideoRenderer::FrameTimes(const std::vector<std::int64_t>*& frameTimes,
                                      const std::vector<std::int64_t>*& frameDurations) {
  if (const OSErr error = ScanFrames(); error != kNoErr) return error;
  frameTimes = &relative;
  frameDurations = &durations;
  return kNoErr;
}

OSErr FFmpegVideoRenderer::Seek(std::int64_t timestamp) {
  if (av_seek_frame(format.get(), streamIndex, timestamp, AVSEEK_FLAG_BACKWARD) < 0) {
    // Some demuxers cannot seek backward to a time before their first keyframe: start over.
    if (av_seek_frame(format.get(), streamIndex, times.empty() ? 0 : times.front(),
                      AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY) < 0) {
      return kInvalidMovieErr;
    }
  }
  avcodec_flush_buffers(decoder.get());
  positioned = false;
  inputEnded = false;
  currentTimestamp = AV_NOPTS_VALUE;
  lookaheadTimestamp = AV_NOPTS_VALUE;
  av_frame_unref(current.get());
  av_frame_unref(lookahead.get());
  return kNoErr;
}

OSErr FFmpegVideoRenderer::ReceiveOne(bool& gotFrame, bool& ended) {
  gotFrame = false;
  ended = false;
  while (true) {
    const int result = avcodec_receive_frame(decoder.get(), decoded.get());
    if (result == 0) {
      ++decodedFrames;
      gotFrame = true;
      return kNoErr;
    }
    if (result == AVERROR_EOF || (result != AVERROR(EAGAIN) && inputEnded)) {
      ended = true;
      return kNoErr;
    }
    if (inputEnded) {
      ended = true;
      return kNoErr;
    }
    const int read = av_read_frame(format.get(), packet.get());
    if (read < 0) {
      inputEnded = true;
      avcodec_send_packet(decoder.get(), nullptr);
      continue;
    }
    PacketReference unref(packet.get());
    if (packet->stream_index != streamIndex) continue;
    avcodec_send_packet(decoder.get(), packet.get());  // a damaged packet is skipped
  }
}

void FFmpegVideoRenderer::Show(AVFrame* frame, std::int64_t timestamp) {
  av_frame_unref(current.get());
  av_frame_move_ref(current.get(), frame);
  currentTimestamp = timestamp;
}

OSErr FFmpegVideoRenderer::DecodeUntil(std::int64_t wanted) {
  if (lookaheadTimestamp != AV_NOPTS_VALUE) {
    if (lookaheadTimestamp > wanted) return kNoErr;  // the frame shown stays
    Show(lookahead.get(), lookaheadTimestamp);
    lookaheadTimestamp = AV_NOPTS_VALUE;
    if (currentTimestamp == wanted) return kNoErr;
  }
  for (int attempt = 0; attempt < 4; ++attempt) {
    while (true) {
      bool gotFrame = false;
      bool ended = false;
      if (const OSErr error = ReceiveOne(gotFrame, ended); error != kNoErr) return error;
      if (ended) {
        positioned = false;
        // The stream ended before the wanted frame: the last one stays shown.
        return currentTimestamp != AV_NOPTS_VALUE ? kNoErr : kInvalidMovieErr;
      }
      const std::int64_t timestamp = decoded->best_effort_timestamp;
      if (timestamp != AV_NOPTS_VALUE && timestamp > wanted) {
        if (currentTimestamp == AV_NOPTS_VALUE) {
          // The seek landed after the wanted frame (leading pictures of an open GOP): go back
          // further, a second more each time.
          av_frame_unref(decoded.get());
          const std::int64_t back = av_rescale_q(attempt + 1, AVRational{1, 1}, timeBase);
          if (const OSErr error = Seek(wanted - back); error != kNoErr) return error;
          break;
        }
        // Keep it: it is the next frame a sequential reader will want.
        av_frame_unref(lookahead.get());
        av_frame_move_ref(lookahead.get(), decoded.get());
        lookaheadTimestamp = timestamp;
        positioned = true;
        return kNoErr;
      }
      Show(decoded.get(), timestamp);
      positioned = true;
      if (timestamp == wanted) return kNoErr;
    }
  }
  return kInvalidMovieErr;
}

OSErr FFmpegVideoRenderer::Scale(const AVFrame& frame, bool highQuality, Offscreen& target) {
  const int flags =
      highQuality ? SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT : SWS_BILINEAR;
  scaler.reset(sws_getCachedContext(
      scaler.release(), frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
      target.width, target.height, AV_PIX_FMT_ARGB, flags, nullptr, nullptr, nullptr));
  if (!scaler) return kInvalidMovieErr;
  // Setting the colour details rebuilds the scaler's conversion tables: only when the scaler
  // or the details change. (A context made anew may sit where the old one was, so the scaler
  // is known by what it was made for, not by its address.)
  const ScalerSetting setting{
      frame.width,   frame.height, frame.format,        target.width,
      target.height, flags,        ColorspaceOf(frame), frame.color_range == AVCOL_RANGE_JPEG};
  if (setting != scalerSetting) {
    int* inverse = nullptr;
    int* table = nullptr;
    int sourceRange = 0;
    int destinationRange = 0;
    int brightness = 0;
    int contrast = 0;
    int saturation = 0;
    sws_getColorspaceDetails(scaler.get(), &inverse, &sourceRange, &table, &destinationRange,
                             &brightness, &contrast, &saturation);
    sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(setting.colorspace),
                             setting.fullRange, table, 1, brightness, contrast, saturation);
    scalerSetting = setting;
  }
  std::uint8_t* planes[4] = {target.pixels.data(), nullptr, nullptr, nullptr};
  int strides[4] = {target.rowBytes, 0, 0, 0};
  if (sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) !=
      target.height) {
    return kInvalidMovieErr;
  }
  return kNoErr;
}

OSErr FFmpegVideoRenderer::Render(std::int64_t time, bool highQuality, Offscreen& target) {
  if (target.width <= 0 || target.height <= 0) return kParamErr;
  if (const OSErr error = ScanFrames(); error != kNoErr) return error;
  // The frame on screen at `time`: the last one starting at or before it.
  const auto after = std::upper_bound(relative.begin(), relative.end(), time);
  const std::size_t frame =
      after == relative.begin() ? 0 : static_cast<std::size_t>(after - relative.begin()) - 1;
  const std::int64_t wanted = times[frame];

  if (wanted == drawnTimestamp && drawnTarget == &target && drawnWidth == target.width &&
      drawnHeight == target.height && drawnHighQuality == highQuality) {
    return kNoErr;  // already drawn there
  }
  if (wanted != currentTimestamp) {
    // Decode on when the wanted frame is a little ahead with no keyframe in between;
    // otherwise start from the keyframe before it.
    const std::size_t currentFrame = static_cast<std::size_t>(
        std::lower_bound(times.begin(), times.end(), currentTimestamp) - times.begin());
    const auto nextKeyframe =
        std::upper_bound(keyframes.begin(), keyframes.end(), currentTimestamp);
    const bool decodeOn = positioned && currentTimestamp != AV_NOPTS_VALUE &&
                          wanted > currentTimestamp && frame - currentFrame <= kDecodeOnLimit &&
                          (nextKeyframe == keyframes.end() || *nextKeyframe > wanted);
    if (!decodeOn) {
      if (const OSErr error = Seek(wanted); error != kNoErr) return error;
    }
    if (const OSErr error = DecodeUntil(wanted); error != kNoErr) return error;
  }
  if (const OSErr error = Scale(*current, highQuality, target); error != kNoErr) return error;
  drawnTimestamp = wanted;
  drawnTarget = &target;
  drawnWidth = target.width;
  drawnHeight = target.height;
  drawnHighQuality = highQuality;
  return kNoErr;
}

}  // namespace kiva::qt::media::ffmpeg
