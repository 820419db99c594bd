// Dialogs live on the application's (main) thread: widgets made or run on another thread crash
// the toolkit, so a host calling from elsewhere gets a host error instead.
#pragma once

#include <string>

namespace noxui::ui::detail {

// Raises "The dialog "<name>" can only be shown on the application's main thread." when the
// calling thread is not the application's. The application must exist.
void RequireApplicationThread(const std::u16string& dialogName);

}  // namespace noxui::ui::detail
