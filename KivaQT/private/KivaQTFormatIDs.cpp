#include "KivaQTFormatIDs.h"

#include <noxcore/utility/Strings.h>

namespace kiva {

const std::u16string kGeneralQTID = noxcore::utility::AsciiToUTF16("General");
const std::u16string kAudioOnlyMovID = noxcore::utility::AsciiToUTF16("AudioMov");

}  // namespace kiva
