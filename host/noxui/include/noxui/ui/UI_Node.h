// One element of a dialog (a control, a label, a group), found by its ID in the dialog resource.
// A node stays valid as long as someone holds it; once its dialog is gone it is detached and
// its operations do nothing.
#pragma once

#include <noxui/ui/RefCounted.h>

#include <boost/intrusive_ptr.hpp>

#include <string>

class QWidget;

namespace noxui::ui {

// A rectangle in layout pixels; right and bottom are exclusive.
struct Rect {
  double left = 0.0;
  double top = 0.0;
  double right = 0.0;
  double bottom = 0.0;
  double Width() const { return right - left; }
  double Height() const { return bottom - top; }
  bool operator==(const Rect&) const = default;
};

// What a frame is measured against.
enum FrameCoordinates : int {
  kFrameInWindow = 0,  // the dialog's content area
  kFrameInParent = 1,  // the node's parent element, the space SetFrame takes
};

class UI_Node : public RefCounted {
 public:
  explicit UI_Node(QWidget* widget);
  ~UI_Node() override;

  // The node's ID in the dialog resource ("" once detached).
  std::string GetID() const;
  Rect GetFrame(int coordinates) const;
  // Moves and sizes the node; `frame` is in its parent's coordinates.
  void SetFrame(const Rect& frame);
  bool IsVisible() const;
  void SetVisible(bool visible);

  // The toolkit widget behind the node (for hosts and tests that drive it), null once detached.
  QWidget* GetWidget() const { return widget; }

 private:
  friend class UI_Dialog;
  // Its dialog is going away: the widget is about to be destroyed.
  void Detach() { widget = nullptr; }

  QWidget* widget;
};

using UI_NodePtr = boost::intrusive_ptr<UI_Node>;

}  // namespace noxui::ui
