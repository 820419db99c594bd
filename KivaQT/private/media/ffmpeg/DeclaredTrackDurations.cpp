#include "DeclaredTrackDurations.h"

#include <fstream>
#include <vector>

namespace kiva::qt::media::ffmpeg {

namespace {

std::uint64_t BigEndian(const std::uint8_t* bytes, int count) {
  std::uint64_t value = 0;
  for (int i = 0; i < count; ++i) value = value << 8 | bytes[i];
  return value;
}

// Calls `visit(type, body)` for each atom in [begin, end) of `data`.
template <typename Visit>
void EachAtom(const std::vector<std::uint8_t>& data, std::size_t begin, std::size_t end,
              Visit visit) {
  std::size_t at = begin;
  while (at + 8 <= end) {
    std::uint64_t size = BigEndian(&data[at], 4);
    std::size_t header = 8;
    if (size == 1 && at + 16 <= end) {
      size = BigEndian(&data[at + 8], 8);
      header = 16;
    } else if (size == 0) {
      size = end - at;
    }
    if (size < header || size > end - at) return;
    const std::string type(reinterpret_cast<const char*>(&data[at + 4]), 4);
    visit(type, at + header, at + static_cast<std::size_t>(size));
    at += static_cast<std::size_t>(size);
  }
}

}  // namespace

DeclaredTrackDurations ReadDeclaredTrackDurations(const std::string& path) {
  DeclaredTrackDurations declared;
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) return declared;
  const auto fileSize = static_cast<std::uint64_t>(file.tellg());
  // Find the movie atom among the top-level ones without reading the media data.
  std::uint64_t at = 0;
  std::vector<std::uint8_t> moov;
  while (moov.empty()) {
    std::uint8_t header[16];
    file.seekg(static_cast<std::streamoff>(at));
    if (!file.read(reinterpret_cast<char*>(header), 8)) return declared;
    std::uint64_t size = BigEndian(header, 4);
    if (size == 1) {
      if (!file.read(reinterpret_cast<char*>(header + 8), 8)) return declared;
      size = BigEndian(header + 8, 8);
    }
    if (size < 8) return declared;
    if (std::string(reinterpret_cast<const char*>(header + 4), 4) == "moov") {
      constexpr std::uint64_t kLargestHeader = 256u << 20;  // a damaged size reads nothing
      if (size > kLargestHeader || size > fileSize - at) return declared;
      moov.resize(static_cast<std::size_t>(size));
      file.seekg(static_cast<std::streamoff>(at));
      if (!file.read(reinterpret_cast<char*>(moov.data()), static_cast<std::streamsize>(size))) {
        return declared;
      }
    }
    at += size;
  }
  EachAtom(moov, 8, moov.size(), [&](const std::string& type, std::size_t begin, std::size_t end) {
    if (type == "mvhd" && end - begin >= 32) {
      const bool wide = moov[begin] == 1;  // version 1: 64-bit times
      declared.movieScale =
          static_cast<std::int64_t>(BigEndian(&moov[begin + (wide ? 20 : 12)], 4));
    }
    if (type != "trak") return;
    EachAtom(moov, begin, end, [&](const std::string& inner, std::size_t from, std::size_t to) {
      if (inner != "tkhd" || to - from < 36) return;
      const bool wide = moov[from] == 1;
      const auto id = static_cast<std::int64_t>(BigEndian(&moov[from + (wide ? 20 : 12)], 4));
      const auto duration =
          static_cast<std::int64_t>(BigEndian(&moov[from + (wide ? 28 : 20)], wide ? 8 : 4));
      if (duration > 0 && duration != 0xFFFFFFFF) declared.tracks[id] = duration;
    });
  });
  return declared;
}

}  // namespace kiva::qt::media::ffmpeg
