#include "ApplicationThread.h"
#include "PendingError.h"
#include "Text.h"

#include <noxcore/config/Error.h>
#include <noxcore/utility/Strings.h>
#include <noxui/controls/UI_Popup.h>
#include <noxui/controls/UI_StaticText.h>
#include <noxui/ui/Application.h>
#include <noxui/ui/DialogScript.h>
#include <noxui/ui/UI_Dialog.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QPushButton>

namespace noxui::ui {

namespace {

constexpr const char* kNoDisplay =
    "$$$/noxui/Dialog/NoDisplay=There is no display to show the dialog \"@0\" on.";
constexpr const char* kNoSuchControl =
    "$$$/noxui/DialogScript/NoSuchControl=The dialog \"@0\" has no control \"@1\".";
constexpr const char* kNoSuchItem =
    "$$$/noxui/DialogScript/NoSuchItem=The popup \"@1\" of the dialog \"@0\" has no item \"@2\".";

// The popup item showing `text`: an exact match first, then one that differs only in case.
int FindItem(const controls::UI_Popup& popup, const std::u16string& text) {
  const QString wanted = QString::fromStdU16String(text);
  for (Qt::CaseSensitivity sensitivity : {Qt::CaseSensitive, Qt::CaseInsensitive}) {
    for (int index = 0; index < popup.GetItemCount(); ++index) {
      if (QString::fromStdU16String(popup.GetItemText(index)).compare(wanted, sensitivity) == 0) {
        return index;
      }
    }
  }
  return -1;
}

}  // namespace

UI_Dialog::UI_Dialog(QDialog* dialog, std::string scriptName)
    : UI_Node(dialog), dialog(dialog), scriptName(std::move(scriptName)) {
  QObject::connect(dialog, &QDialog::finished, dialog, [this](int code) {
    finished = true;
    result = code == kDialogOK ? kDialogOK : kDialogCancel;
  });
}

UI_Dialog::~UI_Dialog() {
  for (auto& [id, node] : nodes) node->Detach();
  Detach();
  delete dialog;
}

void UI_Dialog::SetOkButton(boost::intrusive_ptr<controls::UI_Button> button) {
  auto* widget = button ? qobject_cast<QAbstractButton*>(button->GetWidget()) : nullptr;
  if (widget == nullptr) return;
  QObject::connect(widget, &QAbstractButton::clicked, dialog, [this] { dialog->done(kDialogOK); });
  if (auto* push = qobject_cast<QPushButton*>(widget)) push->setDefault(true);
}

void UI_Dialog::SetCancelButton(boost::intrusive_ptr<controls::UI_Button> button) {
  auto* widget = button ? qobject_cast<QAbstractButton*>(button->GetWidget()) : nullptr;
  if (widget == nullptr) return;
  QObject::connect(widget, &QAbstractButton::clicked, dialog,
                   [this] { dialog->done(kDialogCancel); });
}

int UI_Dialog::RunModal() {
  const std::u16string title = dialog->windowTitle().toStdU16String();
  detail::RequireApplicationThread(title);
  finished = false;
  result = kDialogCancel;
  if (DialogScript::Get().IsActive()) return RunScripted();
  if (IsWithoutDisplay()) noxcore::config::ThrowError(0, kNoDisplay, 106, 3, true, title);
  return RunInteractively();
}

int UI_Dialog::RunInteractively() {
  dialog->exec();
  detail::RaisePendingError();
  return result;
}

int UI_Dialog::RunScripted() {
  std::vector<ScriptStep> steps;
  if (!DialogScript::Get().TakeRun(scriptName, steps)) return kDialogCancel;
  dialog->show();
  for (const ScriptStep& step : steps) {
    if (finished) break;
    const UI_NodePtr node = GetNodeForID(step.controlID.c_str());
    if (!node) {
      dialog->hide();
      noxcore::config::ThrowError(0, kNoSuchControl, 106, 4, true, detail::ToUTF16(scriptName),
                                  detail::ToUTF16(step.controlID));
    }
    if (step.kind == ScriptStep::kClick) {
      GetTypedControlForID<controls::UI_Button>(step.controlID.c_str())->Click();
    } else {
      auto popup = GetTypedControlForID<controls::UI_Popup>(step.controlID.c_str());
      const int index =
          step.kind == ScriptStep::kChooseIndex ? step.index : FindItem(*popup, step.text);
      if (index < 0 || index >= popup->GetItemCount()) {
        dialog->hide();
        const std::u16string item = step.kind == ScriptStep::kChooseIndex
                                        ? u"#" + noxcore::utility::NumberToString(step.index)
                                        : step.text;
        noxcore::config::ThrowError(0, kNoSuchItem, 106, 5, true, detail::ToUTF16(scriptName),
                                    detail::ToUTF16(step.controlID), item);
      }
      popup->Choose(index);
      DialogScript::Get().NoteChosen(step.controlID, popup->GetItemText(index));
    }
    QCoreApplication::processEvents();
    detail::RaisePendingError();
  }
  // A script that does not close its dialog leaves nobody to close it.
  if (!finished) dialog->done(kDialogCancel);
  return result;
}

UI_NodePtr UI_Dialog::GetNodeForID(const char* id) {
  if (id == nullptr || dialog == nullptr) return nullptr;
  const auto found = nodes.find(id);
  if (found != nodes.end()) return found->second;
  auto* widget = dialog->findChild<QWidget*>(QString::fromUtf8(id));
  if (widget == nullptr) return nullptr;
  UI_NodePtr node = MakeNode(widget);
  nodes.emplace(id, node);
  return node;
}

UI_NodePtr UI_Dialog::MakeNode(QWidget* widget) {
  if (qobject_cast<QComboBox*>(widget) != nullptr) return new controls::UI_Popup(widget);
  if (qobject_cast<QPushButton*>(widget) != nullptr) return new controls::UI_TextButton(widget);
  if (qobject_cast<QAbstractButton*>(widget) != nullptr) return new controls::UI_Button(widget);
  if (qobject_cast<QLabel*>(widget) != nullptr) return new controls::UI_StaticText(widget);
  return new UI_Node(widget);
}

}  // namespace noxui::ui
