#include "QTExtensions.h"

#include "Trace.h"
#include "media/Toolbox.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>

namespace kiva::qt {

namespace {

// An atom's data copied the way the platform copies it into a fixed buffer: at most 255 bytes
// into a zeroed 256-byte buffer, failing (with the first 255 bytes copied) when it is longer.
struct AtomText {
  char text[256] = {};
  std::size_t size = 0;
  bool copied = false;

  explicit AtomText(const std::string& data) {
    size = std::min<std::size_t>(data.size(), 255);
    std::memcpy(text, data.data(), size);
    copied = data.size() <= 255;
  }
  bool Usable() const { return copied && size >= 1 && size <= 255; }
};

bool MatchesAnyPrefix(const std::vector<std::string>& mimeTypes,
                      const std::vector<std::string>& prefixes) {
  for (const auto& mimeType : mimeTypes) {
    const AtomText atom(mimeType);
    if (!atom.Usable()) continue;
    KIVA_TRACE("Quicktime mime type: %s", atom.text);
    for (const auto& prefix : prefixes) {
      if (std::strncmp(atom.text, prefix.c_str(), prefix.size()) == 0) return true;
    }
  }
  return false;
}

void InsertExtensions(const std::vector<std::string>& extensionAtoms,
                      std::set<std::string>& extensions) {
  for (const auto& data : extensionAtoms) {
    const AtomText atom(data);
    if (atom.Usable()) KIVA_TRACE("Quicktime extension: %s", atom.text);
    // A failed copy may still have filled part of the buffer; that part counts like good data.
    const std::string list(atom.text);
    std::size_t begin = 0;
    while (begin <= list.size()) {
      std::size_t end = list.find(',', begin);
      if (end == std::string::npos) end = list.size();
      // Pieces are kept as published: no trimming, no case folding; single letters are noise.
      if (end - begin >= 2) extensions.insert(list.substr(begin, end - begin));
      begin = end + 1;
    }
  }
}

}  // namespace

std::string ExtensionFromSubType(std::uint32_t subType, bool lowerCase) {
  std::string extension;
  for (int shift = 24; shift >= 0; shift -= 8) {
    int byte = static_cast<int>((subType >> shift) & 0xFF);
    if (lowerCase) byte = std::tolower(byte);
    if (static_cast<signed char>(byte) > '0') extension.push_back(static_cast<char>(byte));
  }
  return extension;
}

void QueryExtensions(std::vector<std::string>& extensions,
                     const std::vector<std::string>* mimePrefixes, bool lowerCase,
                     media::ComponentDescription description) {
  std::set<std::string> found{"mov", "qt"};
  for (const auto& component : media::DefaultToolbox().FindComponents(description)) {
    media::MIMETypeList mimeList;
    if (component->GetMIMETypeList(mimeList) != media::kNoErr) continue;
    const std::string mainExtension =
        ExtensionFromSubType(component->GetDescription().componentSubType, lowerCase);
    KIVA_TRACE("Quicktime component main extension: %s", mainExtension.c_str());
    if (component->Open() != media::kNoErr) KIVA_TRACE("Could not open.");
    if (mimePrefixes == nullptr || MatchesAnyPrefix(mimeList.mimeTypes, *mimePrefixes)) {
      InsertExtensions(mimeList.extensions, found);
    }
  }
  extensions.insert(extensions.end(), found.begin(), found.end());
}

void QueryImportExtensions(std::vector<std::string>& extensions,
                           const std::vector<std::string>* mimePrefixes, bool lowerCase) {
  media::ComponentDescription description;
  description.componentType = media::kMovieImportType;
  description.componentFlags = media::kCanMovieImportFiles | media::kHasMovieImportMIMEList;
  description.componentFlagsMask = media::kCanMovieImportFiles | media::kHasMovieImportMIMEList |
                                   media::kMovieImportSubTypeIsFileExtension;
  QueryExtensions(extensions, mimePrefixes, lowerCase, description);
}

void QueryExportExtensions(std::vector<std::string>& extensions,
                           const std::vector<std::string>* /*mimePrefixes*/, bool /*lowerCase*/) {
  extensions.emplace_back("mov");
}

}  // namespace kiva::qt
