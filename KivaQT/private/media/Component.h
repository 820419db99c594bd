// Installed media components: importers (one per file format the media layer reads) and
// exporters (one per format it can write into a movie).
#pragma once

#include "MediaStatus.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kiva::qt::media {

// Builds a four-character code from its text ("eat " -> 0x65617420).
constexpr std::uint32_t FourCharCode(const char (&text)[5]) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(text[0])) << 24 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(text[1])) << 16 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(text[2])) << 8 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(text[3]));
}

inline constexpr std::uint32_t kMovieImportType = FourCharCode("eat ");
inline constexpr std::uint32_t kMovieExportType = FourCharCode("spit");
inline constexpr std::uint32_t kCanMovieImportFiles = 0x0002;
inline constexpr std::uint32_t kMovieImportSubTypeIsFileExtension = 0x1000;
inline constexpr std::uint32_t kHasMovieImportMIMEList = 0x4000;
inline constexpr std::uint32_t kCanMovieExportValidateMovie = 0x0010;

struct ComponentDescription {
  std::uint32_t componentType = 0;
  std::uint32_t componentSubType = 0;
  std::uint32_t componentManufacturer = 0;
  std::uint32_t componentFlags = 0;
  std::uint32_t componentFlagsMask = 0;
  bool operator==(const ComponentDescription&) const = default;
};

// Whether an installed component answers a search: type, subtype and manufacturer match when
// the search's value is 0 or equal; the flags bits selected by the search's mask must agree.
bool Matches(const ComponentDescription& component, const ComponentDescription& search);

// An importer's published MIME list: the data of each 'mime' atom and of each 'ext ' atom (a
// comma-separated extension list), as raw bytes.
struct MIMETypeList {
  std::vector<std::string> mimeTypes;
  std::vector<std::string> extensions;
};

// An open export component: its own settings dialog and the settings it holds.
class MovieExporter {
 public:
  virtual ~MovieExporter() = default;
  // Shows the exporter's settings dialog, which opens on the settings the exporter holds (its
  // defaults when just opened). Accepting it makes the choice the exporter's settings; with
  // `canceled` set nothing changed.
  virtual OSErr DoUserDialog(bool& canceled) = 0;
  // The settings the exporter holds, as the bytes of its settings container.
  virtual OSErr GetSettingsAsAtomContainer(std::vector<std::uint8_t>& settings) = 0;
};

class Component {
 public:
  virtual ~Component() = default;
  // The component's own description (its real subtype, manufacturer and flags).
  virtual ComponentDescription GetDescription() const = 0;
  // Makes an instance and releases it again: 0 when the component can be used.
  virtual OSErr Open() = 0;
  // The importer's MIME list; an error when it publishes none.
  virtual OSErr GetMIMETypeList(MIMETypeList& list) = 0;
  // An instance of an export component; kBadComponentTypeErr for any other component.
  virtual OSErr OpenExporter(std::unique_ptr<MovieExporter>& exporter) = 0;
};

}  // namespace kiva::qt::media
