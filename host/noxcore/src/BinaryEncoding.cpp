#include <noxcore/utility/BinaryEncoding.h>

#include <openssl/evp.h>

#include <climits>

namespace noxcore::utility {

bool EncodeBinaryDataToUTF8String(const void* data, std::size_t size, std::string& out) {
  out.clear();
  if (size > static_cast<std::size_t>(INT_MAX / 4 * 3)) return false;
  if (size == 0) return true;
  if (data == nullptr) return false;
  std::string text(4 * ((size + 2) / 3) + 1, '\0');
  const int written =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                      static_cast<const unsigned char*>(data), static_cast<int>(size));
  text.resize(static_cast<std::size_t>(written));
  out = std::move(text);
  return true;
}

bool DecodeBinaryDataFromUTF8String(std::string_view text, std::vector<unsigned char>& out) {
  out.clear();
  if (text.empty()) return true;
  // EVP_DecodeBlock skips surrounding blanks and does not check the padding; be strict here so
  // that only our own encoder's output is accepted.
  if (text.size() % 4 != 0 || text.size() > INT_MAX) return false;
  std::size_t padding = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool alphabet = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                          (c >= '0' && c <= '9') || c == '+' || c == '/';
    if (c == '=') {
      if (i + 2 < text.size()) return false;
      ++padding;
    } else if (!alphabet || padding > 0) {
      return false;
    }
  }
  std::vector<unsigned char> bytes(text.size() / 4 * 3);
  const int decoded =
      EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                      static_cast<int>(text.size()));
  if (decoded < 0 || static_cast<std::size_t>(decoded) < padding) return false;
  bytes.resize(static_cast<std::size_t>(decoded) - padding);
  out = std::move(bytes);
  return true;
}

}  // namespace noxcore::utility
