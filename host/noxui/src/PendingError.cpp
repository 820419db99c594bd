#include "PendingError.h"

namespace noxui::ui::detail {

namespace {

// Dialogs run on the main thread only, but a per-thread slot costs nothing and keeps threads
// from ever seeing each other's errors.
thread_local std::exception_ptr tPendingError;

}  // namespace

void KeepPendingError(std::exception_ptr error) {
  if (!tPendingError) tPendingError = std::move(error);
}

void RaisePendingError() {
  if (!tPendingError) return;
  std::exception_ptr error = std::move(tPendingError);
  tPendingError = nullptr;
  std::rethrow_exception(error);
}

}  // namespace noxui::ui::detail
