// kivahost's implementations of the request records: plain holders of what the host asks and
// of what the plug-in answers. One object serves one request.
#pragma once

#include <kiva/KivaRequestRecords.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kivahost {

// UTF-16 from the plug-in to UTF-8 for printing; unconvertible text is shown as '?'.
std::string ToUtf8(const char16_t* text);
std::string ToUtf8(const std::u16string& text);
std::u16string ToUtf16(const std::string& text);

class HostErrorReporter final : public kiva::KivaErrorReporter {
 public:
  void SetErrorText(const char16_t* text) override;
  const std::vector<std::string>& Messages() const { return messages; }

 private:
  std::vector<std::string> messages;
};

struct FormatDescription {
  std::string name;
  std::string id;
  std::vector<std::string> extensions;
  std::string filterText;
};

struct PlugInDescription {
  int interfaceMajor = -1;
  int interfaceMinor = -1;
  std::string identifier;
  std::string displayName;
  std::vector<FormatDescription> importFormats;
  std::vector<FormatDescription> exportFormats;
};

class HostKivaInfo final : public kiva::KivaGetKivaInfoInterface {
 public:
  void SetInterfaceVersion(int major, int minor) override;
  void SetPlugInInfo(const char* identifier, const char16_t* displayName) override;
  void AddImportFormat(const char16_t* formatName, const char16_t* formatID,
                       const std::vector<const char*>* extensions,
                       const char16_t* filterText) override;
  void AddExportFormat(const char16_t* formatName, const char16_t* formatID,
                       const std::vector<const char*>* extensions,
                       const char16_t* filterText) override;
  const PlugInDescription& Description() const { return description; }

 private:
  PlugInDescription description;
};

struct VideoStreamFacts {
  int streamCount = 0;
  int frameCount = 0;
  int frameKind = 0;
  std::int64_t rateNumerator = 0;
  std::int64_t rateDenominator = 0;
  double frameRate = 0;
  int width = 0;
  int height = 0;
  double pixelAspectRatio = 0;
  std::string description;
};

// A video sub-record: what the plug-in reports, and (for frame requests) the wanted size.
class HostVideoStream final : public kiva::KivaVideoStreamInterface {
 public:
  void SetStreamCount(std::int32_t count) override { facts.streamCount = count; }
  void SetFrameCount(std::int32_t, std::int32_t frames) override { facts.frameCount = frames; }
  void SetFrameKind(std::int32_t, std::int32_t value) override { facts.frameKind = value; }
  void SetFrameRateRational(std::int32_t, std::int64_t numerator,
                            std::int64_t denominator) override {
    facts.rateNumerator = numerator;
    facts.rateDenominator = denominator;
  }
  void SetFrameRate(std::int32_t, double rate) override { facts.frameRate = rate; }
  std::int32_t GetWidth(std::int32_t) override { return facts.width; }
  void SetWidth(std::int32_t, std::int32_t pixels) override { facts.width = pixels; }
  std::int32_t GetHeight(std::int32_t) override { return facts.height; }
  void SetHeight(std::int32_t, std::int32_t pixels) override { facts.height = pixels; }
  void SetPixelAspectRatio(std::int32_t, double ratio) override { facts.pixelAspectRatio = ratio; }
  void SetFormatDescription(std::int32_t, const std::u16string& text) override {
    facts.description = ToUtf8(text);
  }
  VideoStreamFacts facts;
};

// A format record: the stream format the plug-in reports, or the export format the host asks
// for. Its reporter collects the request's messages.
class HostFormat final : public kiva::KivaFormatInterface {
 public:
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  std::int32_t GetSampleRate() override { return sampleRate; }
  void SetSampleRate(std::int32_t hz) override { sampleRate = hz; }
  std::int32_t GetSampleType() override { return sampleType; }
  void SetSampleType(std::int32_t code) override { sampleType = code; }
  std::int32_t GetNumChannels() override { return static_cast<std::int32_t>(labels.size()); }
  void SetNumChannels(std::int32_t channels) override;
  std::uint32_t GetChannelLabel(std::int32_t channel) override;
  void SetChannelLabel(std::int32_t channel, std::uint32_t label) override;
  kiva::KivaVideoStreamInterface* GetVideoStreamInfo() override { return &video; }
  void SetFormatID(const std::u16string& id) override { formatID = ToUtf8(id); }
  const char16_t* GetPrivateSettings() override { return privateSettings.c_str(); }
  void SetPrivateSettings(const std::u16string& settings) override { privateSettings = settings; }
  void SetMimeType(const char* type) override { mimeType = type != nullptr ? type : ""; }
  void SetFileType(std::uint32_t code) override { fileType = code; }
  void SetFileCreator(std::uint32_t code) override { fileCreator = code; }
  std::uint32_t GetMetadataCount() override { return 0; }
  bool GetMetadataItem(std::uint32_t, std::u16string&, std::int64_t&, std::u16string&) override {
    return false;
  }
  void SetSampleCount(std::int64_t frames) override { sampleCount = frames; }
  std::int64_t GetSampleCount() override { return sampleCount; }

  HostErrorReporter reporter;
  HostVideoStream video;
  std::int32_t sampleRate = 0;
  std::int32_t sampleType = 0;
  std::vector<std::uint32_t> labels;
  std::string formatID;
  std::u16string privateSettings;
  std::string mimeType;
  std::uint32_t fileType = 0;
  std::uint32_t fileCreator = 0;
  std::int64_t sampleCount = 0;
};

// The export settings dialog request: the format whose settings it edits, the window to show it
// over, and whether the user canceled (unset until the plug-in says).
class HostExportSettingsDialog final : public kiva::KivaRunExportSettingsDialogInterface {
 public:
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  kiva::KivaFormatInterface* GetFormat() override { return &format; }
  void* GetParentWindow() override { return parentWindow; }
  void SetCanceled(bool value) override { canceled = value ? 1 : 0; }

  HostErrorReporter reporter;
  HostFormat format;
  void* parentWindow = nullptr;
  int canceled = -1;  // -1: never set
};

// The records of requests the plug-in answers without a result of its own; they let a host (and
// its tests) make every selector's call with a record of the right kind.
class HostPreOpen final : public kiva::KivaPreOpenInterface {
 public:
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  HostErrorReporter reporter;
};

class HostImportSettingsDialog final : public kiva::KivaRunImportSettingsDialogInterface {
 public:
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  void SetSettingsChanged(int value) override { changed = value; }
  HostErrorReporter reporter;
  int changed = -1;
};

class HostReadSamplesRaw final : public kiva::KivaReadSamplesRawInterface {
 public:
  HostReadSamplesRaw(std::int64_t start, std::int64_t length) : start(start), length(length) {}
  std::int64_t GetStartPosition() override { return start; }
  std::int64_t GetLength() override { return length; }
  void* GetBuffer() override { return buffer; }

 private:
  std::int64_t start;
  std::int64_t length;
  char buffer[64] = {};
};

class HostReadMetadata final : public kiva::KivaReadMetadataInterface {
 public:
  std::int64_t GetValue1() override { return 0; }
  std::int64_t GetValue2() override { return 0; }
  std::int64_t GetValue3() override { return 0; }
  void* GetBuffer() override { return buffer; }

 private:
  char buffer[64] = {};
};

class HostOpen final : public kiva::KivaOpenInterface {
 public:
  explicit HostOpen(const std::string& path) : path(ToUtf16(path)) {}
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  const char16_t* GetFilePath() override { return path.c_str(); }
  void SetSource(void* handle) override { source = handle; }
  void SetOpenOption(int option) override { openOption = option; }
  void SetDescription(const char16_t* text) override { description = ToUtf8(text); }
  void SetBitRate(std::int32_t bits) override { bitRate = bits; }

  HostErrorReporter reporter;
  std::u16string path;
  void* source = nullptr;
  int openOption = -1;
  std::string description;
  std::int32_t bitRate = 0;
};

class HostReadSamples final : public kiva::KivaReadSamplesInterface {
 public:
  HostReadSamples(std::int64_t start, std::int64_t frames, std::vector<float*> buffers)
      : start(start), frames(frames), buffers(std::move(buffers)) {}
  std::int64_t GetStartFrame() override { return start; }
  std::int64_t GetFrameCount() override { return frames; }
  float* GetChannelBuffer(std::int32_t channel) override {
    return channel >= 0 && static_cast<std::size_t>(channel) < buffers.size()
               ? buffers[static_cast<std::size_t>(channel)]
               : nullptr;
  }
  void SetFramesRead(std::int64_t read) override { framesRead = read; }

  std::int64_t start;
  std::int64_t frames;
  std::vector<float*> buffers;
  std::int64_t framesRead = -1;
};

// A request for one video frame: its index, the wanted size (on the video sub-record) and a
// destination of width x height x 4 bytes that the caller owns.
class HostReadVideoFrame final : public kiva::KivaReadVideoFrameInterface {
 public:
  HostReadVideoFrame(std::int32_t index, std::int32_t width, std::int32_t height, char* buffer,
                     std::uint32_t renderFlags = 2)
      : index(index), renderFlags(renderFlags), buffer(buffer) {
    wanted.facts.width = width;
    wanted.facts.height = height;
  }
  std::int32_t GetFrameIndex() override { return index; }
  kiva::KivaVideoStreamInterface* GetVideoStreamInfo() override { return &wanted; }
  std::uint32_t GetRenderFlags() override { return renderFlags; }  // 2 = high quality
  char* GetFrameBuffer() override { return buffer; }

 private:
  std::int32_t index;
  std::uint32_t renderFlags;
  char* buffer;
  HostVideoStream wanted;
};

// What an export would be: the estimate and description the plug-in gives for `format`.
class HostExportSettingsInfo final : public kiva::KivaGetExportSettingsInfoInterface {
 public:
  explicit HostExportSettingsInfo(HostFormat& format) : format(format) {}
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  kiva::KivaFormatInterface* GetFormatInterface() override { return &format; }
  void SetEstimatedFileSize(std::int64_t bytes) override { estimate = bytes; }
  void SetFirstOption(std::int32_t) override {}
  void SetSecondOption(std::int32_t) override {}
  void SetDescription(const std::u16string& text) override { description = ToUtf8(text); }

  HostErrorReporter reporter;
  std::int64_t estimate = 0;
  std::string description;

 private:
  HostFormat& format;
};

// The records of one export: start, each block of samples in the host's sample format (one
// buffer per channel), finish.
class HostWriteStart final : public kiva::KivaWriteStartInterface {
 public:
  HostWriteStart(const std::string& path, HostFormat& format)
      : path(ToUtf16(path)), format(format) {}
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  const char16_t* GetFilePath() override { return path.c_str(); }
  kiva::KivaFormatInterface* GetFormat() override { return &format; }
  void SetWriteHandle(void* source) override { handle = source; }

  HostErrorReporter reporter;
  std::u16string path;
  HostFormat& format;
  void* handle = nullptr;
};

class HostWriteSamples final : public kiva::KivaWriteSamplesInterface {
 public:
  HostWriteSamples(std::int64_t start, std::int64_t frames, std::vector<void*> channels,
                   HostFormat& format)
      : start(start), frames(frames), channels(std::move(channels)), format(format) {}
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  std::int64_t GetStartSample() override { return start; }
  std::int64_t GetSampleCount() override { return frames; }
  float* GetChannelBuffer(int channel) override {
    return static_cast<float*>(channels.at(static_cast<std::size_t>(channel)));
  }
  kiva::KivaFormatInterface* GetFormat() override { return &format; }

  HostErrorReporter reporter;

 private:
  std::int64_t start;
  std::int64_t frames;
  std::vector<void*> channels;
  HostFormat& format;
};

class HostFinishWrite final : public kiva::KivaFinishWriteInterface {
 public:
  explicit HostFinishWrite(HostFormat& format) : format(format) {}
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  bool GetFinishFlag() override { return true; }
  kiva::KivaFormatInterface* GetFormat() override { return &format; }

  HostErrorReporter reporter;

 private:
  HostFormat& format;
};

}  // namespace kivahost
