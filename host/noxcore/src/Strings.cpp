#include <noxcore/utility/Strings.h>

#include <utf8.h>

#include <array>
#include <charconv>
#include <ostream>

namespace noxcore::utility {

std::u16string AsciiToUTF16(std::string_view ascii) {
  std::u16string out;
  out.reserve(ascii.size());
  for (const char c : ascii) out.push_back(static_cast<unsigned char>(c));
  return out;
}

bool UTF8to16(std::string_view utf8, std::u16string& out) {
  out.clear();
  try {
    utf8::utf8to16(utf8.begin(), utf8.end(), std::back_inserter(out));
    return true;
  } catch (const utf8::exception&) {
    out.clear();
    return false;
  }
}

bool UTF16to8(std::u16string_view utf16, std::string& out) {
  out.clear();
  try {
    utf8::utf16to8(utf16.begin(), utf16.end(), std::back_inserter(out));
    return true;
  } catch (const utf8::exception&) {
    out.clear();
    return false;
  }
}

std::u16string NumberToString(std::int64_t value) {
  std::array<char, 24> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return AsciiToUTF16(std::string_view(buffer.data(), result.ptr - buffer.data()));
}

std::optional<std::int64_t> StringToNumber(std::u16string_view text) {
  std::string narrow;
  for (const char16_t c : text) {
    if (c > 0x7F) return std::nullopt;
    narrow.push_back(static_cast<char>(c));
  }
  // from_chars takes no '+'; accept it as people write it.
  std::string_view digits = narrow;
  if (!digits.empty() && digits.front() == '+') {
    digits.remove_prefix(1);
    if (!digits.empty() && digits.front() == '-') return std::nullopt;
  }
  std::int64_t value = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (result.ec != std::errc() || result.ptr != digits.data() + digits.size()) return std::nullopt;
  return value;
}

std::u16string ReplaceInString(const std::u16string& text, const std::u16string& r0,
                               const std::u16string& r1, const std::u16string& r2,
                               const std::u16string& r3, const std::u16string& r4,
                               const std::u16string& r5, const std::u16string& r6,
                               const std::u16string& r7, const std::u16string& r8,
                               const std::u16string& r9) {
  const std::array<const std::u16string*, 10> replacements{&r0, &r1, &r2, &r3, &r4,
                                                           &r5, &r6, &r7, &r8, &r9};
  std::u16string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'@' && i + 1 < text.size() && text[i + 1] >= u'0' && text[i + 1] <= u'9') {
      out += *replacements[text[i + 1] - u'0'];
      ++i;
    } else {
      out.push_back(text[i]);
    }
  }
  return out;
}

std::ostream& ENDL(std::ostream& stream) {
  stream << '\n';
  return stream.flush();
}

}  // namespace noxcore::utility
