#include "KivaPrivateSettingsSerializer.h"

#include <noxcore/utility/Strings.h>

#include <cstdint>
#include <limits>
#include <optional>

namespace kiva {

namespace {

constexpr std::u16string_view kSeparators = u":;";
constexpr std::u16string_view kNumberCharacters = u"-0123456789";

bool OnlyNumberCharacters(std::u16string_view text) {
  return text.find_first_not_of(kNumberCharacters) == std::u16string_view::npos;
}

// The host's conversion; a text it refuses, or a number beyond an int, skips the entry.
std::optional<int> ToInt(std::u16string_view text) {
  const std::optional<std::int64_t> number = noxcore::utility::StringToNumber(text);
  if (!number || *number < std::numeric_limits<int>::min() ||
      *number > std::numeric_limits<int>::max()) {
    return std::nullopt;
  }
  return static_cast<int>(*number);
}

}  // namespace

void KivaPrivateSettingsSerializer::Initialize(const std::u16string& serialized) {
  integerAttributes.clear();
  const std::u16string_view text = serialized;
  const char16_t colon = kSeparators[0];
  const char16_t semicolon = kSeparators[1];
  std::size_t pos = 0;
  while (true) {
    const std::size_t c1 = text.find(colon, pos);
    if (c1 == std::u16string_view::npos) break;
    const std::size_t c2 = text.find(colon, c1 + 1);
    if (c2 == std::u16string_view::npos) break;
    const std::size_t end = text.find(semicolon, c2);
    if (end == std::u16string_view::npos) break;
    if (end > c2 + 1) {
      const std::u16string_view typeText = text.substr(c1 + 1, c2 - c1 - 1);
      const std::optional<int> type =
          OnlyNumberCharacters(typeText) ? ToInt(typeText) : std::nullopt;
      // Names shorter than two characters are refused, except an empty name at the very start,
      // where c1 - 1 wraps round in 32-bit arithmetic.
      const bool nameAccepted =
          static_cast<std::uint32_t>(pos) < static_cast<std::uint32_t>(c1) - 1u;
      if (type && nameAccepted) {
        const std::u16string name(text.substr(pos, c1 - pos));
        const std::u16string_view valueText = text.substr(c2 + 1, end - c2 - 1);
        if (*type == 0) {
          if (OnlyNumberCharacters(valueText)) {
            if (const std::optional<int> value = ToInt(valueText)) AddAttribute(name, *value);
          }
        } else {
          AddAttribute(name, std::u16string(valueText));
        }
      }
    }
    pos = end + 1;
  }
}

void KivaPrivateSettingsSerializer::AddAttribute(const std::u16string& name,
                                                 const std::u16string& value) {
  stringAttributes.emplace(name, value);
}

void KivaPrivateSettingsSerializer::AddAttribute(const std::u16string& name, int value) {
  integerAttributes.emplace(name, value);
}

std::u16string KivaPrivateSettingsSerializer::GetAttribute(const std::u16string& name) const {
  const auto found = stringAttributes.find(name);
  return found != stringAttributes.end() ? found->second : std::u16string();
}

int KivaPrivateSettingsSerializer::GetAttribute(const std::u16string& name,
                                                int defaultValue) const {
  const auto found = integerAttributes.find(name);
  return found != integerAttributes.end() ? found->second : defaultValue;
}

bool KivaPrivateSettingsSerializer::QueryAttribute(const std::u16string& name, int& value) const {
  const auto found = integerAttributes.find(name);
  if (found == integerAttributes.end()) return false;
  value = found->second;
  return true;
}

void KivaPrivateSettingsSerializer::Serialize(const IntegerMap& attributes, std::u16string& out) {
  out.clear();
  for (const auto& [name, value] : attributes) {
    out += name + u":0:" + noxcore::utility::NumberToString(value) + u";";
  }
}

void KivaPrivateSettingsSerializer::Serialize(const StringMap& attributes, std::u16string& out) {
  out.clear();
  for (const auto& [name, value] : attributes) out += name + u":1:" + value + u";";
}

std::u16string KivaPrivateSettingsSerializer::GetSerializedString() const {
  std::u16string integers;
  std::u16string strings;
  Serialize(integerAttributes, integers);
  Serialize(stringAttributes, strings);
  return integers + strings;
}

}  // namespace kiva
