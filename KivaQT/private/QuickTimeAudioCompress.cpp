#include "QuickTimeAudioCompress.h"

#include "QTChannelLayout.h"
#include "media/Toolbox.h"

#include <algorithm>
#include <cstring>

namespace kiva::qt {

namespace {

constexpr std::uint32_t kQDesign2 = media::FourCharCode("QDM2");

std::uint32_t LayoutTagFor(std::uint32_t channels) {
  switch (channels) {
    case 1:
      return media::kAudioChannelLayoutTag_Mono;
    case 2:
      return media::kAudioChannelLayoutTag_Stereo;
    case 6:
      return media::kAudioChannelLayoutTag_MPEG_5_1_B;
    default:
      return 0;
  }
}

}  // namespace

bool QuickTimeAudioCompress::Initialize(const media::ComponentDescription& entry,
                                        const std::vector<std::uint8_t>& settingsBytes,
                                        std::uint32_t& channelCount, int sampleBytes,
                                        std::uint32_t& rate) {
  formatID = entry.componentSubType;
  settings = settingsBytes;
  channels = channelCount;
  bytesPerSample = static_cast<std::uint32_t>(sampleBytes);
  sampleRate = rate;
  if (media::DefaultToolbox().OpenAudioCompressor(component) != media::kNoErr || !component) {
    return false;
  }
  media::AudioStreamBasicDescription input;
  input.mSampleRate = sampleRate;
  input.mFormatID = media::kAudioFormatLinearPCM;
  input.mFormatFlags = media::kAudioFormatFlagIsSignedInteger | media::kAudioFormatFlagIsPacked;
  input.mBitsPerChannel = 8 * bytesPerSample;
  bytesPerInputFrame = bytesPerSample * channels;
  input.mBytesPerFrame = input.mBytesPerPacket = bytesPerInputFrame;
  input.mFramesPerPacket = 1;
  input.mChannelsPerFrame = channels;
  if (component->SetInputFormat(input) != media::kNoErr) return false;
  media::AudioStreamBasicDescription output;
  output.mFormatID = formatID;
  output.mSampleRate = sampleRate;
  output.mChannelsPerFrame = channels;
  if (component->SetOutputFormat(output) != media::kNoErr) return false;
  if (component->GetUsesPacketDescriptions(usesPacketDescriptions) != media::kNoErr) return false;
  if (component->GetOutputFormat(output) != media::kNoErr) return false;
  framesPerOutputPacket = output.mFramesPerPacket;
  maximumOutputPacketSize = output.mBytesPerPacket;
  if (maximumOutputPacketSize == 0 &&
      component->GetMaximumOutputPacketSize(maximumOutputPacketSize) != media::kNoErr) {
    return false;
  }
  media::AudioChannelLayout layout;
  layout.mChannelLayoutTag = LayoutTagFor(channels);
  if (component->SetChannelLayoutTag(layout.mChannelLayoutTag) != media::kNoErr) return false;
  if (component->GetOutputFormat(output) != media::kNoErr) return false;
  auto description = std::make_shared<media::SoundFormat>();
  description->description = output;
  description->layout = layout;
  std::vector<std::uint32_t> labels;
  AudioChannelLayoutToChannelLabelVector(&layout, labels);
  for (const auto label : labels) {
    media::AudioChannelDescription channel;
    channel.mChannelLabel = label;
    description->layout.mChannelDescriptions.push_back(channel);
  }
  std::vector<std::uint8_t> cookie;
  if (component->GetMagicCookie(cookie) == media::kNoErr && !cookie.empty()) {
    description->magicCookie = std::move(cookie);
  }
  description->primingFrames = component->GetPrimingFrames();
  soundDescription = description;
  return component->SetSoundFormat(*soundDescription) == media::kNoErr;
}

bool QuickTimeAudioCompress::AddBuffer(const void* const* buffers, const std::uint32_t& byteCount,
                                       std::uint32_t frames) {
  SourceAudioBufferStruct block;
  const auto* bytes = static_cast<const std::uint8_t*>(buffers[0]);
  block.bytes.assign(bytes, bytes + byteCount);
  block.frames = frames;
  inputQueue.push_back(std::move(block));
  return true;
}

std::uint32_t QuickTimeAudioCompress::GetNumberPacketsToPull() const {
  if (formatID == kQDesign2 || framesPerOutputPacket == 0) return 5;
  if (framesPerOutputPacket > 65536) return 1;
  return std::min<std::uint32_t>(65536 / framesPerOutputPacket, 64);
}

media::OSErr QuickTimeAudioCompress::SupplyInput(std::uint32_t& packets, const void*& data) {
  const std::uint32_t asked = packets;
  packets = 0;
  data = nullptr;
  if (inputQueue.empty()) return media::kNoErr;  // nothing more for now
  SourceAudioBufferStruct& front = inputQueue.front();
  SourceAudioBufferStruct block;
  const std::size_t want = static_cast<std::size_t>(asked) * bytesPerInputFrame;
  if (front.bytes.size() <= want) {
    block.bytes = std::move(front.bytes);
  } else {
    block.bytes.assign(front.bytes.begin(),
                       front.bytes.begin() + static_cast<std::ptrdiff_t>(want));
    front.bytes.erase(front.bytes.begin(), front.bytes.begin() + static_cast<std::ptrdiff_t>(want));
  }
  block.frames = bytesPerInputFrame > 0
                     ? static_cast<std::uint32_t>(block.bytes.size() / bytesPerInputFrame)
                     : 0;
  front.frames -= std::min(front.frames, block.frames);
  if (front.bytes.empty()) inputQueue.pop_front();
  handedOutQueue.push_back(std::move(block));
  packets = handedOutQueue.back().frames;
  data = handedOutQueue.back().bytes.data();
  return media::kNoErr;
}

bool QuickTimeAudioCompress::ProcessOutput(media::MovieStorage& media, std::uint32_t& packetsWanted,
                                           std::uint32_t& packetsOut, std::int64_t& durationOut) {
  packetsOut = 0;
  durationOut = 0;
  if (inputQueue.empty() && !endOfInput) return true;
  // Wait for three blocks before compressing, unless the stream has ended.
  if (!endOfInput && inputQueue.size() < 3) return true;
  if (!component) return false;
  std::vector<std::uint8_t> buffer(
      static_cast<std::size_t>(packetsWanted) * maximumOutputPacketSize, 0);
  std::vector<media::AudioStreamPacketDescription> descriptions(
      usesPacketDescriptions ? packetsWanted : 0);
  std::uint32_t packets = packetsWanted;
  std::uint32_t filled = 0;
  const media::OSErr result = component->FillBuffer(
      [this](std::uint32_t& frames, const void*& data) { return SupplyInput(frames, data); },
      packets, buffer.data(), static_cast<std::uint32_t>(buffer.size()), filled,
      usesPacketDescriptions ? descriptions.data() : nullptr);
  packetsOut = packets;
  const auto clearHandedOut = [this] { handedOutQueue.clear(); };
  if (result != media::kNoErr) {
    clearHandedOut();
    return false;
  }
  media::AudioStreamBasicDescription format;
  if (component->GetOutputFormat(format) != media::kNoErr) {
    clearHandedOut();
    return false;
  }
  if (packets == 0) {
    clearHandedOut();
    return true;
  }
  bool ok = true;
  if (usesPacketDescriptions) {
    for (std::uint32_t i = 0; i < packets; ++i) {
      const auto& description = descriptions[i];
      const std::int64_t duration = description.mVariableFramesInPacket != 0
                                        ? description.mVariableFramesInPacket
                                        : format.mFramesPerPacket;
      // Only the last packet's result counts; an earlier failure is passed over.
      ok = media.AddMediaSample(buffer.data() + description.mStartOffset, description.mDataByteSize,
                                duration, *soundDescription, 1) == media::kNoErr;
      durationOut += duration;
    }
  } else {
    const std::int64_t total = static_cast<std::int64_t>(packets) * format.mFramesPerPacket;
    ok = media.AddMediaSample(buffer.data(), filled, 1, *soundDescription, total) == media::kNoErr;
    durationOut = total;
  }
  clearHandedOut();
  return ok;
}

bool QuickTimeAudioCompress::ProcessOutput(media::MovieStorage& media) {
  bool ok = true;
  std::uint32_t packetsOut = 0;
  std::int64_t duration = 0;
  do {
    std::uint32_t packets = GetNumberPacketsToPull();
    ok = ProcessOutput(media, packets, packetsOut, duration);
  } while (duration != 0 && packetsOut != 0 && ok);
  return ok;
}

bool QuickTimeAudioCompress::EndCompression(media::MovieStorage& media) {
  endOfInput = true;
  if (component) component->EndOfInput();
  const bool ok = ProcessOutput(media);
  component.reset();
  soundDescription.reset();
  return ok;
}

}  // namespace kiva::qt
