// Status codes every KivaInterface selector answers with. 0 is success.
#pragma once

namespace kiva {

enum KivaStatus : int {
  kKivaSuccess = 0,
  kKivaGeneralError = -1,       // general failure; also FinishWrite with a null argument
  kKivaUnknownSelector = -2,    // unknown selector, including the hole at 15
  kKivaNotSupported = -3,       // the operation is not offered by this plug-in
  kKivaCannotOpen = -4,         // the file holds neither audio nor video
  kKivaNoVideo = -5,            // a frame was asked of a file without video
  kKivaBadArgument = -6,        // null handle or record, or an argument out of range
  kKivaReadAudioFailed = -9,    // audio could not be read
  kKivaWriteAudioFailed = -10,  // a block could not be written
};

}  // namespace kiva
