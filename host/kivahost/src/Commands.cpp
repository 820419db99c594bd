#include "Commands.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace kivahost {

namespace {

nlohmann::json FormatToJson(const FormatDescription& format) {
  return {{"name", format.name},
          {"id", format.id},
          {"filter", format.filterText},
          {"extensions", format.extensions}};
}

void PrintFormat(const char* kind, const FormatDescription& format) {
  std::cout << kind << " format: " << format.name << " [" << format.id << "]\n"
            << "  filter:     " << format.filterText << "\n"
            << "  extensions:";
  for (const auto& extension : format.extensions) std::cout << ' ' << extension;
  std::cout << '\n';
}

void PrintDescription(const PlugInDescription& description) {
  std::cout << "Plug-in:    " << description.displayName << "\n"
            << "Identifier: " << description.identifier << "\n"
            << "Interface:  " << description.interfaceMajor << '.' << description.interfaceMinor
            << "\n";
  if (description.identifier.empty()) {
    std::cout << "(the plug-in described nothing: its media layer is not usable here)\n";
  }
  for (const auto& format : description.importFormats) PrintFormat("Import", format);
  for (const auto& format : description.exportFormats) PrintFormat("Export", format);
}

}  // namespace

int RunInfo(const PlugIn& plugIn, bool json) {
  const PlugInDescription& description = plugIn.Description();
  if (json) {
    nlohmann::json out{
        {"library", plugIn.LibraryPath()},
        {"status", plugIn.InfoStatus()},
        {"interfaceVersion", {description.interfaceMajor, description.interfaceMinor}},
        {"identifier", description.identifier},
        {"displayName", description.displayName},
        {"importFormats", nlohmann::json::array()},
        {"exportFormats", nlohmann::json::array()}};
    for (const auto& format : description.importFormats) {
      out["importFormats"].push_back(FormatToJson(format));
    }
    for (const auto& format : description.exportFormats) {
      out["exportFormats"].push_back(FormatToJson(format));
    }
    std::cout << out.dump(2) << '\n';
  } else {
    PrintDescription(description);
  }
  return plugIn.InfoStatus() == 0 ? 0 : 1;
}

int RunDemo(const PlugIn& plugIn, const std::string& samplePath) {
  PrintDescription(plugIn.Description());
  std::cout << "Sample:     " << samplePath << '\n';
  return plugIn.InfoStatus() == 0 ? 0 : 1;
}

}  // namespace kivahost
