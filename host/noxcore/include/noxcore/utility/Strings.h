// Host string helpers: UTF conversion, number text, placeholder replacement.
// Host strings are UTF-16 (std::u16string); strings that face the platform are UTF-8.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace noxcore::utility {

// Widens 7-bit ASCII. Bytes above 0x7F are kept as their code unit value (Latin-1).
std::u16string AsciiToUTF16(std::string_view ascii);

// Strict conversions: invalid input (bad UTF-8, unpaired surrogates) gives false and leaves
// `out` empty, so a caller never works on a half-converted path.
bool UTF8to16(std::string_view utf8, std::u16string& out);
bool UTF16to8(std::u16string_view utf16, std::string& out);

// Decimal text, with a minus sign when negative.
std::u16string NumberToString(std::int64_t value);
// The whole text must be a decimal integer (optional sign) that fits 64 bits.
std::optional<std::int64_t> StringToNumber(std::u16string_view text);

// Replaces every "@0".."@9" in `text` with the matching replacement (an empty one removes the
// placeholder). Replacements are inserted as they are and never scanned again.
std::u16string ReplaceInString(const std::u16string& text, const std::u16string& r0 = {},
                               const std::u16string& r1 = {}, const std::u16string& r2 = {},
                               const std::u16string& r3 = {}, const std::u16string& r4 = {},
                               const std::u16string& r5 = {}, const std::u16string& r6 = {},
                               const std::u16string& r7 = {}, const std::u16string& r8 = {},
                               const std::u16string& r9 = {});

// Stream manipulator: writes "\n" and flushes.
std::ostream& ENDL(std::ostream& stream);

}  // namespace noxcore::utility
