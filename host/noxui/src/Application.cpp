#include <noxcore/config/Error.h>
#include <noxui/ui/Application.h>

#include <QApplication>

#include <cstdlib>
#include <string>

#include "PrivateRuntimeDirectory.h"

namespace noxui::ui {

namespace {

constexpr const char* kNoWidgets =
    "$$$/noxui/Application/NoWidgets=The application cannot show dialogs: it started the "
    "toolkit without widgets.";

bool sWithoutDisplay = false;

}  // namespace

void EnsureApplication() {
  QCoreApplication* existing = QCoreApplication::instance();
  if (existing != nullptr) {
    if (qobject_cast<QApplication*>(existing) == nullptr) {
      noxcore::config::ThrowError(0, kNoWidgets, 106, 1, true);
    }
    return;
  }
  if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr &&
      std::getenv("QT_QPA_PLATFORM") == nullptr) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    sWithoutDisplay = true;
  }
  if (std::getenv("XDG_RUNTIME_DIR") == nullptr) {
    // The toolkit wants a private runtime directory; a process started outside a session has
    // none. Without one it warns and makes its own.
    const char* temporary = std::getenv("TMPDIR");
    const std::string runtime = detail::PrivateRuntimeDirectory(
        temporary != nullptr && *temporary != '\0' ? temporary : "/tmp");
    if (!runtime.empty()) {
      setenv("XDG_RUNTIME_DIR", runtime.c_str(), 0);
    }
  }
  // The toolkit keeps argc and argv for the application's life: both must be static. The
  // application is never destroyed: at exit, the order in which the toolkit's own statics go is
  // not ours to control, and tearing the application down among them crashes.
  static int argc = 1;
  static char name[] = "noxui";
  static char* argv[] = {name, nullptr};
  static QApplication* application = new QApplication(argc, argv);
  (void)application;
}

bool IsWithoutDisplay() { return sWithoutDisplay; }

}  // namespace noxui::ui
