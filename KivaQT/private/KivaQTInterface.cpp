#include "KivaQTInterface.h"

#include "../../Common/Module/private/Module.h"
#include "AudioSampleHelpers.h"
#include "KivaQTFormatIDs.h"
#include "KivaQTMessages.h"
#include "KivaQTPrivateSettings.h"
#include "KivaQTSettingsDialog.h"
#include "QTChannelLayout.h"
#include "QTExtensions.h"
#include "QTMediaLayer.h"

#include <kiva/KivaAudioSampleType.h>
#include <noxcore/config/Localizer.h>
#include <noxcore/filesupport/File.h>
#include <noxcore/utility/Strings.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace kiva {

namespace {

constexpr const char* kPlugInIdentifier = "01914214-F044-47F7-A43B-5E98267FAFD0";
constexpr const char* kPlugInName =
    "$$$/KivaPlugIns/KivaQT/PlugInName=Cadenza QuickTime Kiva plug-in";
constexpr const char* kFormatName = "$$$/KivaPlugIns/KivaQT/FormatNameQT=QuickTime";
constexpr const char* kImportFilter =
    "$$$/KivaPlugIns/KivaQT/InputFormat=QuickTime (*.mov, *.aac, *.aiff, *.avi, *.m4a, *.mp3, "
    "*.mp4, *.wav, ...)";
constexpr const char* kUncompressed =
    "$$$/kiva/KivaQTInterface/Uncompressed=Audio-only .mov format.  Uncompressed PCM audio.";
constexpr std::uint32_t kMovieFileType = 0x4D4F5620;  // 'MOV '
constexpr const char* kStreamCount = "$$$/KivaPlugIns/KivaQT/Channels= (@0 streams)";
constexpr const char* kFormatQT = "$$$/KivaPlugIns/KivaQT/FormatQT=QuickTime: @0";
constexpr const char* kFormatQTEmpty = "$$$/KivaPlugIns/KivaQT/FormatQTEmpty=QuickTime";
constexpr const char* kExportFilter =
    "$$$/KivaPlugIns/KivaQT/ExportFormat=QuickTime (audio-only) (*.mov)";

std::u16string Localize(const char* key) {
  return noxcore::config::Localizer::Get().GetLocalizedString(key);
}

// The host takes extension lists as pointers to zero-terminated strings; they point into
// `extensions`, which must outlive the list.
std::vector<const char*> PointersTo(const std::vector<std::string>& extensions) {
  std::vector<const char*> pointers;
  pointers.reserve(extensions.size());
  for (const auto& extension : extensions) pointers.push_back(extension.c_str());
  return pointers;
}

// "QuickTime: <coding>", or "QuickTime" alone without a coding name.
std::u16string GetFormatDescription(const std::u16string& name) {
  if (name.empty()) return Localize(kFormatQTEmpty);
  return noxcore::utility::ReplaceInString(Localize(kFormatQT), name);
}

// ASCII-only case folding: the comparison must not depend on the user's locale.
bool EqualsIgnoringAsciiCase(const std::u16string& a, const std::u16string& b) {
  const auto fold = [](char16_t c) { return c >= u'A' && c <= u'Z' ? c - u'A' + u'a' : c; };
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(),
                    [&](char16_t x, char16_t y) { return fold(x) == fold(y); });
}

}  // namespace

int KivaQTInterface::GetKivaInfo(KivaGetKivaInfoInterface& info) {
  module::Initialize();
  // Without a usable media layer the host gets no format of ours, and that is not an error.
  if (!qt::Initialize()) return kKivaSuccess;

  std::vector<std::string> extensions;
  const std::vector<std::string> importMimePrefixes{"audio", "video"};
  const std::vector<std::string> exportMimePrefixes{"audio"};

  qt::QueryImportExtensions(extensions, &importMimePrefixes, true);
  if (!extensions.empty()) {
    // Hosts filter .m4a files by this list even where no importer names the extension.
    if (std::find(extensions.begin(), extensions.end(), "m4a") == extensions.end()) {
      extensions.emplace_back("m4a");
    }
  } else {
    extensions.emplace_back("mov");
  }
  std::vector<const char*> pointers = PointersTo(extensions);

  info.SetPlugInInfo(kPlugInIdentifier, Localize(kPlugInName).c_str());
  const std::u16string formatName = Localize(kFormatName);
  info.AddImportFormat(formatName.c_str(), kGeneralQTID.c_str(), &pointers,
                       Localize(kImportFilter).c_str());

  extensions.clear();
  qt::QueryExportExtensions(extensions, &exportMimePrefixes, true);
  if (extensions.empty()) extensions.emplace_back("mov");
  pointers = PointersTo(extensions);
  info.AddExportFormat(formatName.c_str(), kAudioOnlyMovID.c_str(), &pointers,
                       Localize(kExportFilter).c_str());
  return kKivaSuccess;
}

int KivaQTInterface::Initialize() { return kKivaSuccess; }

int KivaQTInterface::Terminate() {
  qt::Terminate();
  module::Terminate();
  return kKivaSuccess;
}

int KivaQTInterface::OpenForRead(KivaOpenInterface& open) {
  const char16_t* filePath = open.GetFilePath();
  const std::u16string path = filePath != nullptr ? filePath : u"";
  qt::Source::ExtendedErrorInfo info;
  std::unique_ptr<qt::Source> source = qt::Source::OpenForRead(path, info);
  if (!source) {
    SendMessage(Localize(messages::kGeneralOpen));
    SetExtendedError(info);
    return kKivaGeneralError;
  }
  if (source->GetNumChannels() == 0 && source->GetVideoStreamCount() == 0) {
    SendMessage(Localize(messages::kNoContent));
    return kKivaCannotOpen;
  }
  open.SetOpenOption(0);
  // The host's field is 32 bits wide; a file may claim more channels than that can count the
  // bits of (AIFF allows 65535), so the figure is worked out in 64 bits and saturated.
  const std::int64_t bitRate =
      std::int64_t{32} * source->GetNumChannels() * source->GetSampleRate();
  open.SetBitRate(static_cast<std::int32_t>(
      std::clamp<std::int64_t>(bitRate, std::numeric_limits<std::int32_t>::min(),
                               std::numeric_limits<std::int32_t>::max())));
  std::u16string description = source->GetAudioFormatDescription();
  if (source->GetAudioStreamCount() > 1) {
    description += noxcore::utility::ReplaceInString(
        Localize(kStreamCount), noxcore::utility::NumberToString(source->GetAudioStreamCount()));
  }
  // The open stored the movie's own size, so this builds nothing: the off-screen picture is
  // made when the host first asks for another size.
  if (source->GetVideoStreamCount() != 0) {
    source->SetRequestedSize(source->GetWidth(), source->GetHeight());
  }
  open.SetDescription(GetFormatDescription(description).c_str());
  open.SetSource(source.release());
  return kKivaSuccess;
}

int KivaQTInterface::GetFormat(qt::Source& source, KivaFormatInterface& format) {
  const std::int32_t channels = source.GetNumChannels();
  format.SetNumChannels(channels);
  format.SetSampleRate(source.GetSampleRate());
  switch (source.GetBitsPerSample()) {
    case 16:
      format.SetSampleType(kAudioSampleType_16Bit);
      break;
    case 24:
      format.SetSampleType(kAudioSampleType_24Bit);
      break;
    case 8:
      format.SetSampleType(kAudioSampleType_8Bit);
      break;
    default:
      format.SetSampleType(kAudioSampleType_32BitFloat);
  }
  std::vector<std::uint32_t> labels;
  source.GetChannelLabelVector(labels);
  std::int32_t labelled = 0;
  for (; labelled < channels && static_cast<std::size_t>(labelled) < labels.size(); ++labelled) {
    format.SetChannelLabel(labelled,
                           qt::TranslateChannelLabel(labels[static_cast<std::size_t>(labelled)]));
  }
  if (channels == 2 && labels.empty()) {
    format.SetChannelLabel(0, noxmediatypes::kChannelLabel_Left);
    format.SetChannelLabel(1, noxmediatypes::kChannelLabel_Right);
    labelled = 2;
  }
  for (; labelled < channels; ++labelled) {
    format.SetChannelLabel(labelled, noxmediatypes::kChannelLabel_None);
  }
  if (source.GetVideoStreamCount() != 0) {
    format.GetVideoStreamInfo()->SetStreamCount(1);
    format.GetVideoStreamInfo()->SetFormatDescription(0, source.GetVideoFormatDescription());
    format.GetVideoStreamInfo()->SetFrameCount(0, source.GetVideoFrameCount());
    format.GetVideoStreamInfo()->SetFrameKind(0, 1);
    format.GetVideoStreamInfo()->SetPixelAspectRatio(0, source.GetPAR());
    format.GetVideoStreamInfo()->SetFrameRate(0, source.GetFrameRate());
    format.GetVideoStreamInfo()->SetFrameRateRational(0, source.GetVideoFrameRateNumerator(),
                                                      source.GetVideoFrameRateDenominator());
    format.GetVideoStreamInfo()->SetWidth(0, source.GetOriginalWidth());
    format.GetVideoStreamInfo()->SetHeight(0, source.GetOriginalHeight());
  }
  const bool audioOnlyMovie =
      source.GetVideoStreamCount() == 0 &&
      EqualsIgnoringAsciiCase(noxcore::filesupport::File(source.GetFilePath()).GetExtension(),
                              u".mov");
  format.SetFormatID(audioOnlyMovie ? kAudioOnlyMovID : kGeneralQTID);
  format.SetPrivateSettings(KivaQTPrivateSettings().GetSerialized());
  format.SetSampleCount(source.GetSampleCount());
  return kKivaSuccess;
}

int KivaQTInterface::ReadSamples(qt::Source& source, KivaReadSamplesInterface& read) {
  const std::int64_t frames = read.GetFrameCount();
  const std::int64_t start = read.GetStartFrame();
  read.SetFramesRead(0);
  std::vector<float*> buffers;
  for (std::int32_t c = 0; c < source.GetNumChannels(); ++c) {
    buffers.push_back(read.GetChannelBuffer(c));
  }
  if (!source.GetAudio(start, static_cast<std::int32_t>(frames), buffers.data())) {
    return kKivaReadAudioFailed;
  }
  read.SetFramesRead(frames);
  return kKivaSuccess;
}

int KivaQTInterface::ReadVideoFrame(qt::Source& source, KivaReadVideoFrameInterface& request) {
  KivaVideoStreamInterface* wanted = request.GetVideoStreamInfo();
  if (wanted == nullptr) return kKivaBadArgument;
  const std::int32_t width = wanted->GetWidth(0);
  wanted = request.GetVideoStreamInfo();
  if (wanted == nullptr) return kKivaBadArgument;
  const std::int32_t height = wanted->GetHeight(0);
  if (source.GetOriginalWidth() * source.GetOriginalHeight() == 0) return kKivaNoVideo;
  // 4000 is the largest size the plug-in draws in either direction.
  if (width > 4000 || height > 4000) return kKivaBadArgument;
  source.SetRequestedSize(width, height);
  source.SetHighQualityVideo((request.GetRenderFlags() & 2) != 0);
  const std::int64_t frameIndex = request.GetFrameIndex();
  char* destination = request.GetFrameBuffer();
  if (destination == nullptr) return kKivaBadArgument;
  return source.GetVideo(frameIndex, destination) ? kKivaSuccess : kKivaGeneralError;
}

int KivaQTInterface::GetDefaultExportSettings(KivaFormatInterface& format) {
  format.SetNumChannels(2);
  format.SetSampleRate(44100);
  format.SetSampleType(kAudioSampleType_16Bit);
  return kKivaSuccess;
}

int KivaQTInterface::RunExportSettingsDialog(KivaFormatInterface& format, void* parentWindow,
                                             bool& canceled) {
  KivaQTPrivateSettings settings;
  const char16_t* serialized = format.GetPrivateSettings();
  settings.InitializeFromSerialized(serialized != nullptr ? serialized : u"");
  KivaQTSettingsDialog dialog(settings);
  canceled = true;
  if (dialog.RunModal(parentWindow)) {
    format.SetPrivateSettings(settings.GetSerialized());
    canceled = false;
  }
  return kKivaSuccess;
}

int KivaQTInterface::GetExportSettingsInfo(KivaGetExportSettingsInfoInterface& info) {
  info.SetFirstOption(0);
  info.SetSecondOption(0);
  KivaFormatInterface* format = info.GetFormatInterface();
  if (format == nullptr) return kKivaBadArgument;
  // Loaded as every export request loads them; the estimate assumes uncompressed PCM anyway.
  KivaQTPrivateSettings settings;
  const char16_t* serialized = format->GetPrivateSettings();
  settings.InitializeFromSerialized(serialized != nullptr ? serialized : u"");
  std::uint64_t bytesPerSample = 0;
  switch (format->GetSampleType()) {
    case kAudioSampleType_8Bit:
      bytesPerSample = 1;
      break;
    case kAudioSampleType_16Bit:
      bytesPerSample = 2;
      break;
    case kAudioSampleType_24Bit:
      bytesPerSample = 3;
      break;
    case kAudioSampleType_32BitFloat:
      bytesPerSample = 4;
      break;
    default:
      break;
  }
  std::uint64_t estimate = bytesPerSample * static_cast<std::uint64_t>(format->GetSampleCount()) *
                           static_cast<std::uint64_t>(format->GetNumChannels());
  for (std::uint32_t index = 0; index < format->GetMetadataCount(); ++index) {
    std::u16string text;
    std::int64_t size = 0;
    std::u16string value;
    if (format->GetMetadataItem(index, text, size, value)) {
      estimate += static_cast<std::uint64_t>(size);
    }
  }
  estimate += 2048;
  info.SetEstimatedFileSize(static_cast<std::int64_t>(estimate));
  format->SetMimeType("video/quicktime");
  format->SetFileType(kMovieFileType);
  format->SetFileCreator(0);
  info.SetDescription(Localize(kUncompressed));
  return kKivaSuccess;
}

int KivaQTInterface::WriteStart(KivaWriteStartInterface& start, qt::Source*& source) {
  KivaFormatInterface* format = start.GetFormat();
  if (format == nullptr) return kKivaGeneralError;
  if (format->GetSampleCount() == 0) {
    if (KivaErrorReporter* reporter = start.GetErrorReporter()) {
      reporter->SetErrorText(Localize(messages::kZeroLengthNotSupported).c_str());
    }
    return kKivaGeneralError;
  }
  KivaQTPrivateSettings settings;
  const char16_t* serialized = format->GetPrivateSettings();
  settings.InitializeFromSerialized(serialized != nullptr ? serialized : u"");

  std::vector<std::uint32_t> labels;
  const std::int32_t channels = format->GetNumChannels();
  if (channels == 1) {
    // One channel is mono, whatever the host calls it.
    labels.push_back(qt::media::kAudioChannelLabel_Mono);
  } else {
    for (std::int32_t c = 0; c < channels; ++c) {
      labels.push_back(qt::TranslateChannelLabel_KivaToQT(
          static_cast<noxmediatypes::AudioChannelLabel>(format->GetChannelLabel(c))));
    }
  }
  format = start.GetFormat();
  if (format == nullptr) return kKivaGeneralError;
  const std::int32_t sampleType =
      GetBytesPerSample(static_cast<AudioSampleType>(format->GetSampleType()));
  if (sampleType == 0) return kKivaGeneralError;

  auto session = std::make_unique<qt::Source>();
  session->SetAtomicSetting(settings.GetAtomicContainer());
  session->SetFileFormatIndex(settings.GetFormatIndex());
  const char16_t* filePath = start.GetFilePath();
  const std::u16string path = filePath != nullptr ? filePath : u"";
  qt::Source::ExtendedErrorInfo info;
  if (!session->InitializeForWrite(path, format->GetSampleRate(), labels, sampleType, info)) {
    session.reset();
    source = nullptr;
    SendMessage(noxcore::utility::ReplaceInString(
        Localize(messages::kWriteStartGeneral), noxcore::utility::NumberToString(info.code), path));
    return kKivaGeneralError;
  }
  source = session.release();
  return kKivaSuccess;
}

namespace {

template <std::size_t kWidth>
void InterleaveSamples(const std::uint8_t* from, std::int64_t frames, std::size_t step,
                       std::uint8_t* to) {
  for (std::int64_t f = 0; f < frames; ++f, from += kWidth, to += step) {
    std::memcpy(to, from, kWidth);
  }
}

// Puts one channel's samples into their places among `channels` interleaved ones; the width is
// a compile-time constant in each loop so that every copy is a single move.
void Interleave(const std::uint8_t* from, std::int64_t frames, std::int32_t width,
                std::int32_t channel, std::int32_t channels, std::uint8_t* interleaved) {
  const auto step = static_cast<std::size_t>(width) * static_cast<std::size_t>(channels);
  std::uint8_t* to =
      interleaved + static_cast<std::size_t>(channel) * static_cast<std::size_t>(width);
  switch (width) {
    case 1:
      return InterleaveSamples<1>(from, frames, step, to);
    case 2:
      return InterleaveSamples<2>(from, frames, step, to);
    case 3:
      return InterleaveSamples<3>(from, frames, step, to);
    default:
      return InterleaveSamples<4>(from, frames, step, to);
  }
}

}  // namespace

int KivaQTInterface::WriteSamples(qt::Source& source, KivaWriteSamplesInterface& samples) {
  const std::int32_t channels = source.GetNumChannels();
  // A block must continue the stream exactly: no gaps, no rewriting.
  if (samples.GetStartSample() != source.GetSamplesReceived()) return kKivaBadArgument;
  for (std::int32_t c = 0; c < channels; ++c) {
    if (samples.GetChannelBuffer(c) == nullptr) return kKivaBadArgument;
  }
  const std::int64_t frames = samples.GetSampleCount();
  if (frames < 0 || (static_cast<std::uint64_t>(frames) >> 32) > 0) return kKivaBadArgument;
  KivaFormatInterface* format = samples.GetFormat();
  const std::int32_t bytesPerSample =
      format != nullptr ? GetBytesPerSample(static_cast<AudioSampleType>(format->GetSampleType()))
                        : 0;
  // A block in another sample format than the session's would be read with the wrong width; a
  // block without a known format has no width at all, even where the handle (a host mixing up
  // its handles) has none either.
  if (bytesPerSample < 1 || bytesPerSample != source.GetSampleType()) return kKivaBadArgument;
  const std::uint64_t total = static_cast<std::uint64_t>(frames) *
                              static_cast<std::uint64_t>(bytesPerSample) *
                              static_cast<std::uint64_t>(std::max(channels, 0));
  if (total >= 2147483648ull || channels < 1) return kKivaBadArgument;

  std::vector<std::uint8_t>& interleaved = source.WriteStaging();
  interleaved.resize(static_cast<std::size_t>(total));
  for (std::int32_t c = 0; c < channels; ++c) {
    const auto* from = reinterpret_cast<const std::uint8_t*>(samples.GetChannelBuffer(c));
    Interleave(from, frames, bytesPerSample, c, channels, interleaved.data());
  }
  return source.WriteSamples(interleaved.data(), static_cast<std::int32_t>(frames))
             ? kKivaSuccess
             : kKivaWriteAudioFailed;
}

int KivaQTInterface::FinishWrite(qt::Source& source, bool /*finishFlag*/,
                                 const KivaFormatInterface& /*format*/) {
  const bool finished = source.FinishSamples();
  // The session ends here whether or not the movie could be finished; its file stays.
  delete &source;
  return finished ? kKivaSuccess : kKivaGeneralError;
}

void KivaQTInterface::SetExtendedError(qt::Source::ExtendedErrorInfo info) {
  if (info.kind != 1) return;
  std::u16string moreInfo;
  if (info.code == -2048) moreInfo = Localize(messages::kOpenCode2048);
  const std::u16string code = noxcore::utility::NumberToString(info.code);
  if (!moreInfo.empty()) {
    SendMessage(noxcore::utility::ReplaceInString(Localize(messages::kGeneralOpenCodeMoreInfo),
                                                  code, moreInfo));
  } else {
    SendMessage(noxcore::utility::ReplaceInString(Localize(messages::kGeneralOpenCode), code));
  }
}

void KivaQTInterface::SendMessage(const std::u16string& text) {
  if (KivaErrorReporter* reporter = GetErrorReporter()) reporter->SetErrorText(text.c_str());
}

}  // namespace kiva
