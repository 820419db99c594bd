// A scriptable audio compressor: packs every `framesPerPacket` input frames into a 4-byte packet
// (the frame count), and records what it was told.
#pragma once

#include "media/AudioCompressor.h"

#include <vector>

namespace kiva::test {

struct CompressorRecord {
  qt::media::AudioStreamBasicDescription input;
  qt::media::AudioStreamBasicDescription output;
  std::uint32_t layoutTag = 0xFFFFFFFF;
  std::vector<std::uint32_t> pulls;  // frames asked of the input callback
  std::int64_t framesIn = 0;
  bool ended = false;
};

struct CompressorScript {
  std::uint32_t framesPerPacket = 1024;
  qt::media::OSErr fillError = 0;
};

class FakeAudioCompressor final : public qt::media::AudioCompressor {
 public:
  FakeAudioCompressor(CompressorRecord& record, const CompressorScript& script)
      : record(record), script(script) {}
  qt::media::OSErr SetInputFormat(const qt::media::AudioStreamBasicDescription& format) override {
    record.input = format;
    return 0;
  }
  qt::media::OSErr SetOutputFormat(const qt::media::AudioStreamBasicDescription& format) override {
    record.output = format;
    return 0;
  }
  qt::media::OSErr GetOutputFormat(qt::media::AudioStreamBasicDescription& format) override {
    format = record.output;
    format.mFramesPerPacket = script.framesPerPacket;
    return 0;
  }
  qt::media::OSErr GetUsesPacketDescriptions(bool& uses) override {
    uses = true;
    return 0;
  }
  qt::media::OSErr GetMaximumOutputPacketSize(std::uint32_t& bytes) override {
    bytes = 4;
    return 0;
  }
  qt::media::OSErr SetChannelLayoutTag(std::uint32_t tag) override {
    record.layoutTag = tag;
    return 0;
  }
  qt::media::OSErr GetMagicCookie(std::vector<std::uint8_t>& cookie) override {
    cookie = {1, 2, 3};
    return 0;
  }
  std::int64_t GetPrimingFrames() override { return 0; }
  qt::media::OSErr SetSoundFormat(const qt::media::SoundFormat&) override { return 0; }
  qt::media::OSErr FillBuffer(const qt::media::AudioInputProc& input, std::uint32_t& packets,
                              std::uint8_t* buffer, std::uint32_t capacity, std::uint32_t& bytes,
                              qt::media::AudioStreamPacketDescription* descriptions) override;
  void EndOfInput() override { record.ended = true; }

 private:
  CompressorRecord& record;
  CompressorScript script;
  std::uint32_t pending = 0;  // frames taken in but not yet packed
};

}  // namespace kiva::test
