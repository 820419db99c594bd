#include "FakeAudioCompressor.h"

#include <cstring>

namespace kiva::test {

qt::media::OSErr FakeAudioCompressor::FillBuffer(
    const qt::media::AudioInputProc& input, std::uint32_t& packets, std::uint8_t* buffer,
    std::uint32_t capacity, std::uint32_t& bytes,
    qt::media::AudioStreamPacketDescription* descriptions) {
  if (script.fillError != 0) return script.fillError;
  const std::uint32_t wanted = packets;
  packets = 0;
  bytes = 0;
  while (packets < wanted && bytes + 4 <= capacity) {
    if (pending < script.framesPerPacket) {
      std::uint32_t frames = script.framesPerPacket - pending;
      const void* data = nullptr;
      record.pulls.push_back(frames);
      if (input(frames, data) != 0) return -1;
      if (frames > 0) {
        pending += frames;
        record.framesIn += frames;
        continue;
      }
      if (!record.ended || pending == 0) break;
    }
    const std::uint32_t packed = std::min(pending, script.framesPerPacket);
    std::memcpy(buffer + bytes, &packed, 4);
    if (descriptions != nullptr) descriptions[packets] = {bytes, packed, 4};
    bytes += 4;
    pending -= packed;
    ++packets;
  }
  return 0;
}

}  // namespace kiva::test
