#include <noxui/controls/UI_Popup.h>

#include <QApplication>
#include <QComboBox>
#include <QStyledItemDelegate>

namespace noxui::controls {

namespace {

QComboBox* AsComboBox(QWidget* widget) { return qobject_cast<QComboBox*>(widget); }

}  // namespace

UI_Popup::UI_Popup(QWidget* widget) : UI_InteractiveControlView(widget) {
  if (QComboBox* combo = AsComboBox(widget)) {
    menuDelegate = combo->itemDelegate();
    QObject::connect(combo, &QComboBox::activated, combo, [this] { NotifyChanged(kValueChanged); });
  }
}

UI_Popup::~UI_Popup() = default;

int UI_Popup::AddItem(const std::u16string& text) {
  QComboBox* combo = AsComboBox(GetWidget());
  if (combo == nullptr) return -1;
  // Adding to an empty combo box would choose the new item; a popup stays without a choice
  // until one is made.
  const int value = combo->currentIndex();
  combo->addItem(QString::fromStdU16String(text));
  combo->setCurrentIndex(value);
  return combo->count() - 1;
}

int UI_Popup::GetItemCount() const {
  const QComboBox* combo = AsComboBox(GetWidget());
  return combo != nullptr ? combo->count() : 0;
}

std::u16string UI_Popup::GetItemText(int index) const {
  const QComboBox* combo = AsComboBox(GetWidget());
  if (combo == nullptr || index < 0 || index >= combo->count()) return {};
  return combo->itemText(index).toStdU16String();
}

void UI_Popup::SetValue(int value) {
  QComboBox* combo = AsComboBox(GetWidget());
  if (combo == nullptr) return;
  combo->setCurrentIndex(value >= 0 && value < combo->count() ? value : -1);
}

int UI_Popup::GetValue() const {
  const QComboBox* combo = AsComboBox(GetWidget());
  return combo != nullptr ? combo->currentIndex() : -1;
}

void UI_Popup::Choose(int value) {
  SetValue(value);
  NotifyChanged(kValueChanged);
}

void UI_Popup::SetControlSize(int size) {
  QComboBox* combo = AsComboBox(GetWidget());
  if (combo == nullptr) return;
  QFont font = QApplication::font(combo);
  const double scale = size == kMiniSize    ? 0.75
                       : size == kSmallSize ? 0.85
                       : size == kLargeSize ? 1.2
                                            : 1.0;
  if (font.pointSizeF() > 0) font.setPointSizeF(font.pointSizeF() * scale);
  combo->setFont(font);
}

void UI_Popup::SetItemCheckStyle(int style) {
  QComboBox* combo = AsComboBox(GetWidget());
  if (combo == nullptr) return;
  checkStyle = style;
  // The combo box's own delegate draws its menu with a check mark on the chosen item where the
  // style's menus have one; the plain one draws a list without marks. The combo box owns both.
  if (style == kCheckMarkOnValue) {
    combo->setItemDelegate(menuDelegate);
    return;
  }
  if (plainDelegate == nullptr) plainDelegate = new QStyledItemDelegate(combo);
  combo->setItemDelegate(plainDelegate);
}

}  // namespace noxui::controls
