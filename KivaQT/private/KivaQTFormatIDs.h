// Format identifiers the host matches on: the import format and the audio-only movie export.
#pragma once

#include <string>

namespace kiva {

extern const std::u16string kGeneralQTID;     // "General"
extern const std::u16string kAudioOnlyMovID;  // "AudioMov"

}  // namespace kiva
