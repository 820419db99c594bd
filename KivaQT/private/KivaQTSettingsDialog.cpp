#include "KivaQTSettingsDialog.h"

#include "../../Common/Module/private/Module.h"
#include "QTExportCatalogue.h"
#include "QTExtensions.h"
#include "media/Toolbox.h"

#include <noxcore/config/Localizer.h>
#include <noxui/ui/UI_Message.h>
#include <orb/app/App.h>

#include <boost/bind/bind.hpp>

#include <cstring>
#include <memory>
#include <vector>

namespace kiva {

namespace {

constexpr const char* kOKButtonID = "OKButtonID";
constexpr const char* kCancelButtonID = "CancelButtonID";
constexpr const char* kExportFormatPopupID = "ExportFormatPopupID";
constexpr const char* kOptionButtonID = "OptionButtonID";
constexpr const char* kDialogResource = "FormatOptions";
constexpr const char* kTitle = "$$$/kiva/KivaQTSettingsDialog/QTSettings=QT Settings";

}  // namespace

void FlipNodePositionsOnMac(const boost::intrusive_ptr<noxui::ui::UI_Node>& first,
                            const boost::intrusive_ptr<noxui::ui::UI_Node>& second) {
  const noxui::ui::Rect firstFrame = first->GetFrame(noxui::ui::kFrameInParent);
  const noxui::ui::Rect secondFrame = second->GetFrame(noxui::ui::kFrameInParent);
  // Each keeps its own size and takes the other's place.
  const noxui::ui::Rect newFirst{secondFrame.left, secondFrame.top,
                                 secondFrame.left + firstFrame.Width(),
                                 secondFrame.top + firstFrame.Height()};
  const noxui::ui::Rect newSecond{firstFrame.left, firstFrame.top,
                                  firstFrame.left + secondFrame.Width(),
                                  firstFrame.top + secondFrame.Height()};
  first->SetFrame(newFirst);
  second->SetFrame(newSecond);
}

KivaQTSettingsDialog::KivaQTSettingsDialog(KivaQTPrivateSettings& settings) : settings(settings) {}

KivaQTSettingsDialog::~KivaQTSettingsDialog() = default;

bool KivaQTSettingsDialog::RunModal(void* parent) {
  orb::app::App* app = orb::app::App::GetApp();
  noxui::drawbot::SupplierInterface* supplier =
      app != nullptr ? app->GetWorkspace()->GetDrawSupplier() : nullptr;
  const noxui::utility::ResourceManager* resources = module::GetResourceManager();
  const std::u16string title = noxcore::config::Localizer::Get().GetLocalizedString(kTitle);
  archivedDialog = new noxui::ui::UI_ArchivedDialog(supplier, resources, kDialogResource, title,
                                                    parent, true, false, noxui::ui::Point{}, {});

  formatPopup =
      archivedDialog->GetTypedControlForID<noxui::controls::UI_Popup>(kExportFormatPopupID);
  formatPopup->SetControlSize(noxui::controls::kRegularSize);
  formatPopup->SetItemCheckStyle(noxui::controls::kCheckMarkOnValue);
  {
    std::vector<qt::media::ComponentDescription> catalogue;
    qt::GetExportComponentDescriptions(catalogue);
    for (const auto& description : catalogue) PopulateFormatPopup(description);
  }

  optionButton =
      archivedDialog->GetTypedControlForID<noxui::controls::UI_TextButton>(kOptionButtonID);
  using ChangedMessage = noxui::controls::UI_InteractiveControlChangedMessage;
  boost::function<void(ChangedMessage*)> handler =
      boost::bind(&KivaQTSettingsDialog::OnOptionControlChanged, this, boost::placeholders::_1);
  optionButton->NotifyWhenChangedInteractively(
      std::make_unique<noxui::ui::MessageFunctionAdapter<ChangedMessage>>(handler));

  const auto okButton =
      archivedDialog->GetTypedControlForID<noxui::controls::UI_Button>(kOKButtonID);
  archivedDialog->SetOkButton(okButton);
  const auto cancelButton =
      archivedDialog->GetTypedControlForID<noxui::controls::UI_Button>(kCancelButtonID);
  archivedDialog->SetCancelButton(cancelButton);
  FlipNodePositionsOnMac(okButton, cancelButton);

  if (archivedDialog->RunModal() != noxui::ui::kDialogOK) return false;
  const int value = formatPopup->GetValue();
  if (popupMap.count(value) != 0) settings.SetFormatIndex(value);
  return true;
}

void KivaQTSettingsDialog::PopulateFormatPopup(qt::media::ComponentDescription description) {
  const std::string code = qt::ExtensionFromSubType(description.componentSubType, false);
  const std::u16string text(code.begin(), code.end());
  const int index = formatPopup->AddItem(text);
  popupMap.emplace(index, description);
  if (settings.GetFormatIndex() == index) formatPopup->SetValue(index);
}

void KivaQTSettingsDialog::OnOptionControlChanged(
    noxui::controls::UI_InteractiveControlChangedMessage* message) {
  if (message->GetChangeMessage() != noxui::controls::kClicked ||
      message->GetControl() != optionButton.get()) {
    return;
  }
  const auto entry = popupMap.find(formatPopup->GetValue());
  if (entry == popupMap.end()) return;
  qt::media::ComponentDescription search;
  search.componentType = entry->second.componentType;
  search.componentSubType = entry->second.componentSubType;
  search.componentManufacturer = entry->second.componentManufacturer;
  const auto components = qt::media::DefaultToolbox().FindComponents(search);
  if (components.empty()) return;
  std::unique_ptr<qt::media::MovieExporter> exporter;
  if (components.front()->OpenExporter(exporter) != qt::media::kNoErr) return;
  bool canceled = true;
  if (exporter->DoUserDialog(canceled) != qt::media::kNoErr || canceled) return;
  std::vector<std::uint8_t> bytes;
  if (exporter->GetSettingsAsAtomContainer(bytes) != qt::media::kNoErr) return;
  Handle container = NewHandle(bytes.size());
  if (container == nullptr) return;
  if (!bytes.empty()) std::memcpy(*container, bytes.data(), bytes.size());
  settings.SetAtomicContainer(container);
}

}  // namespace kiva
