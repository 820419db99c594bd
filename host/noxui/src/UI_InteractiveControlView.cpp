#include "PendingError.h"

#include <noxui/controls/UI_InteractiveControlView.h>

#include <QWidget>

namespace noxui::controls {

UI_InteractiveControlChangedMessage::~UI_InteractiveControlChangedMessage() = default;

UI_InteractiveControlView::~UI_InteractiveControlView() = default;

void UI_InteractiveControlView::NotifyWhenChangedInteractively(
    std::unique_ptr<ui::UI_MessageHandler> handler) {
  if (handler) handlers.push_back(std::move(handler));
}

void UI_InteractiveControlView::SendChangedMessage(ui::UI_Message& message) {
  for (const auto& handler : handlers) handler->HandleMessage(message);
}

void UI_InteractiveControlView::NotifyChanged(int changeMessage) {
  // Called from the toolkit's signals, which exceptions must not cross: a failing handler ends
  // the dialog, and its modal run raises the error once the toolkit has returned.
  try {
    UI_InteractiveControlChangedMessage message(this, changeMessage);
    SendChangedMessage(message);
  } catch (...) {
    ui::detail::KeepPendingError(std::current_exception());
    if (QWidget* window = GetWidget() != nullptr ? GetWidget()->window() : nullptr) {
      window->close();
    }
  }
}

}  // namespace noxui::controls
