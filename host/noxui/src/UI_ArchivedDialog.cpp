#include "ApplicationThread.h"
#include "Text.h"

#include <noxcore/config/Error.h>
#include <noxui/ui/Application.h>
#include <noxui/ui/UI_ArchivedDialog.h>

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QUiLoader>

namespace noxui::ui {

namespace {

constexpr const char* kMissingResource =
    "$$$/noxui/ArchivedDialog/MissingResource=The dialog resource \"@0\" could not be found.";
constexpr const char* kUnreadableResource =
    "$$$/noxui/ArchivedDialog/UnreadableResource=The dialog resource \"@0\" could not be read: "
    "@1";
constexpr const char* kNotADialog =
    "$$$/noxui/ArchivedDialog/NotADialog=The dialog resource \"@0\" does not hold a dialog.";

QDialog* LoadDialog(const utility::ResourceManager* resources, const std::string& name,
                    void* parentWindow) {
  EnsureApplication();
  const std::u16string dialogName = detail::ToUTF16(name);
  detail::RequireApplicationThread(dialogName);
  const std::string path = resources != nullptr ? resources->FindResource(name + ".ui") : "";
  if (path.empty()) noxcore::config::ThrowError(0, kMissingResource, 106, 10, true, dialogName);
  QFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::ReadOnly)) {
    noxcore::config::ThrowError(0, kUnreadableResource, 106, 11, true, dialogName,
                                file.errorString().toStdU16String());
  }
  // A dialog opened from another modal dialog stays above it.
  QWidget* parent = parentWindow != nullptr ? static_cast<QWidget*>(parentWindow)
                                            : QApplication::activeModalWidget();
  QUiLoader loader;
  QWidget* widget = loader.load(&file, parent);
  if (widget == nullptr) {
    noxcore::config::ThrowError(0, kUnreadableResource, 106, 11, true, dialogName,
                                loader.errorString().toStdU16String());
  }
  auto* dialog = qobject_cast<QDialog*>(widget);
  if (dialog == nullptr) {
    delete widget;
    noxcore::config::ThrowError(0, kNotADialog, 106, 12, true, dialogName);
  }
  return dialog;
}

}  // namespace

UI_ArchivedDialog::UI_ArchivedDialog(const drawbot::SupplierInterface* supplier,
                                     const utility::ResourceManager* resources,
                                     const std::string& name, const std::u16string& title,
                                     void* parentWindow, bool modal, bool resizable, Point position,
                                     const BuiltCallback& built)
    : UI_Dialog(LoadDialog(resources, name, parentWindow), name), supplier(supplier) {
  auto* dialog = static_cast<QDialog*>(GetWidget());
  dialog->setWindowTitle(QString::fromStdU16String(title));
  dialog->setModal(modal);
  if (!resizable) dialog->setFixedSize(dialog->size());
  if (position.x != 0.0 || position.y != 0.0) {
    dialog->move(static_cast<int>(position.x), static_cast<int>(position.y));
  }
  if (built) built(*this);
}

UI_ArchivedDialog::~UI_ArchivedDialog() = default;

}  // namespace noxui::ui
