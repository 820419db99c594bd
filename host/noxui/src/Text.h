// Names from modules and scripts (resource names, control IDs; UTF-8) as host text (UTF-16),
// for the messages of the framework's errors.
#pragma once

#include <QString>

#include <string>

namespace noxui::ui::detail {

inline std::u16string ToUTF16(const std::string& text) {
  return QString::fromStdString(text).toStdU16String();
}

}  // namespace noxui::ui::detail
