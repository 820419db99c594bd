#include <noxcore/config/Error.h>
#include <noxui/ui/UI_Message.h>

namespace noxui::ui {

UI_Message::~UI_Message() = default;

UI_MessageHandler::~UI_MessageHandler() = default;

void ThrowInvalidTypeConversion() {
  noxcore::config::ThrowError(
      0, "$$$/noxcore/utility/Error/InvalidTypeConversion=Invalid type conversion.", 105, 26, true);
}

}  // namespace noxui::ui
