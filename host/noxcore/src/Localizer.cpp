#include <noxcore/config/Localizer.h>
#include <noxcore/utility/Strings.h>

#include <cstdlib>
#include <fstream>

namespace noxcore::config {

namespace {

std::string EnvironmentValue(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::string LocaleFromEnvironment() {
  for (const char* name : {"NOX_LOCALE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
    std::string value = EnvironmentValue(name);
    if (!value.empty()) return value.substr(0, value.find_first_of(".@"));
  }
  return {};
}

std::string UnescapeLineBreaks(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == 'n') {
      out.push_back('\n');
      ++i;
    } else {
      out.push_back(text[i]);
    }
  }
  return out;
}

}  // namespace

Localizer& Localizer::Get() {
  static Localizer instance;
  return instance;
}

Localizer::Localizer() { Reload(); }

void Localizer::Reload() {
  LoadTable(EnvironmentValue("NOX_STRINGS_DIR"), LocaleFromEnvironment());
}

void Localizer::Configure(const std::string& directory, const std::string& locale) {
  LoadTable(directory, locale);
}

void Localizer::LoadTable(const std::string& directory, const std::string& locale) {
  std::map<std::string, std::u16string, std::less<>> loaded;
  if (!directory.empty() && !locale.empty()) {
    // The full locale ("de_DE") first, then its language ("de").
    std::ifstream file(directory + "/" + locale + ".strings");
    if (!file) file.open(directory + "/" + locale.substr(0, locale.find('_')) + ".strings");
    std::string line;
    while (std::getline(file, line)) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      if (line.empty() || line.front() == '#') continue;
      const auto equals = line.find('=');
      if (equals == std::string::npos) continue;
      std::u16string text;
      if (!utility::UTF8to16(UnescapeLineBreaks(line.substr(equals + 1)), text)) continue;
      loaded.emplace(line.substr(0, equals), std::move(text));
    }
  }
  std::lock_guard lock(mutex);
  table = std::move(loaded);
}

std::u16string Localizer::GetLocalizedString(std::string_view keyWithDefault) {
  const auto equals = keyWithDefault.find('=');
  const std::string_view key = keyWithDefault.substr(0, equals);
  {
    std::lock_guard lock(mutex);
    if (const auto found = table.find(key); found != table.end()) return found->second;
  }
  const std::string_view fallback =
      equals == std::string_view::npos ? keyWithDefault : keyWithDefault.substr(equals + 1);
  std::u16string text;
  if (!utility::UTF8to16(fallback, text)) text = utility::AsciiToUTF16(fallback);
  return text;
}

}  // namespace noxcore::config
