#include "FFmpegExporter.h"

#include "FFmpegExporterDialog.h"
#include "FFmpegPtr.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cstring>
#include <string>

namespace kiva::qt::media::ffmpeg {

namespace {

struct ExportFormat {
  std::uint32_t subType;
  const char* encoder;        // null: uncompressed PCM, written without an encoder
  const char* name;           // as the format's settings dialog names it
  std::vector<int> bitRates;  // what its settings dialog offers; empty: nothing to set
  // The rate the encoder's library uses when FFmpeg leaves the choice to it and so cannot report
  // it (LAME encodes at 128 kbit/s); 0 where FFmpeg reports its default.
  int libraryBitRate = 0;
};

// The catalogue's order. Subtypes are the formats' four-character sound format codes.
const ExportFormat kFormats[] = {
    {FourCharCode("lpcm"), nullptr, "Linear PCM", {}},
    {FourCharCode("aac "), "aac", "AAC", {64000, 96000, 128000, 160000, 192000, 256000, 320000}},
    {FourCharCode("alac"), "alac", "ALAC", {}},
    {FourCharCode("ac-3"),
     "ac3",
     "AC-3",
     {96000, 128000, 160000, 192000, 224000, 256000, 320000, 384000, 448000, 640000}},
    {FourCharCode(".mp3"),
     "libmp3lame",
     "MP3",
     {64000, 96000, 128000, 160000, 192000, 224000, 256000, 320000},
     128000},
    {FourCharCode("alaw"), "pcm_alaw", "A-law", {}},
    {FourCharCode("ulaw"), "pcm_mulaw", "\u00b5-law", {}},
    {FourCharCode("ima4"), "adpcm_ima_qt", "IMA 4:1 ADPCM", {}},
};

// An encoder set up for stereo at 44.1 kHz in its first sample format; null when it cannot open.
CodecContextPtr OpenEncoder(const char* name) {
  const AVCodec* codec = avcodec_find_encoder_by_name(name);
  if (codec == nullptr) return nullptr;
  CodecContextPtr encoder(avcodec_alloc_context3(codec));
  if (!encoder) return nullptr;
  encoder->sample_rate = 44100;
  encoder->sample_fmt = codec->sample_fmts != nullptr ? codec->sample_fmts[0] : AV_SAMPLE_FMT_S16;
  av_channel_layout_default(&encoder->ch_layout, 2);
  encoder->time_base = AVRational{1, 44100};
  encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (avcodec_open2(encoder.get(), codec, nullptr) < 0) return nullptr;
  return encoder;
}

// Whether the mov muxer writes a header for a stream of this encoder's output.
bool MovieTakes(const AVCodecContext& encoder) {
  AVFormatContext* raw = nullptr;
  if (avformat_alloc_output_context2(&raw, nullptr, "mov", nullptr) < 0) return false;
  std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> output(
      raw, [](AVFormatContext* context) { avformat_free_context(context); });
  AVStream* stream = avformat_new_stream(output.get(), nullptr);
  if (stream == nullptr || avcodec_parameters_from_context(stream->codecpar, &encoder) < 0 ||
      avio_open_dyn_buf(&output->pb) < 0) {
    return false;
  }
  stream->time_base = encoder.time_base;
  const bool written = avformat_write_header(output.get(), nullptr) >= 0;
  std::uint8_t* bytes = nullptr;
  avio_close_dyn_buf(output->pb, &bytes);
  output->pb = nullptr;
  av_free(bytes);
  return written;
}

// An open exporter: the settings its dialog edits, starting from the encoder's own defaults for
// stereo at 44.1 kHz.
class FFmpegMovieExporter final : public MovieExporter {
 public:
  explicit FFmpegMovieExporter(const ExportFormat& format) : format(format) {
    if (format.bitRates.empty()) return;
    const CodecContextPtr encoder = OpenEncoder(format.encoder);
    bitRate = encoder ? static_cast<int>(encoder->bit_rate) : 0;
    if (bitRate == 0) bitRate = format.libraryBitRate;
    // An encoder default outside the offered rates is offered too, in its place.
    if (bitRate > 0 && std::find(this->format.bitRates.begin(), this->format.bitRates.end(),
                                 bitRate) == this->format.bitRates.end()) {
      this->format.bitRates.insert(
          std::upper_bound(this->format.bitRates.begin(), this->format.bitRates.end(), bitRate),
          bitRate);
    }
  }

  OSErr DoUserDialog(bool& canceled) override {
    int chosen = bitRate;
    canceled = !RunExporterDialog(format.name, format.bitRates, chosen);
    if (!canceled) bitRate = chosen;
    return kNoErr;
  }

  // "codec=<encoder>\n" and, for formats with a bit rate, "bit_rate=<bits per second>\n".
  OSErr GetSettingsAsAtomContainer(std::vector<std::uint8_t>& settings) override {
    std::string text =
        "codec=" + std::string(format.encoder != nullptr ? format.encoder : "lpcm") + "\n";
    if (!format.bitRates.empty()) text += "bit_rate=" + std::to_string(bitRate) + "\n";
    settings.assign(text.begin(), text.end());
    return kNoErr;
  }

 private:
  ExportFormat format;
  int bitRate = 0;
};

class FFmpegExporterComponent final : public Component {
 public:
  explicit FFmpegExporterComponent(const ExportFormat& format) : format(format) {}
  ComponentDescription GetDescription() const override {
    ComponentDescription description;
    description.componentType = kMovieExportType;
    description.componentSubType = format.subType;
    description.componentFlags = kCanMovieExportValidateMovie;
    return description;
  }
  OSErr Open() override {
    return format.encoder == nullptr || OpenEncoder(format.encoder) ? kNoErr : kInvalidMovieErr;
  }
  OSErr GetMIMETypeList(MIMETypeList&) override { return kInvalidMovieErr; }  // exports only
  OSErr OpenExporter(std::unique_ptr<MovieExporter>& exporter) override {
    exporter = std::make_unique<FFmpegMovieExporter>(format);
    return kNoErr;
  }

 private:
  ExportFormat format;
};

}  // namespace

const char* EncoderNameFor(std::uint32_t subType) {
  for (const auto& format : kFormats) {
    if (format.subType == subType) return format.encoder;
  }
  return nullptr;
}

std::vector<std::shared_ptr<Component>> MakeExporters() {
  std::vector<std::shared_ptr<Component>> exporters;
  for (const auto& format : kFormats) {
    if (format.encoder != nullptr) {
      const CodecContextPtr encoder = OpenEncoder(format.encoder);
      if (!encoder || !MovieTakes(*encoder)) continue;
    }
    exporters.push_back(std::make_shared<FFmpegExporterComponent>(format));
  }
  return exporters;
}

}  // namespace kiva::qt::media::ffmpeg
