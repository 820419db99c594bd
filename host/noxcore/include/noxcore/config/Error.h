// The host's error exception. Anything the host frameworks raise is a HostError; nothing else is
// thrown across a library edge.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace noxcore::config {

// A value for one placeholder of an error text.
class ReplacementValue {
 public:
  ReplacementValue() = default;
  ReplacementValue(std::u16string text);  // NOLINT(google-explicit-constructor): a value
  ReplacementValue(std::int64_t number);  // NOLINT(google-explicit-constructor)
  const std::u16string& Text() const { return text; }

 private:
  std::u16string text;
};

class HostError : public std::exception {
 public:
  HostError(int errorLevel, std::u16string message, std::int32_t group, std::int32_t code);
  const char* what() const noexcept override { return utf8Message.c_str(); }
  const std::u16string& Message() const { return message; }
  int ErrorLevel() const { return errorLevel; }
  std::int32_t Group() const { return group; }
  std::int32_t Code() const { return code; }

 private:
  int errorLevel;
  std::u16string message;
  std::string utf8Message;
  std::int32_t group;
  std::int32_t code;
};

// Localises `key` ("$$$/Group/Name=Default"), fills "@0".."@3" with the replacement values and
// throws a HostError. `report` asks the host to show the error to the user when it catches it.
[[noreturn]] void ThrowError(int errorLevel, const char* key, std::int32_t group, std::int32_t code,
                             bool report, const ReplacementValue& r0 = {},
                             const ReplacementValue& r1 = {}, const ReplacementValue& r2 = {},
                             const ReplacementValue& r3 = {});

}  // namespace noxcore::config
