#include "EncoderCheck.h"

#include <noxcore/utility/BinaryEncoding.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

namespace kivahost {

namespace {

// The settings dialog's format names and the encoders behind them.
struct NamedEncoder {
  const char* formatName;
  const char* encoder;
};
constexpr NamedEncoder kEncoders[] = {
    {"aac", "aac"},       {"alac", "alac"},      {"ac3", "ac3"},           {"mp3", "libmp3lame"},
    {"alaw", "pcm_alaw"}, {"ulaw", "pcm_mulaw"}, {"ima4", "adpcm_ima_qt"},
};

struct ContextDeleter {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};

// Opened as the plug-in opens its encoder: the first sample format, the usual layout for the
// channel count.
bool Opens(const AVCodec* codec, int rate, int channels) {
  std::unique_ptr<AVCodecContext, ContextDeleter> context(avcodec_alloc_context3(codec));
  if (!context) return false;
  context->sample_rate = rate;
  context->time_base = AVRational{1, rate};
  context->sample_fmt = codec->sample_fmts != nullptr ? codec->sample_fmts[0] : AV_SAMPLE_FMT_S16;
  av_channel_layout_default(&context->ch_layout, channels);
  context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  const int previous = av_log_get_level();
  av_log_set_level(AV_LOG_QUIET);  // the refusal is reported here, in the user's words
  const bool opened = avcodec_open2(context.get(), codec, nullptr) >= 0;
  av_log_set_level(previous);
  return opened;
}

std::string AcceptedRates(const AVCodec* codec) {
  if (codec->supported_samplerates == nullptr || codec->supported_samplerates[0] == 0) return "";
  int low = codec->supported_samplerates[0];
  int high = low;
  for (const int* rate = codec->supported_samplerates; *rate != 0; ++rate) {
    low = std::min(low, *rate);
    high = std::max(high, *rate);
  }
  return " (it takes " + std::to_string(low) + " to " + std::to_string(high) + " Hz)";
}

}  // namespace

std::optional<std::string> ExporterSettingsText(const std::string& settings, bool& present) {
  constexpr std::string_view kAtomic = "AtomicSettings:1:";
  const auto at = settings.find(kAtomic);
  present = at != std::string::npos;
  if (!present) return std::nullopt;
  const auto start = at + kAtomic.size();
  const auto end = settings.find(';', start);
  std::vector<unsigned char> bytes;
  if (!noxcore::utility::DecodeBinaryDataFromUTF8String(
          std::string_view(settings).substr(start, end == std::string::npos ? end : end - start),
          bytes)) {
    return std::nullopt;
  }
  return std::string(bytes.begin(), bytes.end());
}

std::string ExpectedEncoder(const std::string& formatName, const std::string& settings) {
  for (const auto& named : kEncoders) {
    if (formatName == named.formatName) return named.encoder;
  }
  bool present = false;
  const std::optional<std::string> exporterSettings = ExporterSettingsText(settings, present);
  if (!exporterSettings) return "";
  const std::string& text = *exporterSettings;
  constexpr std::string_view kCodec = "codec=";
  if (text.compare(0, kCodec.size(), kCodec) != 0) return "";
  return text.substr(kCodec.size(), text.find('\n') - kCodec.size());
}

std::string EncoderRefusal(const std::string& encoder, int rate, int channels) {
  const AVCodec* codec = avcodec_find_encoder_by_name(encoder.c_str());
  if (codec == nullptr) return "there is no " + encoder + " encoder in this FFmpeg";
  if (rate <= 0 || channels <= 0 || Opens(codec, rate, channels)) return "";
  // Which of the two it refuses: each tried beside a value every encoder takes.
  const bool rateRefused = !Opens(codec, rate, 1) && !Opens(codec, rate, 2);
  const bool channelsRefused = !Opens(codec, 48000, channels) && !Opens(codec, 44100, channels);
  if (rateRefused && !channelsRefused) {
    return "the " + encoder + " encoder does not take a sample rate of " + std::to_string(rate) +
           " Hz" + AcceptedRates(codec);
  }
  if (channelsRefused && !rateRefused) {
    return "the " + encoder + " encoder does not take " + std::to_string(channels) + " channels";
  }
  return "the " + encoder + " encoder does not take " + std::to_string(channels) + " channels at " +
         std::to_string(rate) + " Hz";
}

}  // namespace kivahost
