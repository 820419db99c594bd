// A text the dialog shows (a label).
#pragma once

#include <noxui/ui/UI_Node.h>

#include <string>

namespace noxui::controls {

class UI_StaticText : public ui::UI_Node {
 public:
  using UI_Node::UI_Node;
  ~UI_StaticText() override;
  std::u16string GetText() const;
  void SetText(const std::u16string& text);
};

}  // namespace noxui::controls
