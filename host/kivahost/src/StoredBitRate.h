// The bit rate of a file's audio as the file stores it (coded). The plug-in reports only the
// rate of the audio it delivers, 32-bit float samples, which says nothing about the file; a
// person comparing files wants the stored rate, the one other media tools show.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kivahost {

// Bits per second of all of the file's audio tracks together (cover art and video are not
// counted), or nothing when the file cannot be read this way or holds no audio.
std::optional<std::int64_t> StoredAudioBitRate(const std::string& path);

}  // namespace kivahost
