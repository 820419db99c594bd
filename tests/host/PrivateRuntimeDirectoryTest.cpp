// The runtime directory noxui gives the toolkit when the process has none: only a directory of
// the user's own that no one else can enter is used; anything else found in its place is passed
// over for a fresh private one.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "PrivateRuntimeDirectory.h"

namespace {

namespace fs = std::filesystem;
using noxui::ui::detail::PrivateRuntimeDirectory;

class PrivateRuntimeDirectoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = ::testing::TempDir() + "/runtime-directory-XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    temporary = pattern;
    usual = temporary + "/noxui-runtime-" + std::to_string(geteuid());
  }
  void TearDown() override { fs::remove_all(temporary); }

  // Whether `path` is a directory (not a link) of the current user that only that user can enter.
  static bool IsPrivate(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid() && (status.st_mode & 07777) == 0700;
  }

  // Expects a fresh private directory under the temporary directory in place of `planted`.
  void ExpectFreshDirectoryInsteadOf(const std::string& planted) {
    const std::string runtime = PrivateRuntimeDirectory(temporary);
    EXPECT_NE(runtime, planted);
    EXPECT_EQ(fs::path(runtime).parent_path(), fs::path(temporary));
    EXPECT_TRUE(IsPrivate(runtime)) << runtime;
  }

  std::string temporary;
  std::string usual;
};

TEST_F(PrivateRuntimeDirectoryTest, MakesAMissingDirectoryPrivate) {
  // Even where the process's umask would take the owner's own write permission.
  const mode_t old = umask(0277);
  const std::string runtime = PrivateRuntimeDirectory(temporary);
  umask(old);
  EXPECT_EQ(runtime, usual);
  EXPECT_TRUE(IsPrivate(runtime));
}

TEST_F(PrivateRuntimeDirectoryTest, UsesItsOwnPrivateDirectoryAgain) {
  ASSERT_EQ(mkdir(usual.c_str(), 0700), 0);
  EXPECT_EQ(PrivateRuntimeDirectory(temporary), usual);
}

TEST_F(PrivateRuntimeDirectoryTest, PassesOverADirectoryOthersCanEnter) {
  ASSERT_EQ(mkdir(usual.c_str(), 0700), 0);
  ASSERT_EQ(chmod(usual.c_str(), 0777), 0);
  ExpectFreshDirectoryInsteadOf(usual);
  struct stat status {};
  ASSERT_EQ(stat(usual.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0777u) << "the directory found is left as it was";
}

TEST_F(PrivateRuntimeDirectoryTest, PassesOverALinkToAPrivateDirectory) {
  const std::string target = temporary + "/elsewhere";
  ASSERT_EQ(mkdir(target.c_str(), 0700), 0);
  ASSERT_EQ(symlink(target.c_str(), usual.c_str()), 0);
  ExpectFreshDirectoryInsteadOf(usual);
  EXPECT_NE(PrivateRuntimeDirectory(temporary), target);
}

TEST_F(PrivateRuntimeDirectoryTest, PassesOverAFile) {
  ASSERT_EQ(close(creat(usual.c_str(), 0600)), 0);
  ExpectFreshDirectoryInsteadOf(usual);
}

TEST_F(PrivateRuntimeDirectoryTest, PassesOverAnotherUsersDirectory) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "giving a directory to another user needs root";
  }
  ASSERT_EQ(mkdir(usual.c_str(), 0700), 0);
  ASSERT_EQ(chown(usual.c_str(), 65534, 65534), 0);
  ExpectFreshDirectoryInsteadOf(usual);
}

}  // namespace
