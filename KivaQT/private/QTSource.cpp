#include "QTSource.h"

#include "QTChannelLayout.h"
#include "Trace.h"
#include "media/Toolbox.h"

#include <noxcore/utility/Strings.h>

#include <algorithm>
#include <cstring>

namespace kiva::qt {

namespace {

// The name of a coding from the media layer; empty when it has none (callers fall back).
std::u16string GetCompressionNameFromFormatCode(std::uint32_t formatCode) {
  const std::string name = media::DefaultToolbox().GetCompressionName(formatCode);
  std::u16string text;
  if (name.empty() || !noxcore::utility::UTF8to16(name, text)) return {};
  return text;
}

std::u16string MACtoNOX(const std::string& text) {
  std::u16string converted;
  noxcore::utility::UTF8to16(text, converted);
  return converted;
}

}  // namespace

Source::~Source() { Close(); }

std::unique_ptr<Source> Source::OpenForRead(const std::u16string& path, ExtendedErrorInfo& info) {
  auto source = std::make_unique<Source>();
  if (!source->InitializeForRead(path, info)) return nullptr;
  return source;
}

bool Source::InitializeForRead(const std::u16string& path, ExtendedErrorInfo& info) {
  if (movie) Close();
  filePath = path;
  std::string nativePath;
  if (!noxcore::utility::UTF16to8(path, nativePath)) {
    info.kind = 1;
    info.code = media::kPathConversionErr;
    return false;
  }
  if (const media::OSErr error = media::DefaultToolbox().NewMovieFromPath(nativePath, movie);
      error != media::kNoErr) {
    movie.reset();
    info.kind = 1;
    info.code = error;
    return false;
  }
  const std::int32_t trackCount = movie->GetTrackCount();
  for (std::int32_t index = 1; index <= trackCount; ++index) {
    const media::Track* track = movie->GetTrack(index);
    if (track == nullptr) continue;
    if (track->GetMediaType() == media::kSoundMediaType) {
      sampleRate = track->GetMediaTimeScale();
      const media::SoundDescription sound = track->GetSoundDescription();
      const media::AudioStreamBasicDescription description =
          sound.streamDescription.value_or(media::AudioStreamBasicDescription{});
      // The stream's own rate, rounded, replaces the media's time scale (0 when unreadable).
      sampleRate = static_cast<std::int32_t>(0.5 + description.mSampleRate);
      if (!sound.streamDescription) continue;
      ++audioStreamCount;
      numChannels += static_cast<std::int32_t>(description.mChannelsPerFrame);
      const auto trackLength = static_cast<std::int64_t>(static_cast<double>(track->GetDuration()) /
                                                         movie->GetTimeScale() * sampleRate);
      sampleCount = std::max(sampleCount, trackLength);
      audioFormatDescription = GetCompressionNameFromFormatCode(sound.formatCode);
      if (audioFormatDescription.empty()) {
        audioFormatDescription = MACtoNOX(sound.userReadableText);
      }
      std::vector<std::uint32_t> trackLabels;
      if (sound.channelLayout) {
        AudioChannelLayoutToChannelLabelVector(&*sound.channelLayout, trackLabels);
      }
      while (trackLabels.size() < description.mChannelsPerFrame) {
        trackLabels.push_back(media::kAudioChannelLabel_Discrete);
      }
      channelLabels.insert(channelLabels.end(), trackLabels.begin(), trackLabels.end());
    } else if (track->GetMediaType() == media::kVideoMediaType) {
      // Only the first usable video track is shown; later ones are only counted.
      if (videoStreamCount != 0) {
        ++videoStreamCount;
        continue;
      }
      std::int32_t timeScale = track->GetMediaTimeScale();
      const std::int64_t duration = track->GetMediaDisplayDuration();
      const std::int64_t samples = track->GetMediaSampleCount();
      frameRate = samples > 0 ? timeScale / (static_cast<double>(duration) / samples) : 0.0;
      frameDuration = samples > 0 ? static_cast<std::int32_t>(duration / samples) : 0;
      if (frameDuration == 0) continue;
      movie->SetTimeScale(timeScale);
      videoTimeScale = timeScale;
      videoDuration = duration;
      ++videoStreamCount;
      const media::Rect box = movie->GetBox();
      originalHeight = height = box.bottom - box.top;
      originalWidth = width = box.right - box.left;
      bytesPerPixel = 4;
      const media::ImageDescription image = track->GetImageDescription();
      videoFormatDescription = GetCompressionNameFromFormatCode(image.codecType);
      if (videoFormatDescription.empty()) videoFormatDescription = MACtoNOX(image.summary);
      if (image.pixelAspectRatio) {
        parHorizontal = image.pixelAspectRatio->first;
        parVertical = image.pixelAspectRatio->second;
      }
    }
  }
  return true;
}

bool Source::Activate() {
  if (movie) return true;
  ExtendedErrorInfo info;
  return !InitializeForRead(filePath, info);
}

bool Source::Suspend() {
  audioExtraction.reset();
  DeAllocateAudioBuffers();
  return true;
}

void Source::Close() {
  Suspend();
  height = 0;
  width = 0;
  filePath.clear();
  videoTimeScale = 0;
  extractionFormat = media::AudioStreamBasicDescription{};
  frameDuration = 0;
  sampleRate = 0;
  sampleCount = 0;
  videoDuration = 0;
  bytesPerPixel = 0;
  audioStreamCount = 0;
  videoStreamCount = 0;
  FreeWriteResources();
}

void Source::FreeWriteResources() { movie.reset(); }

std::int32_t Source::GetVideoFrameCount() const {
  if (frameDuration < 1) return 0;
  return static_cast<std::int32_t>((videoDuration + frameDuration - 1) / frameDuration);
}

double Source::GetPAR() const {
  return static_cast<double>(parHorizontal) / static_cast<double>(parVertical);
}

void Source::SetRequestedSize(std::int32_t requestedWidth, std::int32_t requestedHeight) {
  if (requestedWidth == width && requestedHeight == height) return;
  width = requestedWidth;
  height = requestedHeight;
}

bool Source::SetupAudioExtraction() {
  if (audioExtraction || audioStreamCount == 0) return true;
  extractionFormat = media::AudioStreamBasicDescription{};
  if (!movie || movie->BeginAudioExtraction(audioExtraction) != media::kNoErr) return false;
  if (audioExtraction->GetStreamDescription(extractionFormat) != media::kNoErr) return false;
  extractionFormat.mFormatID = media::kAudioFormatLinearPCM;
  extractionFormat.mFormatFlags = media::kAudioFormatFlagIsFloat;
  extractionFormat.mBytesPerPacket = 4;
  extractionFormat.mFramesPerPacket = 1;
  extractionFormat.mBytesPerFrame = 4 * static_cast<std::uint32_t>(numChannels);
  extractionFormat.mChannelsPerFrame = static_cast<std::uint32_t>(numChannels);
  extractionFormat.mBitsPerChannel = 32;
  if (audioExtraction->SetStreamDescription(extractionFormat) != media::kNoErr) return false;
  return audioExtraction->SetAllChannelsDiscrete(true) == media::kNoErr;
}

bool Source::AllocateAudioBuffers(std::int32_t frames) {
  if (audioStreamCount == 0) return true;
  const std::int64_t bytesPerSample = (extractionFormat.mBitsPerChannel + 7) / 8;
  const std::int64_t needed = (bytesPerSample * std::max(frames, 0) + 15) / 16 * 16;
  if (audioBuffer && audioBufferSize >= needed) return true;
  DeAllocateAudioBuffers();
  if (needed > INT32_MAX || numChannels <= 0) return false;
  audioBuffer.reset(static_cast<unsigned char*>(
      std::calloc(static_cast<std::size_t>(numChannels), static_cast<std::size_t>(needed))));
  if (!audioBuffer) return false;
  audioBufferSize = static_cast<std::int32_t>(needed);
  audioBufferList.assign(static_cast<std::size_t>(numChannels), media::AudioBuffer{});
  for (std::size_t c = 0; c < audioBufferList.size(); ++c) {
    audioBufferList[c].byteSize = static_cast<std::uint32_t>(audioBufferSize);
    audioBufferList[c].data = audioBuffer.get() + c * static_cast<std::size_t>(needed);
  }
  return true;
}

void Source::DeAllocateAudioBuffers() {
  audioBuffer.reset();
  audioBufferList.clear();
  audioBufferSize = 0;
}

bool Source::GetAudio(std::int64_t startFrame, std::int32_t frameCount, float** channelBuffers) {
  if (!Activate()) return false;
  SetupAudioExtraction();
  AllocateAudioBuffers(frameCount);
  // Without a session there is nothing audible: fine for a file without sound, a failure for
  // one whose sound could not be set up.
  if (!audioExtraction) return audioStreamCount == 0;

  media::AudioStreamBasicDescription format;
  if (audioExtraction->GetStreamDescription(format) != media::kNoErr) return false;
  // Consecutive reads run on; only a jump moves the session.
  if (audioExtraction->GetCurrentTime() != startFrame &&
      audioExtraction->SetCurrentTime(startFrame) != media::kNoErr) {
    return false;
  }
  if (audioBufferList.size() != static_cast<std::size_t>(numChannels) || frameCount < 0) {
    return false;
  }
  for (std::int32_t c = 0; c < numChannels; ++c) {
    if (channelBuffers[c] != nullptr) {
      audioBufferList[static_cast<std::size_t>(c)].byteSize =
          format.mBytesPerPacket * static_cast<std::uint32_t>(frameCount);
    }
  }
  auto ioFrames = static_cast<std::uint32_t>(frameCount);
  if (const media::OSErr error = audioExtraction->FillBuffer(ioFrames, audioBufferList);
      error != media::kNoErr) {
    KIVA_TRACE("Quicktime audio extraction failed.  Code: %ld", static_cast<long>(error));
    return false;
  }
  for (std::int32_t c = 0; c < numChannels; ++c) {
    float* destination = channelBuffers[c];
    if (destination == nullptr) continue;
    std::memcpy(destination, audioBufferList[static_cast<std::size_t>(c)].data,
                static_cast<std::size_t>(ioFrames) * sizeof(float));
    if (static_cast<std::uint32_t>(frameCount) > ioFrames) {
      std::fill(destination + ioFrames, destination + frameCount, 0.0f);
    }
  }
  return true;
}

}  // namespace kiva::qt
