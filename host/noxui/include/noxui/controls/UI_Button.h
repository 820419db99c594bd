// Push buttons. A click sends the change message kClicked to the button's handlers.
#pragma once

#include <noxui/controls/UI_InteractiveControlView.h>

#include <string>

namespace noxui::controls {

class UI_Button : public UI_InteractiveControlView {
 public:
  explicit UI_Button(QWidget* widget);
  ~UI_Button() override;
  // Clicks the button as the user would (the toolkit's click, so every listener sees it).
  void Click();
};

// A button showing a text.
class UI_TextButton : public UI_Button {
 public:
  using UI_Button::UI_Button;
  ~UI_TextButton() override;
  std::u16string GetText() const;
  void SetText(const std::u16string& text);
};

}  // namespace noxui::controls
