#include <noxui/controls/UI_StaticText.h>

#include <QLabel>

namespace noxui::controls {

UI_StaticText::~UI_StaticText() = default;

std::u16string UI_StaticText::GetText() const {
  const auto* label = qobject_cast<const QLabel*>(GetWidget());
  return label != nullptr ? label->text().toStdU16String() : std::u16string();
}

void UI_StaticText::SetText(const std::u16string& text) {
  if (auto* label = qobject_cast<QLabel*>(GetWidget())) {
    label->setText(QString::fromStdU16String(text));
  }
}

}  // namespace noxui::controls
