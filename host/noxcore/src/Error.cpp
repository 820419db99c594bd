#include <noxcore/config/Error.h>
#include <noxcore/config/Localizer.h>
#include <noxcore/utility/Strings.h>

namespace noxcore::config {

ReplacementValue::ReplacementValue(std::u16string text) : text(std::move(text)) {}

ReplacementValue::ReplacementValue(std::int64_t number) : text(utility::NumberToString(number)) {}

HostError::HostError(int errorLevel, std::u16string message, std::int32_t group, std::int32_t code)
    : errorLevel(errorLevel), message(std::move(message)), group(group), code(code) {
  if (!utility::UTF16to8(this->message, utf8Message)) utf8Message = "(unprintable error text)";
}

void ThrowError(int errorLevel, const char* key, std::int32_t group, std::int32_t code,
                bool /*report*/, const ReplacementValue& r0, const ReplacementValue& r1,
                const ReplacementValue& r2, const ReplacementValue& r3) {
  const std::u16string text = Localizer::Get().GetLocalizedString(key != nullptr ? key : "");
  throw HostError(errorLevel,
                  utility::ReplaceInString(text, r0.Text(), r1.Text(), r2.Text(), r3.Text()), group,
                  code);
}

}  // namespace noxcore::config
