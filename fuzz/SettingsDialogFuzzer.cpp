// Fuzzes the private settings string where the host hands it to the plug-in: the export settings
// information, the settings dialog (answered by script: OK, Cancel, another format, the chosen
// format's own dialog) and a short export. Nothing may crash; Cancel must leave the string as it
// was, and the string OK hands back must read back to itself.
//
// The binary sits in a bundle-shaped directory with the plug-in's dialog resources, so the
// plug-in starts as it does in a host (selector 0), and draws its dialogs on the toolkit's
// offscreen platform.

#include "FuzzHost.h"
#include "KivaQTPrivateSettings.h"
#include "QTExportCatalogue.h"

#include <kiva/KivaInterfaceTemplate.h>
#include <noxui/ui/DialogScript.h>
#include <orb/app/App.h>

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using kiva::fuzz::Call;
using kiva::fuzz::Check;
using kivahost::HostFormat;
using noxui::ui::ScriptStep;

ScriptStep Step(const char* id, ScriptStep::Kind kind = ScriptStep::kClick, int index = 0) {
  ScriptStep step;
  step.controlID = id;
  step.kind = kind;
  step.index = index;
  return step;
}

std::size_t CatalogueSize() {
  std::vector<kiva::qt::media::ComponentDescription> catalogue;
  kiva::qt::GetExportComponentDescriptions(catalogue);
  return catalogue.size();
}

// A format record for two channels of 16-bit audio at 44.1 kHz carrying `settings`.
void Describe(HostFormat& format, const std::u16string& settings) {
  format.SetNumChannels(2);
  format.sampleRate = 44100;
  format.sampleType = 20;
  format.sampleCount = 2048;
  format.privateSettings = settings;
}

// Runs the dialog on `settings` with the script's answers; returns the string the host keeps.
std::u16string RunDialog(kiva::fuzz::ByteReader& input, const std::u16string& settings) {
  const auto catalogue = static_cast<int>(CatalogueSize());
  std::vector<ScriptStep> steps;
  if ((input.Byte() & 1) != 0 && catalogue > 0) {
    steps.push_back(Step("ExportFormatPopupID", ScriptStep::kChooseIndex,
                         static_cast<int>(input.Between(0, catalogue - 1))));
  }
  if ((input.Byte() & 1) != 0) {
    steps.push_back(Step("OptionButtonID"));
    noxui::ui::DialogScript::Get().AddRun(
        "ExporterOptions", {Step((input.Byte() & 1) != 0 ? "OKButtonID" : "CancelButtonID")});
  }
  const bool ok = (input.Byte() & 1) != 0;
  steps.push_back(Step(ok ? "OKButtonID" : "CancelButtonID"));
  noxui::ui::DialogScript::Get().AddRun("FormatOptions", steps);

  kivahost::HostExportSettingsDialog dialog;
  dialog.format.privateSettings = settings;
  Check(Call(kiva::kSelRunExportSettingsDialog, nullptr, &dialog) == kiva::kKivaSuccess);
  Check(dialog.canceled == (ok ? 0 : 1));
  if (!ok) {
    Check(dialog.format.privateSettings == settings);
  } else {
    kiva::KivaQTPrivateSettings reread;
    reread.InitializeFromSerialized(dialog.format.privateSettings);
    Check(reread.GetSerialized() == dialog.format.privateSettings);
  }
  noxui::ui::DialogScript::Get().Clear();
  return dialog.format.privateSettings;
}

// Starts an export with `settings`, writes one block of silence and finishes it.
void Export(const std::u16string& settings) {
  static const std::string path =
      "/tmp/kivaqt-settings-fuzz-" + std::to_string(::getpid()) + ".mov";
  HostFormat format;
  Describe(format, settings);
  kivahost::HostWriteStart start(path, format);
  if (Call(kiva::kSelWriteStart, nullptr, &start) != kiva::kKivaSuccess) return;
  std::vector<std::int16_t> left(2048), right(2048);
  std::vector<void*> blocks{left.data(), right.data()};
  kivahost::HostWriteSamples samples(0, 2048, blocks, format);
  Check(Call(kiva::kSelWriteSamples, start.handle, &samples) == kiva::kKivaSuccess);
  kivahost::HostFinishWrite finish(format);
  Check(Call(kiva::kSelFinishWrite, start.handle, &finish) == kiva::kKivaSuccess);
  std::remove(path.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Started once per process, as a host starts the plug-in after loading it (selector 0).
  static const bool started = [] {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    static orb::app::App app;
    kivahost::HostKivaInfo description;
    return Call(kiva::kSelGetKivaInfo, nullptr, &description) == kiva::kKivaSuccess;
  }();
  Check(started);
  kiva::fuzz::ByteReader input(data, size);
  const std::u16string settings = input.Text(255);
  HostFormat format;
  Describe(format, settings);
  kivahost::HostExportSettingsInfo info(format);
  Check(Call(kiva::kSelGetExportSettingsInfo, nullptr, &info) == kiva::kKivaSuccess);
  const std::u16string chosen = RunDialog(input, settings);
  Export((input.Byte() & 1) != 0 ? chosen : settings);
  return 0;
}
