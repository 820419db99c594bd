// The host's sample-format codes, as carried by KivaFormatInterface.
#pragma once

namespace kiva {

enum AudioSampleType : int {
  kAudioSampleType_Unknown = 0,
  kAudioSampleType_8Bit = 10,       // unsigned, 1 byte
  kAudioSampleType_16Bit = 20,      // signed, 2 bytes, native order
  kAudioSampleType_24Bit = 30,      // signed, 3 bytes little-endian
  kAudioSampleType_32BitFloat = 40  // IEEE float, 4 bytes
};

}  // namespace kiva
