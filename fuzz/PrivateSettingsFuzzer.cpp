// Fuzzes the private settings string: any text must parse without harm, what a parse keeps must
// survive being written and read again, and any attribute set built within the format's rules
// must round-trip exactly.

#include "KivaQTPrivateSettings.h"
#include "MemoryHandle.h"
#include "PrivateSettings/KivaPrivateSettingsSerializer.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

using kiva::KivaPrivateSettingsSerializer;
using kiva::KivaQTPrivateSettings;

void Check(bool condition) {
  if (!condition) __builtin_trap();
}

std::u16string TakeText(FuzzedDataProvider& provider, std::size_t maxLength) {
  const std::string bytes = provider.ConsumeRandomLengthString(maxLength * 2);
  std::u16string text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    text.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                         static_cast<unsigned char>(bytes[i + 1]) << 8));
  }
  return text;
}

// The whole input read as UTF-16LE: the form the host hands the settings string in.
std::u16string AsUtf16(const std::uint8_t* data, std::size_t size) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    text.push_back(static_cast<char16_t>(data[i] | data[i + 1] << 8));
  }
  return text;
}

void ParseIsStable(const std::u16string& text) {
  KivaPrivateSettingsSerializer parsed;
  parsed.Initialize(text);
  const std::u16string once = parsed.GetSerializedString();
  // An empty name is only read back at the very start of the string: a string attribute of
  // that name written after any integer entry is lost by design.
  if (!parsed.GetAttribute(u"").empty() && once.rfind(u":1:", 0) != 0) return;
  KivaPrivateSettingsSerializer reread;
  reread.Initialize(once);
  Check(reread.GetSerializedString() == once);
}

void SettingsAreStable(const std::u16string& text) {
  KivaQTPrivateSettings settings;
  settings.InitializeFromSerialized(text);
  KivaQTPrivateSettings reread;
  reread.InitializeFromSerialized(settings.GetSerialized());
  Check(reread.GetFormatIndex() == settings.GetFormatIndex());
  const kiva::Handle a = settings.GetAtomicContainer();
  const kiva::Handle b = reread.GetAtomicContainer();
  Check((a == nullptr) == (b == nullptr));
  if (a != nullptr) {
    Check(kiva::GetHandleSize(a) == kiva::GetHandleSize(b));
    Check(std::memcmp(*a, *b, kiva::GetHandleSize(a)) == 0);
  }
}

// Names of two or more characters without ':', string values not empty and without ';'.
void BuiltAttributesRoundTrip(FuzzedDataProvider& provider) {
  KivaPrivateSettingsSerializer written;
  std::vector<std::pair<std::u16string, int>> integers;
  std::vector<std::pair<std::u16string, std::u16string>> strings;
  const int count = provider.ConsumeIntegralInRange<int>(0, 12);
  for (int i = 0; i < count; ++i) {
    std::u16string name = TakeText(provider, 12);
    for (auto& c : name) c = c == u':' ? u'_' : c;
    if (name.size() < 2) name += u"nm";
    if (provider.ConsumeBool()) {
      const int value = provider.ConsumeIntegral<int>();
      written.AddAttribute(name, value);
      integers.emplace_back(name, value);
    } else {
      std::u16string value = TakeText(provider, 24);
      for (auto& c : value) c = c == u';' ? u'.' : c;
      if (value.empty()) value = u"v";
      written.AddAttribute(name, value);
      strings.emplace_back(name, value);
    }
  }
  KivaPrivateSettingsSerializer read;
  read.Initialize(written.GetSerializedString());
  Check(read.GetSerializedString() == written.GetSerializedString());
  for (const auto& [name, value] : integers) {
    int readValue = 0;
    Check(read.QueryAttribute(name, readValue));
    Check(readValue == written.GetAttribute(name, 0));
    (void)value;
  }
  for (const auto& [name, value] : strings)
    Check(read.GetAttribute(name) == written.GetAttribute(name));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text = AsUtf16(data, size);
  ParseIsStable(text);
  SettingsAreStable(text);
  FuzzedDataProvider provider(data, size);
  BuiltAttributesRoundTrip(provider);
  return 0;
}
