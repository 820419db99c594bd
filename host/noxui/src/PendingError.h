// An error raised by a module's handler inside the toolkit's event handling, kept until the
// dialog's modal run can raise it (exceptions must not cross the toolkit's event loop).
#pragma once

#include <exception>

namespace noxui::ui::detail {

// Keeps the first error of the current modal run; later ones are dropped.
void KeepPendingError(std::exception_ptr error);
// Raises the kept error, if any, and forgets it.
void RaisePendingError();

}  // namespace noxui::ui::detail
