// The private runtime directory the toolkit wants (XDG_RUNTIME_DIR), for a process started
// outside a session, which has none.
#pragma once

#include <string>

namespace noxui::ui::detail {

// The runtime directory to use under `temporaryDirectory`: the usual one of the current user,
// made if missing, when it is a directory of the user's own with mode 0700; else a fresh private
// one. Empty when none could be made.
std::string PrivateRuntimeDirectory(const std::string& temporaryDirectory);

}  // namespace noxui::ui::detail
