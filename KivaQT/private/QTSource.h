// One open movie: the reading session and the writing session alike. The host holds a source as
// an opaque handle and destroys it through CloseForRead or FinishWrite.
#pragma once

#include "MemoryHandle.h"
#include "QuickTimeAudioCompress.h"
#include "media/AudioExtraction.h"
#include "media/Movie.h"
#include "media/MovieStorage.h"
#include "media/SoundDescription.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace kiva::qt {

class Source {
 public:
  // What went wrong while opening a file, for the message the host shows.
  struct ExtendedErrorInfo {
    std::int32_t kind = 0;   // 0 = nothing recorded; 1 = an open error with a code
    std::int32_t code = 0;   // the failing step's status; -1 when the path could not be converted
    std::u16string text1;    // carried along, unused for the message
    std::u16string text2;    // carried along, unused for the message
    std::int32_t value = 0;  // carried along, unused for the message
  };

  Source() = default;
  virtual ~Source();
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  // A new source reading the file at `path`, or null (with `info` filled) when it cannot open.
  static std::unique_ptr<Source> OpenForRead(const std::u16string& path, ExtendedErrorInfo& info);
  // Opens the movie and takes in its tracks. A movie without tracks opens (as an empty source).
  bool InitializeForRead(const std::u16string& path, ExtendedErrorInfo& info);
  // With a movie open, true at once. Otherwise reopens from the path and answers the inverse of
  // that: false after a successful reopen, true after a failed one.
  bool Activate();
  // Releases what a paused source need not hold (extraction session, buffers), keeping the
  // movie. Always true.
  bool Suspend();
  // Suspends, clears the session's facts and releases the movie.
  void Close();

  // Read side.
  const std::u16string& GetFilePath() const { return filePath; }
  std::int32_t GetSampleRate() const { return sampleRate; }
  std::int32_t GetNumChannels() const { return numChannels; }
  std::int32_t GetBitsPerSample() const { return 32; }  // delivered as 32-bit float
  std::int64_t GetSampleCount() const { return sampleCount; }
  std::int32_t GetAudioStreamCount() const { return audioStreamCount; }
  std::int32_t GetVideoStreamCount() const { return videoStreamCount; }
  std::u16string GetAudioFormatDescription() const { return audioFormatDescription; }
  std::u16string GetVideoFormatDescription() const { return videoFormatDescription; }
  std::int32_t GetOriginalWidth() const { return originalWidth; }
  std::int32_t GetOriginalHeight() const { return originalHeight; }
  std::int32_t GetWidth() const { return width; }
  std::int32_t GetHeight() const { return height; }
  std::int32_t GetBytesPerPixel() const { return bytesPerPixel; }
  double GetFrameRate() const { return frameRate; }
  std::int32_t GetVideoFrameRateNumerator() const { return videoTimeScale; }
  std::int32_t GetVideoFrameRateDenominator() const { return frameDuration; }
  double GetVideoScalingFactor() const { return videoScalingFactor; }
  bool GetHighQualityVideo() const { return highQualityVideo; }
  void SetHighQualityVideo(bool highQuality) { highQualityVideo = highQuality; }
  // Frames of video: the display duration over one frame's duration, rounded up.
  std::int32_t GetVideoFrameCount() const;
  std::int32_t GetBytesPerFrame() const { return height * width * bytesPerPixel; }
  double GetPAR() const;
  void GetChannelLabelVector(std::vector<std::uint32_t>& out) const { out = channelLabels; }

  // Video. The size frames are asked for at; nothing happens when it does not change, and
  // any change builds the off-screen picture anew.
  void SetRequestedSize(std::int32_t requestedWidth, std::int32_t requestedHeight);
  // Kept (and reported) only for 0 < factor <= 1; the picture is set up again in any case.
  void SetVideoScalingFactor(double factor);
  bool SetupVideo();
  void DisposeGraphicsWorld();
  // Renders frame `frameIndex` and copies it, rows packed, as B, G, R, A bytes per pixel.
  bool GetVideo(std::int64_t frameIndex, char* destination);

  // Audio: `frameCount` frames from `startFrame` into one float buffer per channel (null ones
  // are skipped); what the movie cannot deliver is zero-filled.
  bool GetAudio(std::int64_t startFrame, std::int32_t frameCount, float** channelBuffers);
  bool SetupAudioExtraction();
  bool AllocateAudioBuffers(std::int32_t frames);
  void DeAllocateAudioBuffers();

  // Write side. A new source writing `path`, or null (the file is then not, or only emptily,
  // made).
  static std::unique_ptr<Source> OpenForWrite(const std::u16string& path, std::int32_t rate,
                                              const std::vector<std::uint32_t>& labels,
                                              std::int32_t sampleType, ExtendedErrorInfo& info);
  // `labels` are the media layer's channel labels; `sampleType` is the bytes per sample, 1..4.
  bool InitializeForWrite(const std::u16string& path, std::int32_t rate,
                          const std::vector<std::uint32_t>& labels, std::int32_t sampleType,
                          ExtendedErrorInfo& info);
  bool CreateMovieForWrite();
  bool SetupAudioForExport(const std::vector<std::uint32_t>& labels);
  bool SetupCompressedAudio(const media::ComponentDescription& entry);
  bool WriteCompressedAudio();
  // Keeps a copy of the exporter settings (null: none).
  void SetAtomicSetting(Handle handle);
  void FreeAtomicSettings();
  void SetFileFormatIndex(std::int32_t index) { fileFormatIndex = index; }
  std::int32_t GetFileFormatIndex() const { return fileFormatIndex; }
  std::int64_t GetSamplesReceived() const { return samplesReceived; }
  std::int32_t GetSampleType() const { return sampleType; }
  // Where a block's channels are interleaved before they go to the movie; kept between blocks
  // so that a long export allocates once.
  std::vector<std::uint8_t>& WriteStaging() { return writeStaging; }
  // Appends `frames` interleaved frames in the session's format.
  bool WriteSamples(const void* data, std::int32_t frames);
  // Ends the media, puts it into the track and writes the movie into the file.
  bool FinishSamples();
  void FreeWriteResources();

 private:
  std::u16string filePath;
  std::unique_ptr<media::Movie> movie;
  std::int32_t videoTimeScale = 0;
  std::int32_t frameDuration = 0;
  std::int32_t sampleRate = 0;
  double frameRate = 0.0;
  std::int64_t sampleCount = 0;
  std::int64_t videoDuration = 0;
  std::unique_ptr<media::Offscreen> gworld;  // the picture video is drawn into
  media::AudioStreamBasicDescription extractionFormat;
  std::u16string audioFormatDescription;
  std::unique_ptr<media::AudioExtraction> audioExtraction;
  // One block holding every channel's extraction area back to back; only grows.
  std::unique_ptr<unsigned char, decltype(&std::free)> audioBuffer{nullptr, &std::free};
  std::vector<media::AudioBuffer> audioBufferList;
  std::int32_t audioBufferSize = 0;
  std::vector<std::uint32_t> channelLabels;
  std::u16string videoFormatDescription;
  std::int32_t originalHeight = 0;
  std::int32_t originalWidth = 0;
  std::int32_t height = 0;
  std::int32_t width = 0;
  std::int32_t bytesPerPixel = 0;
  std::int32_t numChannels = 0;
  std::int32_t audioStreamCount = 0;
  std::int32_t videoStreamCount = 0;
  bool highQualityVideo = false;
  std::uint32_t currentPlayHints = 0xFFFFFFFF;  // all ones: the first hints are always given
  double videoScalingFactor = 1.0;
  std::uint32_t parHorizontal = 1;
  std::uint32_t parVertical = 1;

  // Write side (filePath, movie... are shared with the read side).
  std::int32_t sampleType = 0;  // bytes per sample, 1..4
  std::int32_t exportSampleRate = 44100;
  // Shared with the compressor when it makes the description: released exactly once.
  std::shared_ptr<media::SoundFormat> soundDescription;
  std::unique_ptr<media::MovieStorage> dataHandler;  // the movie being written
  bool track = false;
  bool media = false;
  std::int64_t samplesReceived = 0;
  std::vector<std::uint8_t> writeStaging;
  Handle atomicSettings = nullptr;
  std::int32_t fileFormatIndex = 0;
  boost::shared_ptr<QuickTimeAudioCompress> compressor;
  bool compressing = false;
};

}  // namespace kiva::qt
