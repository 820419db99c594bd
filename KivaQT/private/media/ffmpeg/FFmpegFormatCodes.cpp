#include "FFmpegFormatCodes.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <cstring>

namespace kiva::qt::media::ffmpeg {

std::uint32_t FormatCodeOf(AVCodecID id) {
  const AVCodecTag* const movTags[] = {avformat_get_mov_audio_tags(), avformat_get_mov_video_tags(),
                                       nullptr};
  if (const unsigned tag = av_codec_get_tag(movTags, id); tag != 0) {
    // The table keeps codes with their first character in the low byte; codes here read high
    // byte first.
    return (tag & 0xFFu) << 24 | ((tag >> 8) & 0xFFu) << 16 | ((tag >> 16) & 0xFFu) << 8 |
           tag >> 24;
  }
  const char* name = avcodec_get_name(id);
  const std::size_t length = name != nullptr ? std::strlen(name) : 0;
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    code = code << 8 | static_cast<unsigned char>(i < length ? name[i] : ' ');
  }
  return code;
}

std::string CompressionNameOf(std::uint32_t formatCode) {
  if (formatCode == 0) return {};
  // Sound codings first: a few codes ('raw ') name a sound and a picture coding alike, and the
  // sound one is the one asked about far more often.
  for (const AVMediaType type : {AVMEDIA_TYPE_AUDIO, AVMEDIA_TYPE_VIDEO}) {
    std::string found;
    const AVCodecDescriptor* descriptor = nullptr;
    while ((descriptor = avcodec_descriptor_next(descriptor)) != nullptr) {
      if (descriptor->type != type || FormatCodeOf(descriptor->id) != formatCode) continue;
      const std::string name =
          descriptor->long_name != nullptr ? descriptor->long_name : descriptor->name;
      if (found.empty()) {
        found = name;
      } else if (name != found && found.rfind("PCM ", 0) == 0 && name.rfind("PCM ", 0) == 0) {
        // A code that PCM of either byte order shares ('in24', 'fl32') names neither: the
        // stream's own description says which it is.
        return {};
      }
    }
    if (!found.empty()) return found;
  }
  return {};
}

}  // namespace kiva::qt::media::ffmpeg
