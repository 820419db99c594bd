#include "FakeMovie.h"

#include <algorithm>
#include <cmath>

namespace kiva::test {

std::int64_t FakeTrack::GetDuration() const {
  const std::int32_t scale = movieScale != nullptr ? *movieScale : durationScale;
  // Rounded up, as the media layer reports durations.
  return (durationUnits * scale + durationScale - 1) / durationScale;
}

FakeAudioExtraction::FakeAudioExtraction(std::uint32_t channels, double rate, std::int64_t length)
    : AudioExtraction([&] {
        qt::media::AudioStreamBasicDescription format;
        format.mSampleRate = rate;
        format.mFormatID = qt::media::kAudioFormatLinearPCM;
        format.mFormatFlags = qt::media::kAudioFormatFlagIsFloat;
        format.mBitsPerChannel = 32;
        format.mBytesPerPacket = 4;
        format.mFramesPerPacket = 1;
        format.mBytesPerFrame = 4;
        format.mChannelsPerFrame = channels;
        return format;
      }()),
      length(length) {}

qt::media::OSErr FakeAudioExtraction::ReadFrames(std::int64_t start, std::int64_t frames,
                                                 const std::vector<float*>& channels) {
  reads.push_back(start);
  if (readError != qt::media::kNoErr) return readError;
  for (std::size_t c = 0; c < channels.size(); ++c) {
    if (channels[c] == nullptr) continue;
    for (std::int64_t f = 0; f < frames; ++f) {
      channels[c][f] = static_cast<float>(c * 1000 + static_cast<std::size_t>(start + f));
    }
  }
  return qt::media::kNoErr;
}

const qt::media::Track* FakeMovie::GetTrack(std::int32_t index) const {
  if (index < 1 || index > GetTrackCount()) return nullptr;
  return tracks[static_cast<std::size_t>(index - 1)].get();
}

qt::media::OSErr FakeMovie::BeginAudioExtraction(
    std::unique_ptr<qt::media::AudioExtraction>& session) {
  std::uint32_t channels = 0;
  double rate = 0;
  for (const auto& track : tracks) {
    if (track->mediaType == qt::media::kSoundMediaType && track->sound.streamDescription) {
      channels += track->sound.streamDescription->mChannelsPerFrame;
      rate = track->sound.streamDescription->mSampleRate;
    }
  }
  if (channels == 0) return -2048;
  auto fake = std::make_unique<FakeAudioExtraction>(channels, rate, extractionLength);
  lastSession = fake.get();
  ++sessionsBegun;
  session = std::move(fake);
  return qt::media::kNoErr;
}

qt::media::OSErr FakeMovie::NewOffscreen(const qt::media::Rect& box,
                                         std::unique_ptr<qt::media::Offscreen>& made) {
  const std::int32_t width = box.right - box.left;
  const std::int32_t height = box.bottom - box.top;
  if (width <= 0 || height <= 0) return -50;
  made = std::make_unique<qt::media::Offscreen>();
  made->width = width;
  made->height = height;
  made->rowBytes = width * 4 + rowPadding;
  made->pixels.assign(static_cast<std::size_t>(made->rowBytes) * static_cast<std::size_t>(height),
                      0);
  ++offscreensMade;
  return qt::media::kNoErr;
}

qt::media::OSErr FakeMovie::Task() {
  if (taskError != qt::media::kNoErr) return taskError;
  if (offscreen == nullptr) return -2001;
  const std::uint8_t bytes[4] = {
      static_cast<std::uint8_t>(pixel >> 24), static_cast<std::uint8_t>(pixel >> 16),
      static_cast<std::uint8_t>(pixel >> 8), static_cast<std::uint8_t>(pixel)};
  for (std::int32_t y = 0; y < offscreen->height; ++y) {
    for (std::int32_t x = 0; x < offscreen->width; ++x) {
      std::copy(bytes, bytes + 4, offscreen->pixels.begin() + y * offscreen->rowBytes + 4 * x);
    }
  }
  return qt::media::kNoErr;
}

qt::media::OSErr FakeMovie::GetNextInterestingTime(std::uint16_t flags, std::int64_t time,
                                                   std::int64_t& next, std::int64_t& duration) {
  next = -1;
  duration = 0;
  if (interestingTimeError != qt::media::kNoErr) return interestingTimeError;
  const bool edgeOK = (flags & qt::media::kNextTimeEdgeOK) != 0;
  for (const auto& [sampleTime, sampleDuration] : samples) {
    if (sampleTime > time || (edgeOK && sampleTime == time)) {
      next = sampleTime;
      duration = sampleDuration;
      return qt::media::kNoErr;
    }
  }
  return qt::media::kNoErr;
}

FakeTrack& FakeMovie::AddSoundTrack(double rate, std::uint32_t channels, std::int64_t units,
                                    std::int32_t scale) {
  auto track = std::make_unique<FakeTrack>();
  track->mediaType = qt::media::kSoundMediaType;
  track->mediaTimeScale = static_cast<std::int32_t>(std::lround(rate));
  track->durationUnits = units;
  track->durationScale = scale;
  track->movieScale = &timeScale;
  qt::media::AudioStreamBasicDescription description;
  description.mSampleRate = rate;
  description.mChannelsPerFrame = channels;
  track->sound.streamDescription = description;
  track->sound.formatCode = qt::media::FourCharCode("fake");
  tracks.push_back(std::move(track));
  return *tracks.back();
}

FakeTrack& FakeMovie::AddVideoTrack(std::int32_t scale, std::int64_t duration,
                                    std::int64_t samples) {
  auto track = std::make_unique<FakeTrack>();
  track->mediaType = qt::media::kVideoMediaType;
  track->mediaTimeScale = scale;
  track->displayDuration = duration;
  track->sampleCount = samples;
  track->durationUnits = duration;
  track->durationScale = scale;
  track->movieScale = &timeScale;
  tracks.push_back(std::move(track));
  return *tracks.back();
}

}  // namespace kiva::test
