// The codec of a plug-in's private settings string: named integer and string attributes,
// written as "name:0:123;" and "name:1:text;" entries, integers first, each kind in name order.
//
// The format has no escaping, so its users keep to these rules: names of two or more characters
// without ':', values without ';', and no empty string values (they are written but not read).
#pragma once

#include <map>
#include <string>

namespace kiva {

class KivaPrivateSettingsSerializer {
 public:
  using IntegerMap = std::map<std::u16string, int>;
  using StringMap = std::map<std::u16string, std::u16string>;

  // Parses `serialized`, skipping malformed entries one by one. Clears the integer attributes
  // only; string attributes already present keep their values.
  void Initialize(const std::u16string& serialized);

  // Both insert only when the name is not yet present: the first value added wins.
  void AddAttribute(const std::u16string& name, const std::u16string& value);
  void AddAttribute(const std::u16string& name, int value);

  // The string attribute, or empty when absent.
  std::u16string GetAttribute(const std::u16string& name) const;
  // The integer attribute, or `defaultValue` when absent.
  int GetAttribute(const std::u16string& name, int defaultValue) const;
  // True with `value` set when the integer attribute exists; `value` untouched otherwise.
  bool QueryAttribute(const std::u16string& name, int& value) const;

  // Each writes one map's entries into `out`, which it clears first.
  static void Serialize(const IntegerMap& attributes, std::u16string& out);
  static void Serialize(const StringMap& attributes, std::u16string& out);
  // The integer entries followed directly by the string entries.
  std::u16string GetSerializedString() const;

 private:
  IntegerMap integerAttributes;
  StringMap stringAttributes;
};

}  // namespace kiva
