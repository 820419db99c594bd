// The file extensions the plug-in offers, gathered from the media layer's importers.
#pragma once

#include "media/Component.h"

#include <string>
#include <vector>

namespace kiva::qt {

// Appends, in ascending byte order, "mov", "qt" and every extension published by the matching
// importers whose MIME list has a type starting with one of `mimePrefixes` (all importers when
// it is null). Entries already in `extensions` stay in front. `lowerCase` affects only the
// traced main extension of each importer.
void QueryExtensions(std::vector<std::string>& extensions,
                     const std::vector<std::string>* mimePrefixes, bool lowerCase,
                     media::ComponentDescription description);

// QueryExtensions over the importers that can import files and publish a MIME list and whose
// subtype is not itself a file extension.
void QueryImportExtensions(std::vector<std::string>& extensions,
                           const std::vector<std::string>* mimePrefixes, bool lowerCase);

// The export side writes QuickTime movies only: appends "mov".
void QueryExportExtensions(std::vector<std::string>& extensions,
                           const std::vector<std::string>* mimePrefixes, bool lowerCase);

// The four characters of a component subtype, high byte first, keeping only bytes above '0'
// (so blanks, '0', punctuation and bytes of 0x80 and above are dropped); lower-cased first when
// asked.
std::string ExtensionFromSubType(std::uint32_t subType, bool lowerCase);

}  // namespace kiva::qt
