#include "HostRecords.h"

#include <noxcore/utility/Strings.h>

#include <algorithm>

namespace kivahost {

namespace {

FormatDescription MakeFormat(const char16_t* formatName, const char16_t* formatID,
                             const std::vector<const char*>* extensions,
                             const char16_t* filterText) {
  FormatDescription format{ToUtf8(formatName), ToUtf8(formatID), {}, ToUtf8(filterText)};
  if (extensions != nullptr) {
    for (const char* extension : *extensions) {
      format.extensions.emplace_back(extension != nullptr ? extension : "");
    }
  }
  return format;
}

}  // namespace

std::string ToUtf8(const char16_t* text) {
  return text != nullptr ? ToUtf8(std::u16string(text)) : std::string();
}

std::string ToUtf8(const std::u16string& text) {
  std::string out;
  if (noxcore::utility::UTF16to8(text, out)) return out;
  for (const char16_t c : text) out.push_back(c < 0x80 ? static_cast<char>(c) : '?');
  return out;
}

std::u16string ToUtf16(const std::string& text) {
  std::u16string out;
  if (!noxcore::utility::UTF8to16(text, out)) out = noxcore::utility::AsciiToUTF16(text);
  return out;
}

void HostFormat::SetNumChannels(std::int32_t channels) {
  labels.assign(static_cast<std::size_t>(std::max(channels, 0)), 0);
}

std::uint32_t HostFormat::GetChannelLabel(std::int32_t channel) {
  return channel >= 0 && static_cast<std::size_t>(channel) < labels.size()
             ? labels[static_cast<std::size_t>(channel)]
             : 0;
}

void HostFormat::SetChannelLabel(std::int32_t channel, std::uint32_t label) {
  if (channel >= 0 && static_cast<std::size_t>(channel) < labels.size()) {
    labels[static_cast<std::size_t>(channel)] = label;
  }
}

void HostErrorReporter::SetErrorText(const char16_t* text) { messages.push_back(ToUtf8(text)); }

void HostKivaInfo::SetInterfaceVersion(int major, int minor) {
  description.interfaceMajor = major;
  description.interfaceMinor = minor;
}

void HostKivaInfo::SetPlugInInfo(const char* identifier, const char16_t* displayName) {
  description.identifier = identifier != nullptr ? identifier : "";
  description.displayName = ToUtf8(displayName);
}

void HostKivaInfo::AddImportFormat(const char16_t* formatName, const char16_t* formatID,
                                   const std::vector<const char*>* extensions,
                                   const char16_t* filterText) {
  description.importFormats.push_back(MakeFormat(formatName, formatID, extensions, filterText));
}

void HostKivaInfo::AddExportFormat(const char16_t* formatName, const char16_t* formatID,
                                   const std::vector<const char*>* extensions,
                                   const char16_t* filterText) {
  description.exportFormats.push_back(MakeFormat(formatName, formatID, extensions, filterText));
}

}  // namespace kivahost
