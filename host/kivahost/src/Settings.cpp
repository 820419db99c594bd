#include "Settings.h"

#include "Console.h"
#include "EncoderCheck.h"

#include <kiva/KivaInterfaceTemplate.h>
#include <noxui/ui/DialogScript.h>

#include <exception>
#include <iostream>
#include <optional>
#include <regex>
#include <stdexcept>
#include <vector>

namespace kivahost {

int ChooseExportSettings(const PlugIn& plugIn, std::string& settings, bool& canceled) {
  HostExportSettingsDialog dialog;
  dialog.format.privateSettings = ToUtf16(settings);
  const int status = plugIn.Call(kiva::kSelRunExportSettingsDialog, nullptr, &dialog);
  canceled = dialog.canceled != 0;
  if (status == 0 && !canceled) settings = ToUtf8(dialog.format.privateSettings);
  for (const auto& message : dialog.reporter.Messages()) std::cerr << "  " << message << '\n';
  return status;
}

void ChooseFormatByName(const PlugIn& plugIn, const std::string& name, std::string& settings) {
  noxui::ui::ScriptStep choose;
  choose.controlID = "ExportFormatPopupID";
  choose.kind = noxui::ui::ScriptStep::kChooseText;
  choose.text = ToUtf16(name);
  noxui::ui::ScriptStep ok;
  ok.controlID = "OKButtonID";
  noxui::ui::DialogScript::Get().AddRun("FormatOptions", {choose, ok});
  bool canceled = true;
  const int status = ChooseExportSettings(plugIn, settings, canceled);
  if (status != 0 || canceled) {
    throw std::runtime_error("no export format chosen (status " + std::to_string(status) + ")");
  }
}

std::string RestoreSavedSettings(const PlugIn& plugIn, const std::string& settings) {
  static const std::regex kFormatIndex(R"((?:^|;)FormatIndex:0:(-?[0-9]{1,9});)");
  std::smatch match;
  if (!std::regex_search(settings, match, kFormatIndex)) {
    Warn(
        "the settings string names no export format the plug-in reads (it has no "
        "\"FormatIndex:0:N;\"): the export is uncompressed PCM");
    return "";
  }
  const int index = std::stoi(match[1].str());
  bool present = false;
  const std::optional<std::string> exporterSettings = ExporterSettingsText(settings, present);
  if (present) {
    static const std::regex kBitRate(R"((?:^|\n)bit_rate=([0-9]{1,12})\n)");
    std::smatch bitRate;
    if (!exporterSettings) {
      Warn(
          "the exporter settings in the string (AtomicSettings) do not decode: the format's own "
          "defaults are used");
    } else if (std::regex_search(*exporterSettings, bitRate, kBitRate)) {
      // The plug-in keeps the exporter's settings with the string but codes with the format's
      // defaults: nobody should believe the rate they chose is the one written.
      Warn("the settings ask for " + std::to_string(std::stoll(bitRate[1].str()) / 1000) +
           " kb/s, but the plug-in codes every format at its own default bit rate");
    }
  }
  noxui::ui::ScriptStep choose;
  choose.controlID = "ExportFormatPopupID";
  choose.kind = noxui::ui::ScriptStep::kChooseIndex;
  choose.index = index;
  noxui::ui::ScriptStep cancel;
  cancel.controlID = "CancelButtonID";
  noxui::ui::DialogScript::Get().AddRun("FormatOptions", {choose, cancel});
  std::string kept = settings;
  bool canceled = true;
  try {
    ChooseExportSettings(plugIn, kept, canceled);
  } catch (const std::exception&) {
    // The popup has no such item: the plug-in does not offer that format here.
    noxui::ui::DialogScript::Get().Clear();
    Warn("the settings name export format " + std::to_string(index) +
         ", which the plug-in does not offer here: the export is uncompressed PCM");
    return "";
  }
  const std::string chosen = ToUtf8(noxui::ui::DialogScript::Get().Chosen(choose.controlID));
  noxui::ui::DialogScript::Get().Clear();
  return chosen;
}

int RunSettings(const PlugIn& plugIn, std::string settings, const std::string& script) {
  if (!script.empty()) {
    std::string error;
    if (!noxui::ui::DialogScript::Get().AddRuns(script, error)) {
      std::cerr << "kivahost: --script: " << error << '\n';
      return 2;
    }
  }
  bool canceled = true;
  const std::string before = settings;
  if (const int status = ChooseExportSettings(plugIn, settings, canceled); status != 0) {
    std::cerr << "kivahost: the settings dialog failed (status " << status << ")\n";
    return 1;
  }
  if (canceled) {
    Results() << "Canceled; the settings stay: " << before << '\n';
    return 0;
  }
  Results() << "Settings: " << settings << '\n';
  return 0;
}

}  // namespace kivahost
