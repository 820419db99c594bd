#include "ApplicationThread.h"

#include <noxcore/config/Error.h>

#include <QCoreApplication>
#include <QThread>

namespace noxui::ui::detail {

void RequireApplicationThread(const std::u16string& dialogName) {
  if (QThread::currentThread() == QCoreApplication::instance()->thread()) return;
  noxcore::config::ThrowError(
      0,
      "$$$/noxui/Dialog/NotOnMainThread=The dialog \"@0\" can only be shown on the "
      "application's main thread.",
      106, 2, true, dialogName);
}

}  // namespace noxui::ui::detail
