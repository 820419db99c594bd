// The private runtime directory the toolkit wants (XDG_RUNTIME_DIR), for a process started
// outside a session, which has none.
#pragma once

#include <string>

namespace noxui::ui::detail {

// The runtime directory to use under `temporaryDirectory`, made there if missing. Empty when none
// could be made.
std::string PrivateRuntimeDirectory(const std::string& temporaryDirectory);

}  // namespace noxui::ui::detail
