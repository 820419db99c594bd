#include "QTSource.h"

#include "QTChannelLayout.h"
#include "QTExportCatalogue.h"
#include "Trace.h"
#include "media/Toolbox.h"

#include <noxcore/config/Error.h>
#include <noxcore/filesupport/File.h>
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

// A frame rate for a video track whose sample count does not give one: the highest rate among
// the first dozen samples, but only one within 10 % of the sample before it (so that a single
// short sample does not count).
media::OSErr GuessQTFramerate(media::Movie& movie, std::int32_t* timeScale,
                              std::int32_t* frameDuration) {
  *timeScale = 0;
  *frameDuration = 0;
  const std::int32_t scale = movie.GetTimeScale();
  movie.SetTimeValue(0);
  std::int64_t time = 0;
  std::int64_t duration = 0;
  media::OSErr error = movie.GetNextInterestingTime(
      media::kNextTimeMediaSample | media::kNextTimeEdgeOK, 0, time, duration);
  if (error != media::kNoErr) return error;
  if (time == -1) return media::kNoErr;
  std::int64_t next = 0;
  const std::int64_t onlyDuration = duration;
  error = movie.GetNextInterestingTime(media::kNextTimeMediaSample, time, next, duration);
  if (error != media::kNoErr) return error;
  if (next == -1) {  // a single sample: its own duration is the frame's
    *timeScale = scale;
    *frameDuration = static_cast<std::int32_t>(onlyDuration);
    return media::kNoErr;
  }
  double best = duration > 0 ? static_cast<double>(scale) / static_cast<double>(duration) : 0.0;
  double previous = best;
  *timeScale = scale;
  *frameDuration = static_cast<std::int32_t>(duration);
  time = next;
  for (int sample = 0; sample < 10; ++sample) {
    error = movie.GetNextInterestingTime(media::kNextTimeMediaSample, time, next, duration);
    if (error != media::kNoErr) {
      *timeScale = 0;
      *frameDuration = 0;
      return error;
    }
    if (next == -1 || next == time) break;
    const double rate =
        duration > 0 ? static_cast<double>(scale) / static_cast<double>(duration) : 0.0;
    if (rate > best && (rate - previous) / rate < 0.1) {
      *timeScale = scale;
      *frameDuration = static_cast<std::int32_t>(duration);
      best = rate;
    }
    previous = rate;
    time = next;
  }
  return media::kNoErr;
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
      if (frameDuration == 0 &&
          (GuessQTFramerate(*movie, &timeScale, &frameDuration) != media::kNoErr ||
           frameDuration == 0)) {
        continue;
      }
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
  DisposeGraphicsWorld();
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
  FreeAtomicSettings();
}

void Source::FreeWriteResources() {
  if (dataHandler) {
    dataHandler->Close();
    dataHandler.reset();
  }
  soundDescription.reset();
  media = false;
  track = false;
  movie.reset();
  compressor.reset();
  compressing = false;
}

void Source::SetAtomicSetting(Handle handle) {
  FreeAtomicSettings();
  if (handle == nullptr) return;
  const std::size_t size = GetHandleSize(handle);
  atomicSettings = NewHandle(size);
  if (atomicSettings == nullptr) return;
  std::memset(*atomicSettings, 0, size);
  if (size > 0 && *handle != nullptr) std::memcpy(*atomicSettings, *handle, size);
}

void Source::FreeAtomicSettings() {
  DisposeHandle(atomicSettings);
  atomicSettings = nullptr;
}

std::unique_ptr<Source> Source::OpenForWrite(const std::u16string& path, std::int32_t rate,
                                             const std::vector<std::uint32_t>& labels,
                                             std::int32_t type, ExtendedErrorInfo& info) {
  auto source = std::make_unique<Source>();
  if (!source->InitializeForWrite(path, rate, labels, type, info)) return nullptr;
  return source;
}

bool Source::InitializeForWrite(const std::u16string& path, std::int32_t rate,
                                const std::vector<std::uint32_t>& labels, std::int32_t type,
                                ExtendedErrorInfo& /*info*/) {
  samplesReceived = 0;
  FreeWriteResources();
  filePath = path;
  exportSampleRate = rate;
  sampleType = type;
  numChannels = static_cast<std::int32_t>(labels.size());
  if (!CreateMovieForWrite() || !SetupAudioForExport(labels)) {
    FreeWriteResources();
    return false;
  }
  return true;
}

bool Source::CreateMovieForWrite() {
  if (filePath.empty()) return false;
  std::string nativePath;
  if (noxcore::utility::UTF16to8(filePath, nativePath) &&
      media::DefaultToolbox().CreateMovieStorage(nativePath, dataHandler) == media::kNoErr) {
    return true;
  }
  dataHandler.reset();
  // A file that could not be made into a movie is not left behind half-replaced.
  try {
    const noxcore::filesupport::File file(filePath);
    if (file.Exists()) file.Delete();
  } catch (const noxcore::config::HostError&) {
  }
  return false;
}

bool Source::SetupAudioForExport(const std::vector<std::uint32_t>& labels) {
  if (static_cast<std::int32_t>(labels.size()) != numChannels || labels.empty()) return false;
  auto format = std::make_shared<media::SoundFormat>();
  media::AudioStreamBasicDescription& description = format->description;
  const auto channels = static_cast<std::uint32_t>(numChannels);
  const auto bytes = static_cast<std::uint32_t>(sampleType);
  description.mSampleRate = exportSampleRate;
  description.mFormatID = media::kAudioFormatLinearPCM;
  switch (sampleType) {
    case 1:
      description.mFormatFlags = media::kAudioFormatFlagIsPacked;
      break;
    case 2:
    case 3:
      description.mFormatFlags =
          media::kAudioFormatFlagIsSignedInteger | media::kAudioFormatFlagIsPacked;
      break;
    case 4:
      description.mFormatFlags = media::kAudioFormatFlagIsFloat;
      break;
    default:
      return false;
  }
  description.mBytesPerPacket = bytes * channels;
  description.mFramesPerPacket = 1;
  description.mBytesPerFrame = bytes * channels;
  description.mChannelsPerFrame = channels;
  description.mBitsPerChannel = 8 * bytes;
  format->layout.mChannelLayoutTag = media::kAudioChannelLayoutTag_UseChannelDescriptions;
  for (const std::uint32_t label : labels) {
    media::AudioChannelDescription channel;
    channel.mChannelLabel = label;
    format->layout.mChannelDescriptions.push_back(channel);
  }
  soundDescription = std::move(format);
  const std::vector<media::ComponentDescription> catalogue = CurrentExportComponentDescriptions();
  if (fileFormatIndex > 0 && static_cast<std::size_t>(fileFormatIndex) < catalogue.size() &&
      !SetupCompressedAudio(catalogue[static_cast<std::size_t>(fileFormatIndex)])) {
    return false;
  }
  if (dataHandler->NewSoundTrack() != media::kNoErr) return false;
  track = true;
  if (dataHandler->NewSoundMedia(exportSampleRate, *soundDescription) != media::kNoErr) {
    return false;
  }
  media = true;
  return dataHandler->BeginMediaEdits() == media::kNoErr;
}

bool Source::SetupCompressedAudio(const media::ComponentDescription& entry) {
  compressor.reset(new QuickTimeAudioCompress());
  auto channels = static_cast<std::uint32_t>(numChannels);
  auto rate = static_cast<std::uint32_t>(exportSampleRate);
  const bool initialized = compressor->Initialize(entry, {}, channels, sampleType, rate);
  if (initialized) {
    compressor->BeginCompression();
    compressor->GetSoundDescriptionHandle(soundDescription);
    compressing = true;
  }
  return initialized;
}

bool Source::WriteCompressedAudio() {
  return compressor && dataHandler && compressor->ProcessOutput(*dataHandler);
}

bool Source::WriteSamples(const void* data, std::int32_t frames) {
  if (!dataHandler || !soundDescription || frames < 0) return false;
  const std::size_t size = static_cast<std::size_t>(frames) *
                           static_cast<std::size_t>(numChannels) *
                           static_cast<std::size_t>(sampleType);
  if (compressing) {
    const auto byteCount = static_cast<std::uint32_t>(size);
    if (!compressor) return false;
    compressor->AddBuffer(&data, byteCount, static_cast<std::uint32_t>(frames));
    if (!WriteCompressedAudio()) return false;
    samplesReceived += frames;
    return true;
  }
  if (dataHandler->AddMediaSample(data, size, 1, *soundDescription, frames) != media::kNoErr) {
    return false;
  }
  samplesReceived += frames;
  return true;
}

bool Source::FinishSamples() {
  if (media && dataHandler) {
    if (compressing && compressor) {
      compressor->EndCompression(*dataHandler);
      compressor.reset();
    }
    if (dataHandler->EndMediaEdits() != media::kNoErr) return false;
    if (track && dataHandler->InsertMediaIntoTrack(0, 0, dataHandler->GetMediaDuration(),
                                                   0x10000) != media::kNoErr) {
      return false;
    }
  }
  if (!dataHandler) return true;
  return dataHandler->AddMovieToStorage() == media::kNoErr;
}

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
  SetupVideo();
}

void Source::SetVideoScalingFactor(double factor) {
  if (factor > 0.0 && factor <= 1.0) videoScalingFactor = factor;
  SetupVideo();
}

bool Source::SetupVideo() {
  if (videoStreamCount == 0 || !movie) return true;
  const media::Rect box{0, 0, height, width};
  movie->SetBox(box);
  if (width == 0 || height == 0) return true;
  DisposeGraphicsWorld();
  // Without a picture the next frame request fails; setting up still counts as done.
  if (movie->NewOffscreen(box, gworld) != media::kNoErr) {
    gworld.reset();
    return true;
  }
  bytesPerPixel = 4;
  movie->SetOffscreen(gworld.get());
  return true;
}

void Source::DisposeGraphicsWorld() {
  if (!gworld) return;
  if (movie) movie->SetOffscreen(nullptr);
  gworld.reset();
}

bool Source::GetVideo(std::int64_t frameIndex, char* destination) {
  if (!Activate() || !gworld) return false;
  // The movie's time values are 32-bit: the product wraps as it always has.
  const auto time = static_cast<std::int32_t>(static_cast<std::uint32_t>(frameIndex) *
                                              static_cast<std::uint32_t>(frameDuration));
  if (static_cast<std::int64_t>(time) > videoDuration) return false;
  movie->SetTimeValue(time);
  const std::uint32_t hints = highQualityVideo ? media::kHintsHighQuality : 0;
  if (hints != currentPlayHints) {
    movie->SetPlayHints(hints, media::kHintsHighQuality);
    currentPlayHints = hints;
  }
  if (movie->Task() != media::kNoErr) return false;
  const std::size_t rowSize =
      static_cast<std::size_t>(width) * static_cast<std::size_t>(bytesPerPixel);
  if (gworld->width != width || gworld->height != height ||
      static_cast<std::size_t>(gworld->rowBytes) < rowSize) {
    return false;
  }
  for (std::int32_t y = 0; y < height; ++y) {
    auto* row =
        reinterpret_cast<std::uint8_t*>(destination) + static_cast<std::size_t>(y) * rowSize;
    std::memcpy(row, gworld->pixels.data() + static_cast<std::size_t>(y) * gworld->rowBytes,
                rowSize);
    // ARGB words in big-endian order become B, G, R, A bytes: one byte reversal per word.
    for (std::size_t x = 0; x < rowSize; x += 4) {
      std::uint32_t word;
      std::memcpy(&word, row + x, 4);
      word = __builtin_bswap32(word);
      std::memcpy(row + x, &word, 4);
    }
  }
  return true;
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
