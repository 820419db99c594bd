#include <noxcore/config/Error.h>
#include <noxcore/filesupport/File.h>
#include <noxcore/utility/Strings.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

using noxcore::filesupport::File;

std::u16string Wide(const std::string& text) {
  std::u16string out;
  noxcore::utility::UTF8to16(text, out);
  return out;
}

TEST(File, ExistsAndDelete) {
  const std::string path = ::testing::TempDir() + "/file-test-\xC3\xA4.mov";
  std::ofstream(path) << "x";
  const File file(Wide(path));
  EXPECT_TRUE(file.Exists());
  file.Delete();
  EXPECT_FALSE(file.Exists());
  EXPECT_NO_THROW(file.Delete());  // already gone
}

TEST(File, DeleteThatFailsRaisesTheHostError) {
  const std::filesystem::path directory =
      std::filesystem::path(::testing::TempDir()) / "file-test-dir";
  std::filesystem::create_directories(directory / "inside");
  // A non-empty directory cannot be removed like a file.
  EXPECT_THROW(File(Wide(directory.string())).Delete(), noxcore::config::HostError);
  std::filesystem::remove_all(directory);
}

TEST(File, AnEmptyDirectoryIsNotDeleted) {
  const std::filesystem::path directory =
      std::filesystem::path(::testing::TempDir()) / "file-test-empty-dir";
  std::filesystem::create_directories(directory);
  EXPECT_THROW(File(Wide(directory.string())).Delete(), noxcore::config::HostError);
  EXPECT_TRUE(std::filesystem::is_directory(directory));
  std::filesystem::remove(directory);
}

TEST(File, ALockedFileIsNotDeleted) {
  const std::string path = ::testing::TempDir() + "/file-test-locked.mov";
  std::ofstream(path) << "keep";
  std::filesystem::permissions(path, std::filesystem::perms::owner_read |
                                         std::filesystem::perms::group_read |
                                         std::filesystem::perms::others_read);
  EXPECT_THROW(File(Wide(path)).Delete(), noxcore::config::HostError);
  EXPECT_TRUE(std::filesystem::exists(path));
  std::filesystem::permissions(path, std::filesystem::perms::owner_write,
                               std::filesystem::perm_options::add);
  std::filesystem::remove(path);
}

TEST(File, ALinkIsNotDeletedNorWhatItNames) {
  const std::string target = ::testing::TempDir() + "/file-test-link-target.mov";
  const std::string link = ::testing::TempDir() + "/file-test-link.mov";
  std::ofstream(target) << "keep";
  std::filesystem::remove(link);
  std::filesystem::create_symlink(target, link);
  EXPECT_THROW(File(Wide(link)).Delete(), noxcore::config::HostError);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_TRUE(std::filesystem::exists(target));
  std::filesystem::remove(link);
  std::filesystem::remove(target);
}

TEST(File, Extension) {
  EXPECT_EQ(File(u"/a/song.MOV").GetExtension(), u".MOV");
  EXPECT_EQ(File(u"/a/archive.tar.gz").GetExtension(), u".gz");
  EXPECT_EQ(File(u"/a.dir/song").GetExtension(), u"");
  EXPECT_EQ(File(u"/a/.hidden").GetExtension(), u"");
  EXPECT_EQ(File(u"song.m4a").GetExtension(), u".m4a");
}

TEST(File, EmptyPathNeverExists) { EXPECT_FALSE(File(u"").Exists()); }

}  // namespace
