// A popup menu of texts (a combo box). The value is the index of the chosen item, or -1 when
// none is chosen; the user's choice sends the change message kValueChanged.
#pragma once

#include <noxui/controls/UI_InteractiveControlView.h>

#include <string>

class QAbstractItemDelegate;

namespace noxui::controls {

// The sizes a control can be drawn in; kRegularSize is the system's own dialog size.
enum ControlSize : int { kMiniSize = 1, kSmallSize = 2, kRegularSize = 3, kLargeSize = 4 };

// How the open menu marks the chosen item.
enum ItemCheckStyle : int { kNoCheckMark = 0, kCheckMarkOnValue = 1 };

class UI_Popup : public UI_InteractiveControlView {
 public:
  explicit UI_Popup(QWidget* widget);
  ~UI_Popup() override;

  // Appends an item; returns its index.
  int AddItem(const std::u16string& text);
  int GetItemCount() const;
  std::u16string GetItemText(int index) const;
  // Chooses item `value`; a value outside the items clears the choice.
  virtual void SetValue(int value);
  virtual int GetValue() const;
  // Chooses item `value` as the user would: the handlers get kValueChanged.
  void Choose(int value);
  virtual void SetControlSize(int size);
  void SetItemCheckStyle(int style);
  int GetItemCheckStyle() const { return checkStyle; }

 private:
  int checkStyle = kNoCheckMark;
  QAbstractItemDelegate* menuDelegate = nullptr;
  QAbstractItemDelegate* plainDelegate = nullptr;
};

}  // namespace noxui::controls
