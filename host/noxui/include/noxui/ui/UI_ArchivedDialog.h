// A dialog built from a dialog resource of a module: "<name>.ui" (Qt Designer XML) among the
// resources its resource manager finds. Element IDs are the widgets' object names.
#pragma once

#include <noxui/drawbot/Supplier.h>
#include <noxui/ui/UI_Dialog.h>
#include <noxui/utility/ResourceManager.h>

#include <boost/function.hpp>

#include <string>

namespace noxui::ui {

struct Point {
  double x = 0.0;
  double y = 0.0;
};

class UI_ArchivedDialog : public UI_Dialog {
 public:
  using BuiltCallback = boost::function<void(UI_ArchivedDialog&)>;

  // Loads the resource `name` and makes its dialog, titled `title`, over `parentWindow` (a
  // QWidget*, or null for the active modal window or none). `modal` blocks the rest of the
  // application while it runs; `resizable` lets the user change its size. `position` is the
  // top-left corner on the screen, with (0, 0) meaning centred over the parent. `built` is
  // called once the dialog is made. Raises a host error when the resource is missing or is not
  // a dialog.
  UI_ArchivedDialog(const drawbot::SupplierInterface* supplier,
                    const utility::ResourceManager* resources, const std::string& name,
                    const std::u16string& title, void* parentWindow, bool modal, bool resizable,
                    Point position, const BuiltCallback& built);
  ~UI_ArchivedDialog() override;

  const drawbot::SupplierInterface* GetDrawSupplier() const { return supplier; }

 private:
  const drawbot::SupplierInterface* supplier;
};

using UI_ArchivedDialogPtr = boost::intrusive_ptr<UI_ArchivedDialog>;

}  // namespace noxui::ui
