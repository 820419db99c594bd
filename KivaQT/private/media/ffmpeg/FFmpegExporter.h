// Exporter components: the audio formats the mov muxer really writes with an encoder present.
#pragma once

#include "../Component.h"

#include <memory>
#include <vector>

namespace kiva::qt::media::ffmpeg {

// The encoder behind an exporter subtype ('aac ' -> "aac"), or null for uncompressed PCM and
// unknown subtypes.
const char* EncoderNameFor(std::uint32_t subType);

// Uncompressed PCM first, then each compressed format in a fixed order, where the linked
// FFmpeg has its encoder and the mov muxer accepts a stream of it (a header is written to
// memory to make sure: asking the muxer alone is not enough).
std::vector<std::shared_ptr<Component>> MakeExporters();

}  // namespace kiva::qt::media::ffmpeg
