// Localisation keys of the texts the plug-in shows, each with its English default after "=".
#pragma once

namespace kiva::messages {

inline constexpr const char* kGeneralOpen =
    "$$$/KivaPlugIns/KivaQT/GeneralOpen=General error attempting to open file using KivaQT "
    "plug-in.";
inline constexpr const char* kGeneralOpenCode =
    "$$$/KivaPlugIns/KivaQT/GeneralOpenCode=KivaQT plug-in could not open the file.  Code: @0";
inline constexpr const char* kGeneralOpenCodeMoreInfo =
    "$$$/KivaPlugIns/KivaQT/GeneralOpenCodeMoreInfo=KivaQT plug-in could not open the file.  "
    "Code: @0.  @1";
inline constexpr const char* kOpenCode2048 =
    "$$$/KivaPlugIns/KivaQT/OpenCode2048=This may indicate that the file is invalid, or uses a "
    "codec that is not installed or licensed.";
inline constexpr const char* kNoContent =
    "$$$/KivaPlugIns/KivaQT/NoContent=No audio or video was found in this QuickTime file.";
inline constexpr const char* kZeroLengthNotSupported =
    "$$$/KivaPlugIns/KivaQT/ZeroLengthNotSupported=Error: QuickTime does not support files of "
    "zero length.";
// Shared with the MP3 plug-in, whose group the key names.
inline constexpr const char* kWriteStartGeneral =
    "$$$/KivaPlugIns/KivaMp3/WriteStartGeneral=Error @0 creating file @1.  The destination may "
    "be full or no longer available.";

}  // namespace kiva::messages
