// The export settings dialog: the export format catalogue in a popup, a button that opens the
// chosen exporter's own settings dialog, and OK and Cancel. One lives for one host request.
#pragma once

#include "KivaQTPrivateSettings.h"
#include "media/Component.h"

#include <noxui/controls/UI_Button.h>
#include <noxui/controls/UI_Popup.h>
#include <noxui/ui/UI_ArchivedDialog.h>

#include <boost/intrusive_ptr.hpp>

#include <map>

namespace kiva {

// Makes two dialog elements change places: each takes the frame the other had.
void FlipNodePositionsOnMac(const boost::intrusive_ptr<noxui::ui::UI_Node>& first,
                            const boost::intrusive_ptr<noxui::ui::UI_Node>& second);

class KivaQTSettingsDialog {
 public:
  // `settings` is edited in place and must outlive the dialog.
  explicit KivaQTSettingsDialog(KivaQTPrivateSettings& settings);
  ~KivaQTSettingsDialog();
  KivaQTSettingsDialog(const KivaQTSettingsDialog&) = delete;
  KivaQTSettingsDialog& operator=(const KivaQTSettingsDialog&) = delete;

  // Shows the dialog over `parent` (the host's window, may be null). True when the user closed
  // it with OK; the chosen format is then in the settings.
  bool RunModal(void* parent);
  // Adds the popup item of one catalogue entry, chosen when it is the stored format.
  void PopulateFormatPopup(qt::media::ComponentDescription description);
  // The options button: opens the chosen exporter's dialog and keeps the settings it gives.
  void OnOptionControlChanged(noxui::controls::UI_InteractiveControlChangedMessage* message);

 private:
  boost::intrusive_ptr<noxui::ui::UI_ArchivedDialog> archivedDialog;
  boost::intrusive_ptr<noxui::controls::UI_Popup> formatPopup;
  boost::intrusive_ptr<noxui::controls::UI_TextButton> optionButton;
  KivaQTPrivateSettings& settings;
  std::map<int, qt::media::ComponentDescription> popupMap;
};

}  // namespace kiva
