// One standard audio compressor instance feeding a movie's sound media: PCM blocks wait in a
// queue, the compressor pulls them through its input callback, and the packets it puts out
// are appended to the media as they come.
#pragma once

#include "media/AudioCompressor.h"
#include "media/Component.h"
#include "media/MovieStorage.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace kiva::qt {

struct SourceAudioBufferStruct {
  std::vector<std::uint8_t> bytes;  // interleaved PCM, whole frames
  std::uint32_t frames = 0;         // frames the bytes still hold
};

class QuickTimeAudioCompress {
 public:
  QuickTimeAudioCompress() = default;
  QuickTimeAudioCompress(const QuickTimeAudioCompress&) = delete;
  QuickTimeAudioCompress& operator=(const QuickTimeAudioCompress&) = delete;

  bool Initialize(const media::ComponentDescription& entry,
                  const std::vector<std::uint8_t>& settings, std::uint32_t& channels,
                  int bytesPerSample, std::uint32_t& sampleRate);
  bool BeginCompression() { return true; }
  // The compressed output's description; shared, so that it is released exactly once.
  void GetSoundDescriptionHandle(std::shared_ptr<media::SoundFormat>& handle) const {
    handle = soundDescription;
  }
  bool AddBuffer(const void* const* buffers, const std::uint32_t& byteCount, std::uint32_t frames);
  std::uint32_t GetNumberPacketsToPull() const;
  bool ProcessOutput(media::MovieStorage& media, std::uint32_t& packetsWanted,
                     std::uint32_t& packetsOut, std::int64_t& durationOut);
  bool ProcessOutput(media::MovieStorage& media);
  bool EndCompression(media::MovieStorage& media);

  // The input callback's work: hands the compressor up to `packets` frames from the queue.
  media::OSErr SupplyInput(std::uint32_t& packets, const void*& data);

  std::size_t QueuedBlocks() const { return inputQueue.size(); }
  const std::deque<SourceAudioBufferStruct>& InputQueue() const { return inputQueue; }

 private:
  std::uint32_t formatID = 0;
  std::vector<std::uint8_t> settings;
  std::uint32_t channels = 0;
  std::uint32_t bytesPerSample = 0;
  std::uint32_t bytesPerInputFrame = 0;
  std::uint32_t sampleRate = 0;
  bool endOfInput = false;
  std::unique_ptr<media::AudioCompressor> component;
  std::shared_ptr<media::SoundFormat> soundDescription;
  bool usesPacketDescriptions = false;
  std::uint32_t framesPerOutputPacket = 0;
  std::uint32_t maximumOutputPacketSize = 0;
  std::deque<SourceAudioBufferStruct> inputQueue;
  std::deque<SourceAudioBufferStruct> handedOutQueue;
};

}  // namespace kiva::qt
