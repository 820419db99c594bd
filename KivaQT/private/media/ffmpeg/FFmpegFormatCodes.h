// Four-character codes of codings, as movies name them.
#pragma once

#include <cstdint>
#include <string>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace kiva::qt::media::ffmpeg {

// The coding's code in movies ('mp4a', 'sowt', 'avc1', ...); codings movies do not carry get
// the first four characters of their codec name ("vorb").
std::uint32_t FormatCodeOf(AVCodecID id);

// The long name of the coding a code stands for, or "" when no coding has that code.
std::string CompressionNameOf(std::uint32_t formatCode);

}  // namespace kiva::qt::media::ffmpeg
