// The toolkit's application object, made on first use rather than when a library is loaded or a
// module starts: a host that never shows a dialog or draws never brings the toolkit up.
#pragma once

namespace noxui::ui {

// Makes the process's widget application if there is none yet. Without a display (no DISPLAY
// or WAYLAND_DISPLAY, and no platform chosen through QT_QPA_PLATFORM) it draws offscreen, and
// only scripted dialogs can run. Raises a host error when the process already made a toolkit
// application that cannot show widgets.
void EnsureApplication();

// Whether the application draws offscreen because the process has no display.
bool IsWithoutDisplay();

}  // namespace noxui::ui
