// Asks an export format's encoder, before the plug-in is asked, whether it takes the export's
// sample rate and channel count: the plug-in answers any refusal with one general sentence, and
// the user should learn which of the two was refused.
#pragma once

#include <optional>
#include <string>

namespace kivahost {

// The exporter's own settings kept in a settings string's "AtomicSettings" attribute, decoded
// to their text ("codec=ac3\nbit_rate=384000\n"). `present` tells whether the string has the
// attribute; nothing when it has none or when it does not decode.
std::optional<std::string> ExporterSettingsText(const std::string& settings, bool& present);

// The encoder kivahost expects for an export: from the format's name in the settings dialog
// ("aac", "mp3", ...), or else from the "codec=" line of the exporter's own settings inside a
// settings string. Empty when neither names one (uncompressed PCM, or a bare format index).
std::string ExpectedEncoder(const std::string& formatName, const std::string& settings);

// Empty when the encoder takes `rate` Hz with `channels` channels, else why not, in plain
// words ("the aac encoder does not take a sample rate of 8 Hz (it takes 7350 to 96000 Hz)").
std::string EncoderRefusal(const std::string& encoder, int rate, int channels);

}  // namespace kivahost
