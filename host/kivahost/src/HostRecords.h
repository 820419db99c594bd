// kivahost's implementations of the request records: plain holders of what the host asks and
// of what the plug-in answers. One object serves one request.
#pragma once

#include <kiva/KivaRequestRecords.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kivahost {

// UTF-16 from the plug-in to UTF-8 for printing; unconvertible text is shown as '?'.
std::string ToUtf8(const char16_t* text);
std::string ToUtf8(const std::u16string& text);
std::u16string ToUtf16(const std::string& text);

class HostErrorReporter final : public kiva::KivaErrorReporter {
 public:
  void SetErrorText(const char16_t* text) override;
  const std::vector<std::string>& Messages() const { return messages; }

 private:
  std::vector<std::string> messages;
};

struct FormatDescription {
  std::string name;
  std::string id;
  std::vector<std::string> extensions;
  std::string filterText;
};

struct PlugInDescription {
  int interfaceMajor = -1;
  int interfaceMinor = -1;
  std::string identifier;
  std::string displayName;
  std::vector<FormatDescription> importFormats;
  std::vector<FormatDescription> exportFormats;
};

class HostKivaInfo final : public kiva::KivaGetKivaInfoInterface {
 public:
  void SetInterfaceVersion(int major, int minor) override;
  void SetPlugInInfo(const char* identifier, const char16_t* displayName) override;
  void AddImportFormat(const char16_t* formatName, const char16_t* formatID,
                       const std::vector<const char*>* extensions,
                       const char16_t* filterText) override;
  void AddExportFormat(const char16_t* formatName, const char16_t* formatID,
                       const std::vector<const char*>* extensions,
                       const char16_t* filterText) override;
  const PlugInDescription& Description() const { return description; }

 private:
  PlugInDescription description;
};

}  // namespace kivahost
