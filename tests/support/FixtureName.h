// Test names for tests run once per fixture file: the file name with every character that a
// test name cannot hold replaced by '_' ("mp3-cbr.mp3" -> "mp3_cbr_mp3").
#pragma once

#include <algorithm>
#include <cctype>
#include <string>

namespace kiva::test {

inline std::string TestNameFromFile(std::string file) {
  std::replace_if(
      file.begin(), file.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); },
      '_');
  return file;
}

}  // namespace kiva::test
