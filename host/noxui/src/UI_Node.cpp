#include <noxui/ui/UI_Node.h>

#include <QWidget>

#include <cmath>

namespace noxui::ui {

RefCounted::~RefCounted() = default;

UI_Node::UI_Node(QWidget* widget) : widget(widget) {}

UI_Node::~UI_Node() = default;

std::string UI_Node::GetID() const {
  return widget != nullptr ? widget->objectName().toStdString() : std::string();
}

Rect UI_Node::GetFrame(int coordinates) const {
  if (widget == nullptr) return {};
  QPoint origin = widget->pos();
  if (coordinates == kFrameInWindow) {
    origin = widget->isWindow() ? QPoint(0, 0) : widget->mapTo(widget->window(), QPoint(0, 0));
  }
  return Rect{static_cast<double>(origin.x()), static_cast<double>(origin.y()),
              static_cast<double>(origin.x() + widget->width()),
              static_cast<double>(origin.y() + widget->height())};
}

void UI_Node::SetFrame(const Rect& frame) {
  if (widget == nullptr) return;
  const auto left = static_cast<int>(std::lround(frame.left));
  const auto top = static_cast<int>(std::lround(frame.top));
  widget->setGeometry(left, top, static_cast<int>(std::lround(frame.right)) - left,
                      static_cast<int>(std::lround(frame.bottom)) - top);
}

bool UI_Node::IsVisible() const { return widget != nullptr && !widget->isHidden(); }

void UI_Node::SetVisible(bool visible) {
  if (widget != nullptr) widget->setVisible(visible);
}

}  // namespace noxui::ui
