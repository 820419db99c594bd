#include "DeclaredTrackDurations.h"

#include <fstream>

namespace kiva::qt::media::ffmpeg {

namespace {

std::uint64_t BigEndian(const std::uint8_t* bytes, int count) {
  std::uint64_t value = 0;
  for (int i = 0; i < count; ++i) value = value << 8 | bytes[i];
  return value;
}

// Reads up to `count` bytes at `at` into `out`; how many came.
std::size_t ReadAt(std::ifstream& file, std::uint64_t at, std::uint8_t* out, std::size_t count) {
  file.clear();
  file.seekg(static_cast<std::streamoff>(at));
  file.read(reinterpret_cast<char*>(out), static_cast<std::streamsize>(count));
  return static_cast<std::size_t>(file.gcount());
}

// Calls `visit(type, body, end)` for each atom in [begin, end) of the file, reading only the
// atoms' headers: the sample tables and media data are never read.
template <typename Visit>
void EachAtom(std::ifstream& file, std::uint64_t begin, std::uint64_t end, Visit visit) {
  std::uint64_t at = begin;
  while (at + 8 <= end) {
    std::uint8_t header[16];
    if (ReadAt(file, at, header, 8) != 8) return;
    std::uint64_t size = BigEndian(header, 4);
    std::uint64_t headerSize = 8;
    if (size == 1) {
      if (at + 16 > end || ReadAt(file, at + 8, header + 8, 8) != 8) return;
      size = BigEndian(header + 8, 8);
      headerSize = 16;
    } else if (size == 0) {
      size = end - at;
    }
    if (size < headerSize || size > end - at) return;
    visit(std::string(reinterpret_cast<const char*>(header + 4), 4), at + headerSize, at + size);
    at += size;
  }
}

}  // namespace

DeclaredTrackDurations ReadDeclaredTrackDurations(const std::string& path) {
  DeclaredTrackDurations declared;
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) return declared;
  const auto fileSize = static_cast<std::uint64_t>(file.tellg());
  EachAtom(file, 0, fileSize, [&](const std::string& type, std::uint64_t begin, std::uint64_t end) {
    if (type != "moov") return;
    EachAtom(file, begin, end, [&](const std::string& child, std::uint64_t from, std::uint64_t to) {
      std::uint8_t body[36];
      if (child == "mvhd" && to - from >= 32 && ReadAt(file, from, body, 32) == 32) {
        const bool wide = body[0] == 1;  // version 1: 64-bit times
        declared.movieScale = static_cast<std::int64_t>(BigEndian(&body[wide ? 20 : 12], 4));
      }
      if (child != "trak") return;
      EachAtom(file, from, to, [&](const std::string& inner, std::uint64_t at, std::uint64_t stop) {
        if (inner != "tkhd" || stop - at < 36 || ReadAt(file, at, body, 36) != 36) return;
        const bool wide = body[0] == 1;
        const auto id = static_cast<std::int64_t>(BigEndian(&body[wide ? 20 : 12], 4));
        const auto duration =
            static_cast<std::int64_t>(BigEndian(&body[wide ? 28 : 20], wide ? 8 : 4));
        if (duration > 0 && duration != 0xFFFFFFFF) declared.tracks[id] = duration;
      });
    });
  });
  return declared;
}

}  // namespace kiva::qt::media::ffmpeg
