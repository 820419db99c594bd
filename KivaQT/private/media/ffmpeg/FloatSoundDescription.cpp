#include "FloatSoundDescription.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <vector>

namespace kiva::qt::media::ffmpeg {

namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint32_t Read32(const std::uint8_t* at) {
  return static_cast<std::uint32_t>(at[0]) << 24 | static_cast<std::uint32_t>(at[1]) << 16 |
         static_cast<std::uint32_t>(at[2]) << 8 | at[3];
}

void Put16(Bytes& out, std::uint32_t value) {
  out.push_back(static_cast<std::uint8_t>(value >> 8));
  out.push_back(static_cast<std::uint8_t>(value));
}

void Put32(Bytes& out, std::uint32_t value) {
  Put16(out, value >> 16);
  Put16(out, value & 0xFFFF);
}

void Put64(Bytes& out, std::uint64_t value) {
  Put32(out, static_cast<std::uint32_t>(value >> 32));
  Put32(out, static_cast<std::uint32_t>(value));
}

void SetSize(Bytes& atom) {
  const auto size = static_cast<std::uint32_t>(atom.size());
  for (int i = 0; i < 4; ++i)
    atom[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
}

// A version 1 'fl32'/'fl64' sound description as a version 2 'lpcm' one; nothing for others.
std::optional<Bytes> AsLinearPcm(const std::uint8_t* entry, std::size_t size) {
  constexpr std::size_t kVersion1 = 8 + 8 + 20 + 16;  // header, sample entry, v0 and v1 fields
  if (size < kVersion1) return std::nullopt;
  const std::string type(reinterpret_cast<const char*>(entry + 4), 4);
  const int bits = type == "fl32" ? 32 : type == "fl64" ? 64 : 0;
  if (bits == 0 || Read32(entry + 16) >> 16 != 1) return std::nullopt;  // version 1 only
  const std::uint32_t channels = Read32(entry + 24) >> 16;
  const std::uint32_t rate = Read32(entry + 32) >> 16;  // 16.16 fixed point
  // The byte order is little-endian only where 'wave' holds an 'enda' of 1.
  bool littleEndian = false;
  Bytes extensions;
  for (std::size_t at = kVersion1; at + 8 <= size;) {
    const std::uint32_t length = Read32(entry + at);
    if (length < 8 || length > size - at) return std::nullopt;
    if (std::memcmp(entry + at + 4, "wave", 4) == 0) {
      for (std::size_t inner = at + 8; inner + 8 <= at + length;) {
        const std::uint32_t innerLength = Read32(entry + inner);
        if (innerLength < 8 || innerLength > at + length - inner) break;
        if (std::memcmp(entry + inner + 4, "enda", 4) == 0 && innerLength >= 10) {
          littleEndian = (entry[inner + 8] | entry[inner + 9]) != 0;
        }
        inner += innerLength;
      }
    } else {
      extensions.insert(extensions.end(), entry + at, entry + at + length);  // 'chan' and others
    }
    at += length;
  }
  if (!littleEndian || channels == 0) return std::nullopt;
  Bytes out;
  Put32(out, 0);
  out.insert(out.end(), {'l', 'p', 'c', 'm'});
  out.insert(out.end(), entry + 8, entry + 16);  // reserved, data reference index
  Put16(out, 2);                                 // version
  Put16(out, 0);                                 // revision
  Put32(out, 0);                                 // vendor
  Put16(out, 3);
  Put16(out, 16);
  Put16(out, 0xFFFE);
  Put16(out, 0);
  Put32(out, 0x00010000);
  Put32(out, 72);  // the size of the description without extensions
  double sampleRate = rate;
  std::uint64_t rateBits = 0;
  std::memcpy(&rateBits, &sampleRate, sizeof rateBits);
  Put64(out, rateBits);
  Put32(out, channels);
  Put32(out, 0x7F000000);
  Put32(out, static_cast<std::uint32_t>(bits));
  Put32(out, 1 | 8);                                            // float, packed; no big-endian flag
  Put32(out, static_cast<std::uint32_t>(bits / 8) * channels);  // bytes per packet
  Put32(out, 1);                                                // frames per packet
  out.insert(out.end(), extensions.begin(), extensions.end());
  SetSize(out);
  return out;
}

// `atom` with every float description below it rewritten; `changed` tells whether any was.
Bytes Rewrite(const std::uint8_t* atom, std::size_t size, bool& changed) {
  const std::string type(reinterpret_cast<const char*>(atom + 4), 4);
  const bool container =
      type == "moov" || type == "trak" || type == "mdia" || type == "minf" || type == "stbl";
  const std::size_t header = container ? 8 : type == "stsd" ? 16 : 0;
  if (header == 0 || size < header) return Bytes(atom, atom + size);
  Bytes out(atom, atom + header);
  for (std::size_t at = header; at + 8 <= size;) {
    const std::uint32_t length = Read32(atom + at);
    if (length < 8 || length > size - at) return Bytes(atom, atom + size);  // as it was
    if (type == "stsd") {
      if (auto described = AsLinearPcm(atom + at, length)) {
        out.insert(out.end(), described->begin(), described->end());
        changed = true;
      } else {
        out.insert(out.end(), atom + at, atom + at + length);
      }
    } else {
      const Bytes inner = Rewrite(atom + at, length, changed);
      out.insert(out.end(), inner.begin(), inner.end());
    }
    at += length;
  }
  SetSize(out);
  return out;
}

}  // namespace

OSErr DescribeFloatAsLinearPcm(const std::string& path, std::uint64_t movieAtom) {
  std::error_code error;
  const std::uint64_t end = std::filesystem::file_size(path, error);
  if (error) return kIOErr;
  constexpr std::uint64_t kLargestHeader = 256u << 20;
  if (movieAtom + 8 > end || end - movieAtom > kLargestHeader) return kNoErr;
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  Bytes movie(static_cast<std::size_t>(end - movieAtom));
  file.seekg(static_cast<std::streamoff>(movieAtom));
  if (!file.read(reinterpret_cast<char*>(movie.data()),
                 static_cast<std::streamsize>(movie.size()))) {
    return kIOErr;
  }
  if (Read32(movie.data()) != movie.size() || std::memcmp(movie.data() + 4, "moov", 4) != 0) {
    return kNoErr;
  }
  bool changed = false;
  const Bytes rewritten = Rewrite(movie.data(), movie.size(), changed);
  if (!changed) return kNoErr;
  // The new header is shorter (72 bytes replace 52 and a 38-byte 'wave'): written over the old
  // one, the file is then cut after it.
  file.seekp(static_cast<std::streamoff>(movieAtom));
  if (!file.write(reinterpret_cast<const char*>(rewritten.data()),
                  static_cast<std::streamsize>(rewritten.size())) ||
      !file.flush()) {
    return kIOErr;
  }
  file.close();
  std::filesystem::resize_file(path, movieAtom + rewritten.size(), error);
  return error ? kIOErr : kNoErr;
}

}  // namespace kiva::qt::media::ffmpeg
