#include "KivaQTPrivateSettings.h"

#include "PrivateSettings/KivaPrivateSettingsSerializer.h"

#include <noxcore/utility/BinaryEncoding.h>
#include <noxcore/utility/Strings.h>

#include <cstring>
#include <vector>

namespace kiva {

namespace {

const std::u16string kFormatIndexKey = noxcore::utility::AsciiToUTF16("FormatIndex");
const std::u16string kAtomicSettingsKey = noxcore::utility::AsciiToUTF16("AtomicSettings");

bool HoldsData(Handle handle) { return handle != nullptr && *handle != nullptr; }

}  // namespace

KivaQTPrivateSettings::~KivaQTPrivateSettings() {
  if (HoldsData(atomicContainer)) DisposeHandle(atomicContainer);
}

KivaQTPrivateSettings& KivaQTPrivateSettings::SetDefaults() {
  atomicContainer = nullptr;
  formatIndex = 0;
  return *this;
}

void KivaQTPrivateSettings::SetAtomicContainer(Handle handle) {
  if (atomicContainer != nullptr) DisposeHandle(atomicContainer);
  atomicContainer = handle;
}

bool KivaQTPrivateSettings::InitializeFromSerialized(const std::u16string& serialized) {
  SetDefaults();
  KivaPrivateSettingsSerializer serializer;
  serializer.Initialize(serialized);
  int index = 0;
  if (serializer.QueryAttribute(kFormatIndexKey, index)) formatIndex = index;
  const std::u16string text = serializer.GetAttribute(kAtomicSettingsKey);
  std::string narrow;
  std::vector<unsigned char> bytes;
  if (!text.empty() && noxcore::utility::UTF16to8(text, narrow) &&
      noxcore::utility::DecodeBinaryDataFromUTF8String(narrow, bytes)) {
    if (Handle handle = NewHandle(bytes.size())) {
      std::memset(*handle, 0, bytes.size());
      if (!bytes.empty()) std::memcpy(*handle, bytes.data(), bytes.size());
      atomicContainer = handle;
    }
  }
  return true;
}

std::u16string KivaQTPrivateSettings::GetSerialized() const {
  KivaPrivateSettingsSerializer serializer;
  if (HoldsData(atomicContainer)) {
    std::string encoded;
    std::u16string text;
    if (noxcore::utility::EncodeBinaryDataToUTF8String(*atomicContainer,
                                                       GetHandleSize(atomicContainer), encoded) &&
        noxcore::utility::UTF8to16(encoded, text)) {
      serializer.AddAttribute(kAtomicSettingsKey, text);
    }
  }
  serializer.AddAttribute(kFormatIndexKey, formatIndex);
  return serializer.GetSerializedString();
}

}  // namespace kiva
