#include "FFmpegExporter.h"

#include "FFmpegPtr.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <cstring>

namespace kiva::qt::media::ffmpeg {

namespace {

struct ExportFormat {
  std::uint32_t subType;
  const char* encoder;  // null: uncompressed PCM, written without an encoder
};

// The catalogue's order. Subtypes are the formats' four-character sound format codes.
const ExportFormat kFormats[] = {
    {FourCharCode("lpcm"), nullptr},      {FourCharCode("aac "), "aac"},
    {FourCharCode("alac"), "alac"},       {FourCharCode("ac-3"), "ac3"},
    {FourCharCode(".mp3"), "libmp3lame"}, {FourCharCode("alaw"), "pcm_alaw"},
    {FourCharCode("ulaw"), "pcm_mulaw"},  {FourCharCode("ima4"), "adpcm_ima_qt"},
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
