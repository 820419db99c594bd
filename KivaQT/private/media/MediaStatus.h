// Status codes of the media port. They keep the classic media-layer values because hosts show
// them to users in messages ("Code: -43") and match on them.
#pragma once

#include <cstdint>

namespace kiva::qt::media {

using OSErr = std::int32_t;

inline constexpr OSErr kNoErr = 0;
inline constexpr OSErr kPathConversionErr = -1;       // a path that cannot be converted from UTF-16
inline constexpr OSErr kIOErr = -36;                  // I/O error
inline constexpr OSErr kFileNotFoundErr = -43;        // no such file
inline constexpr OSErr kPermissionErr = -54;          // not allowed to open it
inline constexpr OSErr kMemFullErr = -108;            // out of memory
inline constexpr OSErr kBadComponentTypeErr = -2005;  // a component of another kind
inline constexpr OSErr kInvalidMovieErr = -2048;      // not a movie, or no decoder for it

}  // namespace kiva::qt::media
