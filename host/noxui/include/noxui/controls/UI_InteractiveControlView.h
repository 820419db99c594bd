// A control the user changes (buttons, popups) and the message it sends when that happens.
#pragma once

#include <noxui/ui/UI_Message.h>
#include <noxui/ui/UI_Node.h>

#include <memory>
#include <vector>

namespace noxui::controls {

// Why a control sent its change message.
enum ChangeMessage : int {
  kValueChanged = 1,  // the user chose another value (a popup item)
  kClicked = 2,       // the user clicked the control (a button)
};

class UI_InteractiveControlView;

class UI_InteractiveControlChangedMessage final : public ui::UI_Message {
 public:
  UI_InteractiveControlChangedMessage(UI_InteractiveControlView* control, int changeMessage)
      : control(control), changeMessage(changeMessage) {}
  ~UI_InteractiveControlChangedMessage() override;
  UI_InteractiveControlView* GetControl() const { return control; }
  int GetChangeMessage() const { return changeMessage; }

 private:
  UI_InteractiveControlView* control;
  int changeMessage;
};

class UI_InteractiveControlView : public ui::UI_Node {
 public:
  using UI_Node::UI_Node;
  ~UI_InteractiveControlView() override;

  // `handler` gets every change the user makes, in registration order after those before it.
  void NotifyWhenChangedInteractively(std::unique_ptr<ui::UI_MessageHandler> handler);
  // Sends `message` to the registered handlers, as a user's change does.
  void SendChangedMessage(ui::UI_Message& message);

 protected:
  // Sends a UI_InteractiveControlChangedMessage for this control.
  void NotifyChanged(int changeMessage);

 private:
  std::vector<std::unique_ptr<ui::UI_MessageHandler>> handlers;
};

}  // namespace noxui::controls
