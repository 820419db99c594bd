// JSON results as kivahost prints them: indented by two, and never refused for a name that is not
// UTF-8 (any byte string is a Linux file name); such bytes are shown as U+FFFD.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kivahost {

inline std::string JsonText(const nlohmann::ordered_json& value) {
  return value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace kivahost
