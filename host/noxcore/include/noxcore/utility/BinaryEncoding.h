// Binary data as 8-bit text (standard base64, padded): safe inside settings strings because its
// alphabet holds no ';' and is plain ASCII, which survives any UTF-8/UTF-16 round trip.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace noxcore::utility {

bool EncodeBinaryDataToUTF8String(const void* data, std::size_t size, std::string& out);
// False, with `out` empty, for anything that is not well-formed padded base64.
bool DecodeBinaryDataFromUTF8String(std::string_view text, std::vector<unsigned char>& out);

}  // namespace noxcore::utility
