#include <noxui/controls/UI_Button.h>

#include <QAbstractButton>

namespace noxui::controls {

namespace {

QAbstractButton* AsButton(QWidget* widget) { return qobject_cast<QAbstractButton*>(widget); }

}  // namespace

UI_Button::UI_Button(QWidget* widget) : UI_InteractiveControlView(widget) {
  if (QAbstractButton* button = AsButton(widget)) {
    QObject::connect(button, &QAbstractButton::clicked, button,
                     [this] { NotifyChanged(kClicked); });
  }
}

UI_Button::~UI_Button() = default;

void UI_Button::Click() {
  if (QAbstractButton* button = AsButton(GetWidget())) button->click();
}

UI_TextButton::~UI_TextButton() = default;

std::u16string UI_TextButton::GetText() const {
  const QAbstractButton* button = AsButton(GetWidget());
  return button != nullptr ? button->text().toStdU16String() : std::u16string();
}

void UI_TextButton::SetText(const std::u16string& text) {
  if (QAbstractButton* button = AsButton(GetWidget())) {
    button->setText(QString::fromStdU16String(text));
  }
}

}  // namespace noxui::controls
