// A modal dialog with an OK and a Cancel button. A dialog whose resource has a run queued in the
// dialog script (DialogScript.h) answers from the script instead of waiting for a person.
#pragma once

#include <noxui/controls/UI_Button.h>
#include <noxui/ui/UI_Node.h>

#include <boost/intrusive_ptr.hpp>

#include <map>
#include <memory>
#include <string>

class QDialog;

namespace noxui::ui {

// How a modal run ended.
enum DialogResult : int {
  kDialogOK = 1,
  kDialogCancel = 2,  // also the window's close box and the Escape key
};

class UI_Dialog : public UI_Node {
 public:
  ~UI_Dialog() override;

  // Clicking `button` ends the modal run with kDialogOK; it is also the default button.
  void SetOkButton(boost::intrusive_ptr<controls::UI_Button> button);
  // Clicking `button` ends the modal run with kDialogCancel.
  void SetCancelButton(boost::intrusive_ptr<controls::UI_Button> button);

  // Shows the dialog and returns when it is closed: kDialogOK or kDialogCancel. Must be called
  // on the application's main thread. Raises a host error when there is no display to show it
  // on and no script answers it.
  int RunModal();

  // The dialog's element with the object name `id`, or null. The same element gives the same node.
  UI_NodePtr GetNodeForID(const char* id);

  // The element `id` as a control of type T; raises "Invalid type conversion." when it is
  // missing or of another type.
  template <class T>
  boost::intrusive_ptr<T> GetTypedControlForID(const char* id) {
    const UI_NodePtr node = GetNodeForID(id);
    T* typed = dynamic_cast<T*>(node.get());
    if (typed == nullptr) ThrowInvalidTypeConversion();
    return boost::intrusive_ptr<T>(typed);
  }

  // The name scripts address the dialog by (its resource name).
  const std::string& GetScriptName() const { return scriptName; }

 protected:
  // Takes ownership of `dialog`.
  UI_Dialog(QDialog* dialog, std::string scriptName);

 private:
  int RunScripted();
  int RunInteractively();
  static UI_NodePtr MakeNode(QWidget* widget);

  QDialog* dialog;
  std::string scriptName;
  std::map<std::string, UI_NodePtr> nodes;
  int result = kDialogCancel;
  bool finished = false;
};

}  // namespace noxui::ui
