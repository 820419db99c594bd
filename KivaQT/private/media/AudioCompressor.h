// The standard audio compressor: PCM in, packets of a compressed format out, pulled. The
// compressor asks its input callback for frames whenever it needs more, inside FillBuffer.
#pragma once

#include "MediaStatus.h"
#include "MovieStorage.h"
#include "SoundDescription.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace kiva::qt::media {

struct AudioStreamPacketDescription {
  std::int64_t mStartOffset = 0;
  std::uint32_t mVariableFramesInPacket = 0;
  std::uint32_t mDataByteSize = 0;
};

// Asked for `frames` frames of input: sets `frames` to what it gives (0: nothing for now) and
// `data` to the interleaved bytes, which stay valid until FillBuffer returns.
using AudioInputProc = std::function<OSErr(std::uint32_t& frames, const void*& data)>;

class AudioCompressor {
 public:
  virtual ~AudioCompressor() = default;
  virtual OSErr SetInputFormat(const AudioStreamBasicDescription& format) = 0;
  virtual OSErr SetOutputFormat(const AudioStreamBasicDescription& format) = 0;
  // The output format as the compressor completed it (frames per packet, bytes per packet).
  virtual OSErr GetOutputFormat(AudioStreamBasicDescription& format) = 0;
  virtual OSErr GetUsesPacketDescriptions(bool& uses) = 0;
  virtual OSErr GetMaximumOutputPacketSize(std::uint32_t& bytes) = 0;
  virtual OSErr SetChannelLayoutTag(std::uint32_t tag) = 0;
  // The decoder's setup data for the output (empty when the format needs none).
  virtual OSErr GetMagicCookie(std::vector<std::uint8_t>& cookie) = 0;
  // Frames of priming the output starts with (to be skipped by readers).
  virtual std::int64_t GetPrimingFrames() = 0;
  virtual OSErr SetSoundFormat(const SoundFormat& format) = 0;
  // Fills `buffer` (`capacity` bytes) with up to `packets` packets, pulling input through
  // `input`; sets `packets` to the packets produced and `bytes` to the bytes used; describes
  // each packet in `descriptions` when given.
  virtual OSErr FillBuffer(const AudioInputProc& input, std::uint32_t& packets,
                           std::uint8_t* buffer, std::uint32_t capacity, std::uint32_t& bytes,
                           AudioStreamPacketDescription* descriptions) = 0;
  // No more input will come: the next fills flush what the compressor holds.
  virtual void EndOfInput() = 0;
};

}  // namespace kiva::qt::media
