#include "Settings.h"

#include <kiva/KivaInterfaceTemplate.h>
#include <noxui/ui/DialogScript.h>

#include <iostream>

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

bool ChooseFormatByName(const PlugIn& plugIn, const std::string& name, std::string& settings) {
  noxui::ui::ScriptStep choose;
  choose.controlID = "ExportFormatPopupID";
  choose.kind = noxui::ui::ScriptStep::kChooseText;
  choose.text = ToUtf16(name);
  noxui::ui::ScriptStep ok;
  ok.controlID = "OKButtonID";
  noxui::ui::DialogScript::Get().AddRun("FormatOptions", {choose, ok});
  bool canceled = true;
  const int status = ChooseExportSettings(plugIn, settings, canceled);
  if (status == 0 && !canceled) return true;
  std::cerr << "kivahost: no export format chosen (status " << status << ")\n";
  return false;
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
    std::cout << "Canceled; the settings stay: " << before << '\n';
    return 0;
  }
  std::cout << "Settings: " << settings << '\n';
  return 0;
}

}  // namespace kivahost
