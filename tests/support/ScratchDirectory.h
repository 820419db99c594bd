// A directory of a test's own under GoogleTest's temporary directory: made fresh (never one that
// a killed run left behind) and removed with everything in it when the test ends.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include <stdlib.h>

namespace kiva::test {

class ScratchDirectory {
 public:
  explicit ScratchDirectory(const std::string& prefix) {
    std::string pattern =
        (std::filesystem::path(::testing::TempDir()) / (prefix + "-XXXXXX")).string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("cannot make a directory like " + pattern);
    }
    path = pattern;
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::filesystem::path& Path() const { return path; }

 private:
  std::filesystem::path path;
};

}  // namespace kiva::test
