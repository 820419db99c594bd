// What the plug-in's fuzz targets share: calls into the plug-in made the way a host makes them,
// start-up once per process, the generated media they read, and a reader that turns the
// fuzzer's bytes into the values of a request.
#pragma once

#include "HostRecords.h"
#include "KivaQTInterface.h"
#include "QTMediaLayer.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace kiva::fuzz {

// A failed expectation ends the run as a crash, so that the fuzzer keeps the input.
inline void Check(bool condition) {
  if (!condition) __builtin_trap();
}

// One request, served by a fresh interface object as the bundle's KivaInterface does.
inline int Call(int selector, void* handle, void* record) {
  KivaQTInterface kivaInterface;
  return kivaInterface.EntryPoint(selector, handle, record);
}

// The start a host gives the plug-in once after loading it. Describing (selector 0) starts the
// media layer, but it also sets up the module's resources, which need the module inside a
// bundle, and it may be asked only once per load; a fuzz target is no bundle, so it starts the
// media layer the way describing does, and then calls Initialize (selector 1).
inline void StartPlugIn() {
  Check(qt::Initialize());
  Check(Call(kSelInitialize, nullptr, nullptr) == kKivaSuccess);
}

// The directory that fuzz/make-media filled.
inline std::string MediaPath(const char* name) { return std::string(KIVA_FUZZ_MEDIA) + "/" + name; }

// Values taken from the front of the input; an exhausted input answers zeros.
class ByteReader {
 public:
  ByteReader(const std::uint8_t* data, std::size_t size) : data(data), size(size) {}
  bool Empty() const { return position >= size; }
  std::uint8_t Byte() { return position < size ? data[position++] : 0; }
  template <class T>
  T Integer() {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) value = value << 8 | Byte();
    return static_cast<T>(value);
  }
  // A value in [low, high].
  std::int64_t Between(std::int64_t low, std::int64_t high) {
    const auto span = static_cast<std::uint64_t>(high - low) + 1;
    return low + static_cast<std::int64_t>(Integer<std::uint32_t>() % span);
  }
  // Up to `maximum` UTF-16 units, two bytes each, any values (lone surrogates included).
  std::u16string Text(std::size_t maximum) {
    std::u16string text;
    const std::size_t length = Byte() % (maximum + 1);
    for (std::size_t i = 0; i < length && !Empty(); ++i) {
      text.push_back(static_cast<char16_t>(Integer<std::uint16_t>()));
    }
    return text;
  }

 private:
  const std::uint8_t* data;
  std::size_t size;
  std::size_t position = 0;
};

}  // namespace kiva::fuzz
