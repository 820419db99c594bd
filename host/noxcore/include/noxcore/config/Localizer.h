// Localised texts. A key reads "$$$/Group/Name=Default text": the part before the first "=" is
// looked up in the host's string table for the current locale, and the default text is used
// when the table has no entry (or there is no "=" at all, in which case the key is the text).
//
// String tables are plain UTF-8 files, one per locale: <directory>/<locale>.strings, holding
// lines "$$$/Group/Name=Translated text"; blank lines and lines starting with '#' are ignored;
// "\n" in a translation stands for a line break. The directory comes from NOX_STRINGS_DIR and
// the locale from NOX_LOCALE, else LC_ALL / LC_MESSAGES / LANG ("de_DE.UTF-8" -> "de_DE", then
// "de" is tried).
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace noxcore::config {

class Localizer {
 public:
  static Localizer& Get();

  // Thread-safe. Unknown keys and malformed input give the default text, never an error.
  std::u16string GetLocalizedString(std::string_view keyWithDefault);

  // Re-reads the environment and the string table (for hosts that switch language at run time).
  void Reload();
  // Uses `directory` and `locale` instead of the environment.
  void Configure(const std::string& directory, const std::string& locale);

 private:
  Localizer();
  void LoadTable(const std::string& directory, const std::string& locale);

  std::mutex mutex;
  std::map<std::string, std::u16string, std::less<>> table;
};

}  // namespace noxcore::config
