// The standard audio compressor over an FFmpeg encoder. Input arrives as interleaved PCM of
// the host's sample types (8-bit unsigned, 16- and 24-bit signed, 32-bit float), is converted
// to what the encoder takes, re-blocked into the encoder's frame size and encoded; packets carry
// their durations, the last ones cut to the real end so that the file has exactly the frames
// written.
#pragma once

#include "FFmpegPtr.h"

#include "../AudioCompressor.h"

extern "C" {
#include <libavutil/audio_fifo.h>
}

#include <deque>
#include <memory>

namespace kiva::qt::media::ffmpeg {

class FFmpegAudioCompressor final : public AudioCompressor {
 public:
  ~FFmpegAudioCompressor() override;
  OSErr SetInputFormat(const AudioStreamBasicDescription& format) override;
  OSErr SetOutputFormat(const AudioStreamBasicDescription& format) override;
  OSErr GetOutputFormat(AudioStreamBasicDescription& format) override;
  OSErr GetUsesPacketDescriptions(bool& uses) override;
  OSErr GetMaximumOutputPacketSize(std::uint32_t& bytes) override;
  OSErr SetChannelLayoutTag(std::uint32_t) override { return kNoErr; }
  OSErr GetMagicCookie(std::vector<std::uint8_t>& cookie) override;
  std::int64_t GetPrimingFrames() override;
  OSErr SetSoundFormat(const SoundFormat&) override { return kNoErr; }
  OSErr FillBuffer(const AudioInputProc& input, std::uint32_t& packets, std::uint8_t* buffer,
                   std::uint32_t capacity, std::uint32_t& bytes,
                   AudioStreamPacketDescription* descriptions) override;
  void EndOfInput() override { inputEnded = true; }

 private:
  OSErr OpenEncoder();
  OSErr Queue(const void* data, std::uint32_t frames);
  OSErr SendFrame(int frames);
  // Receives every packet left after the coder was flushed and settles their durations.
  OSErr ReceiveTail(std::int64_t priming);

  struct TailPacket {
    PacketPtr packet;
    std::int64_t duration;
  };

  AudioStreamBasicDescription input;
  AudioStreamBasicDescription output;
  CodecContextPtr encoder;
  SwrContextPtr converter;
  std::unique_ptr<AVAudioFifo, void (*)(AVAudioFifo*)> fifo{nullptr, av_audio_fifo_free};
  PacketPtr packet{av_packet_alloc()};
  FramePtr frame{av_frame_alloc()};
  bool packetHeld = false;  // `packet` did not fit the last buffer
  int frameSize = 0;
  std::int64_t framesIn = 0;
  std::int64_t framesSent = 0;
  bool inputEnded = false;
  bool drained = false;
  std::deque<TailPacket> tail;        // received after the flush, not yet given out
  std::vector<std::int32_t> widened;  // 24-bit input as 32-bit samples
};

}  // namespace kiva::qt::media::ffmpeg
