#include "FFmpegExporterDialog.h"

#include "../../../../Common/Module/private/Module.h"

#include <noxcore/config/Localizer.h>
#include <noxcore/utility/Strings.h>
#include <noxui/controls/UI_Popup.h>
#include <noxui/controls/UI_StaticText.h>
#include <noxui/ui/UI_ArchivedDialog.h>

#include <algorithm>

namespace kiva::qt::media::ffmpeg {

namespace {

constexpr const char* kTitle = "$$$/kiva/ExporterDialog/Title=@0 Settings";
constexpr const char* kBitRateLabel = "$$$/kiva/ExporterDialog/BitRate=Bit rate:";
constexpr const char* kNoOptions =
    "$$$/kiva/ExporterDialog/NoOptions=@0 has no settings to choose.";
constexpr const char* kKilobits = "$$$/kiva/ExporterDialog/Kilobits=@0 kbps";

std::u16string Localize(const char* key, const std::u16string& value) {
  return noxcore::utility::ReplaceInString(
      noxcore::config::Localizer::Get().GetLocalizedString(key), value, {}, {}, {});
}

std::u16string ToUTF16(const std::string& text) {
  std::u16string converted;
  noxcore::utility::UTF8to16(text, converted);
  return converted;
}

// Shows a label with `text`, or hides it when there is none: the resource has a label for each
// of the dialog's two forms.
void SetLabel(noxui::ui::UI_ArchivedDialog& dialog, const char* id, const std::u16string* text) {
  const auto label = dialog.GetTypedControlForID<noxui::controls::UI_StaticText>(id);
  label->SetVisible(text != nullptr);
  if (text != nullptr) label->SetText(*text);
}

}  // namespace

bool RunExporterDialog(const std::string& name, const std::vector<int>& bitRates, int& bitRate) {
  using noxui::controls::UI_Button;
  using noxui::controls::UI_Popup;
  const std::u16string formatName = ToUTF16(name);
  noxui::ui::UI_ArchivedDialogPtr dialog(new noxui::ui::UI_ArchivedDialog(
      module::GetDrawSupplier(), module::GetResourceManager(), "ExporterOptions",
      Localize(kTitle, formatName), nullptr, true, false, noxui::ui::Point{}, {}));
  const auto popup = dialog->GetTypedControlForID<UI_Popup>("BitRatePopupID");
  popup->SetItemCheckStyle(noxui::controls::kCheckMarkOnValue);
  for (const int rate : bitRates) {
    const int index =
        popup->AddItem(Localize(kKilobits, noxcore::utility::NumberToString(rate / 1000)));
    if (rate == bitRate) popup->SetValue(index);
  }
  popup->SetVisible(!bitRates.empty());
  const std::u16string bitRateLabel = Localize(kBitRateLabel, {});
  const std::u16string message = Localize(kNoOptions, formatName);
  SetLabel(*dialog, "BitRateLabelID", bitRates.empty() ? nullptr : &bitRateLabel);
  SetLabel(*dialog, "MessageID", bitRates.empty() ? &message : nullptr);
  dialog->SetOkButton(dialog->GetTypedControlForID<UI_Button>("OKButtonID"));
  dialog->SetCancelButton(dialog->GetTypedControlForID<UI_Button>("CancelButtonID"));
  if (dialog->RunModal() != noxui::ui::kDialogOK) return false;
  const int chosen = popup->GetValue();
  if (chosen >= 0 && static_cast<std::size_t>(chosen) < bitRates.size()) {
    bitRate = bitRates[static_cast<std::size_t>(chosen)];
  }
  return true;
}

}  // namespace kiva::qt::media::ffmpeg
