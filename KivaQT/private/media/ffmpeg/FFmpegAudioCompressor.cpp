#include "FFmpegAudioCompressor.h"

#include "FFmpegExporter.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cstring>

namespace kiva::qt::media::ffmpeg {

namespace {

constexpr OSErr kParamErr = -50;
constexpr OSErr kBadFormatErr = -2049;

// The host's PCM as FFmpeg sees it; 24-bit samples are widened to 32 bits first.
AVSampleFormat InputSampleFormat(std::uint32_t bits) {
  switch (bits) {
    case 8:
      return AV_SAMPLE_FMT_U8;
    case 16:
      return AV_SAMPLE_FMT_S16;
    case 24:
      return AV_SAMPLE_FMT_S32;
    case 32:
      return AV_SAMPLE_FMT_FLT;
    default:
      return AV_SAMPLE_FMT_NONE;
  }
}

}  // namespace

FFmpegAudioCompressor::~FFmpegAudioCompressor() = default;

OSErr FFmpegAudioCompressor::SetInputFormat(const AudioStreamBasicDescription& format) {
  if (InputSampleFormat(format.mBitsPerChannel) == AV_SAMPLE_FMT_NONE ||
      format.mChannelsPerFrame == 0 || format.mSampleRate <= 0) {
    return kParamErr;
  }
  input = format;
  return kNoErr;
}

OSErr FFmpegAudioCompressor::SetOutputFormat(const AudioStreamBasicDescription& format) {
  if (EncoderNameFor(format.mFormatID) == nullptr) return kBadFormatErr;
  output = format;
  encoder.reset();
  return kNoErr;
}

OSErr FFmpegAudioCompressor::OpenEncoder() {
  if (encoder) return kNoErr;
  const AVCodec* codec = avcodec_find_encoder_by_name(EncoderNameFor(output.mFormatID));
  if (codec == nullptr || input.mChannelsPerFrame == 0) return kBadFormatErr;
  CodecContextPtr opened(avcodec_alloc_context3(codec));
  if (!opened) return kMemFullErr;
  opened->sample_rate = static_cast<int>(input.mSampleRate);
  opened->time_base = AVRational{1, opened->sample_rate};
  opened->sample_fmt = codec->sample_fmts != nullptr ? codec->sample_fmts[0] : AV_SAMPLE_FMT_S16;
  av_channel_layout_default(&opened->ch_layout, static_cast<int>(input.mChannelsPerFrame));
  // Movies keep the decoder's setup apart from the packets.
  opened->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (avcodec_open2(opened.get(), codec, nullptr) < 0) return kBadFormatErr;
  // Coders without a frame size of their own (A-law, mu-law) take blocks of any size.
  frameSize = opened->frame_size > 0 ? opened->frame_size : 1024;
  SwrContext* raw = nullptr;
  if (swr_alloc_set_opts2(&raw, &opened->ch_layout, opened->sample_fmt, opened->sample_rate,
                          &opened->ch_layout, InputSampleFormat(input.mBitsPerChannel),
                          opened->sample_rate, 0, nullptr) < 0) {
    return kMemFullErr;
  }
  converter.reset(raw);
  if (swr_init(converter.get()) < 0) return kBadFormatErr;
  fifo.reset(av_audio_fifo_alloc(opened->sample_fmt, opened->ch_layout.nb_channels, frameSize));
  if (!fifo || !packet || !frame) return kMemFullErr;
  encoder = std::move(opened);
  return kNoErr;
}

OSErr FFmpegAudioCompressor::GetOutputFormat(AudioStreamBasicDescription& format) {
  if (const OSErr error = OpenEncoder(); error != kNoErr) return error;
  format = output;
  format.mSampleRate = encoder->sample_rate;
  format.mChannelsPerFrame = static_cast<std::uint32_t>(encoder->ch_layout.nb_channels);
  format.mFramesPerPacket = static_cast<std::uint32_t>(frameSize);
  format.mBytesPerPacket = 0;  // packets vary in size
  format.mBytesPerFrame = 0;
  format.mBitsPerChannel = 0;
  return kNoErr;
}

OSErr FFmpegAudioCompressor::GetUsesPacketDescriptions(bool& uses) {
  uses = true;
  return kNoErr;
}

OSErr FFmpegAudioCompressor::GetMaximumOutputPacketSize(std::uint32_t& bytes) {
  if (const OSErr error = OpenEncoder(); error != kNoErr) return error;
  // Never more than the uncompressed samples, with room for headers.
  bytes = static_cast<std::uint32_t>(frameSize) * input.mChannelsPerFrame * 4 + 1024;
  return kNoErr;
}

OSErr FFmpegAudioCompressor::GetMagicCookie(std::vector<std::uint8_t>& cookie) {
  if (const OSErr error = OpenEncoder(); error != kNoErr) return error;
  cookie.assign(encoder->extradata, encoder->extradata + encoder->extradata_size);
  return kNoErr;
}

std::int64_t FFmpegAudioCompressor::GetPrimingFrames() {
  return OpenEncoder() == kNoErr ? encoder->initial_padding : 0;
}

OSErr FFmpegAudioCompressor::Queue(const void* data, std::uint32_t frames) {
  const void* samples = data;
  if (input.mBitsPerChannel == 24) {
    // Packed 3-byte samples, little-endian, to 32-bit with the same scale.
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    widened.resize(static_cast<std::size_t>(frames) * input.mChannelsPerFrame);
    for (std::size_t i = 0; i < widened.size(); ++i) {
      widened[i] = static_cast<std::int32_t>(static_cast<std::uint32_t>(bytes[3 * i]) << 8 |
                                             static_cast<std::uint32_t>(bytes[3 * i + 1]) << 16 |
                                             static_cast<std::uint32_t>(bytes[3 * i + 2]) << 24);
    }
    samples = widened.data();
  }
  std::vector<std::uint8_t*> planes(static_cast<std::size_t>(encoder->ch_layout.nb_channels));
  if (av_samples_alloc(planes.data(), nullptr, encoder->ch_layout.nb_channels,
                       static_cast<int>(frames), encoder->sample_fmt, 0) < 0) {
    return kMemFullErr;
  }
  const std::uint8_t* in[] = {static_cast<const std::uint8_t*>(samples)};
  const int converted = swr_convert(converter.get(), planes.data(), static_cast<int>(frames), in,
                                    static_cast<int>(frames));
  const int written =
      converted > 0
          ? av_audio_fifo_write(fifo.get(), reinterpret_cast<void**>(planes.data()), converted)
          : converted;
  av_freep(&planes[0]);
  if (written < 0) return kMemFullErr;
  framesIn += frames;
  return kNoErr;
}

OSErr FFmpegAudioCompressor::SendFrame(int frames) {
  av_frame_unref(frame.get());
  frame->nb_samples = frames;
  frame->format = encoder->sample_fmt;
  frame->sample_rate = encoder->sample_rate;
  if (av_channel_layout_copy(&frame->ch_layout, &encoder->ch_layout) < 0 ||
      av_frame_get_buffer(frame.get(), 0) < 0) {
    return kMemFullErr;
  }
  const int available = std::min(frames, av_audio_fifo_size(fifo.get()));
  if (av_audio_fifo_read(fifo.get(), reinterpret_cast<void**>(frame->data), available) < 0) {
    return kMemFullErr;
  }
  if (available < frames) {
    // Coders that take no short last frame get it padded with silence.
    av_samples_set_silence(frame->data, available, frames - available,
                           encoder->ch_layout.nb_channels, encoder->sample_fmt);
  }
  frame->pts = framesSent;
  framesSent += available;
  return avcodec_send_frame(encoder.get(), frame.get()) < 0 ? kBadFormatErr : kNoErr;
}

OSErr FFmpegAudioCompressor::FillBuffer(const AudioInputProc& pull, std::uint32_t& packets,
                                        std::uint8_t* buffer, std::uint32_t capacity,
                                        std::uint32_t& bytes,
                                        AudioStreamPacketDescription* descriptions) {
  const std::uint32_t wanted = packets;
  packets = 0;
  bytes = 0;
  if (const OSErr error = OpenEncoder(); error != kNoErr) return error;
  const std::int64_t priming = encoder->initial_padding;
  while (packets < wanted) {
    if (!tail.empty()) {
      const TailPacket& next = tail.front();
      if (bytes + static_cast<std::uint32_t>(next.packet->size) > capacity) break;  // next time
      std::memcpy(buffer + bytes, next.packet->data, static_cast<std::size_t>(next.packet->size));
      if (descriptions != nullptr) {
        descriptions[packets] =
            AudioStreamPacketDescription{bytes, static_cast<std::uint32_t>(next.duration),
                                         static_cast<std::uint32_t>(next.packet->size)};
      }
      bytes += static_cast<std::uint32_t>(next.packet->size);
      ++packets;
      tail.pop_front();
      continue;
    }
    if (drained) break;  // all given out
    if (!packetHeld) {
      const int result = avcodec_receive_packet(encoder.get(), packet.get());
      if (result == 0) {
        packetHeld = true;
      } else if (result == AVERROR_EOF) {
        break;
      } else if (result != AVERROR(EAGAIN)) {
        return kBadFormatErr;
      }
    }
    if (packetHeld) {
      if (bytes + static_cast<std::uint32_t>(packet->size) > capacity) break;  // next time
      std::memcpy(buffer + bytes, packet->data, static_cast<std::size_t>(packet->size));
      std::int64_t duration = packet->duration > 0 ? packet->duration : frameSize;
      if (inputEnded) {
        // The last packets end where the input ended, not where the coder's padding does.
        const std::int64_t start = packet->pts + priming;
        duration = std::clamp<std::int64_t>(priming + framesIn - start, 1, duration);
      }
      if (descriptions != nullptr) {
        descriptions[packets] = AudioStreamPacketDescription{
            bytes, static_cast<std::uint32_t>(duration), static_cast<std::uint32_t>(packet->size)};
      }
      bytes += static_cast<std::uint32_t>(packet->size);
      ++packets;
      av_packet_unref(packet.get());
      packetHeld = false;
      continue;
    }
    // The coder wants input.
    if (av_audio_fifo_size(fifo.get()) >= frameSize) {
      if (const OSErr error = SendFrame(frameSize); error != kNoErr) return error;
      continue;
    }
    std::uint32_t frames = static_cast<std::uint32_t>(frameSize - av_audio_fifo_size(fifo.get()));
    const void* data = nullptr;
    if (const OSErr error = pull(frames, data); error != kNoErr) return error;
    if (frames > 0 && data != nullptr) {
      if (const OSErr error = Queue(data, frames); error != kNoErr) return error;
      continue;
    }
    if (!inputEnded) break;  // nothing more for now
    // The input has ended: the rest goes out, then the coder gives back what it holds.
    const int left = av_audio_fifo_size(fifo.get());
    if (left > 0) {
      const bool shortLast =
          (encoder->codec->capabilities &
           (AV_CODEC_CAP_SMALL_LAST_FRAME | AV_CODEC_CAP_VARIABLE_FRAME_SIZE)) != 0;
      // FFmpeg's ALAC coder overruns its packet on a frame of a single sample in more than two
      // channels (an assertion aborts the process): such a frame gets a second, silent sample,
      // which its packet's duration leaves out.
      const bool singleSampleOverruns =
          encoder->codec_id == AV_CODEC_ID_ALAC && encoder->ch_layout.nb_channels > 2;
      const int last = shortLast ? std::max(left, singleSampleOverruns ? 2 : 1) : frameSize;
      if (const OSErr error = SendFrame(last); error != kNoErr) return error;
    }
    avcodec_send_frame(encoder.get(), nullptr);
    drained = true;
    if (const OSErr error = ReceiveTail(priming); error != kNoErr) return error;
  }
  return kNoErr;
}

OSErr FFmpegAudioCompressor::ReceiveTail(std::int64_t priming) {
  for (;;) {
    PacketPtr next(av_packet_alloc());
    if (!next) return kMemFullErr;
    const int result = avcodec_receive_packet(encoder.get(), next.get());
    if (result == AVERROR_EOF) break;
    if (result < 0) return kBadFormatErr;
    const std::int64_t duration = next->duration > 0 ? next->duration : frameSize;
    const std::int64_t start = next->pts + priming;
    tail.push_back(TailPacket{std::move(next),
                              std::clamp<std::int64_t>(priming + framesIn - start, 0, duration)});
  }
  // A coder's last packet can hold none of the input (an MP3 frame whose bits the frame before
  // borrowed). It must stay, and a packet of no duration would count as a whole frame: it gets
  // one frame of a packet before it in the tail, so that the packets still end exactly with the
  // input. Where none can spare one (a tail of such packets alone), it keeps one frame too many.
  for (auto packet = tail.rbegin(); packet != tail.rend(); ++packet) {
    if (packet->duration > 0) continue;
    const auto lender = std::find_if(std::next(packet), tail.rend(), [](const TailPacket& earlier) {
      return earlier.duration > 1;
    });
    if (lender != tail.rend()) --lender->duration;
    packet->duration = 1;
  }
  return kNoErr;
}

}  // namespace kiva::qt::media::ffmpeg
