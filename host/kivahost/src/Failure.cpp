#include "Failure.h"

#include "Console.h"
#include "JsonText.h"
#include "PlainCause.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace kivahost {

int Report(const Failure& given, bool json, int exitStatus) {
  // Standard input read through its temporary copy is named as the user named it.
  Failure failure{WithInputNamed(given.what), given.status, {}, WithInputNamed(given.cause)};
  for (const auto& message : given.messages) failure.messages.push_back(WithInputNamed(message));
  if (json) {
    nlohmann::ordered_json error{{"what", failure.what},
                                 {"status", failure.status},
                                 {"messages", failure.messages},
                                 {"cause", nullptr}};
    if (!failure.cause.empty()) error["cause"] = failure.cause;
    Results() << JsonText(nlohmann::ordered_json{{"error", error}}) << '\n';
    return exitStatus;
  }
  // kivahost's own failures have no status to show: their cause is the whole story.
  if (failure.status == 0 && failure.messages.empty()) {
    std::cerr << "kivahost: " << failure.what << (failure.cause.empty() ? "" : ": " + failure.cause)
              << '\n';
    return exitStatus;
  }
  std::cerr << "kivahost: " << failure.what << " (status " << failure.status << ")\n";
  for (const auto& message : failure.messages) std::cerr << "  " << message << '\n';
  if (!failure.cause.empty()) std::cerr << "  Cause: " << failure.cause << '\n';
  return exitStatus;
}

int ReportFailure(const PlugInError& error, const std::string& input, bool json) {
  return Report({error.what(), error.Status(), error.Messages(), InputCause(input)}, json);
}

int ReportOutputFailure(const std::string& target, const OutputError& error, bool json) {
  return Report({"cannot write " + target, 0, {}, error.what()}, json);
}

}  // namespace kivahost
