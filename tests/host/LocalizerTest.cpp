#include <noxcore/config/Error.h>
#include <noxcore/config/Localizer.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

using noxcore::config::Localizer;

class LocalizerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Tests run in parallel processes: each gets string tables of its own.
    directory = ::testing::TempDir() + "localizer-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::create_directories(directory);
    std::ofstream(directory + "/de.strings") << "# German\n"
                                                "$$$/Test/Hello=Hallo\n"
                                                "\n"
                                                "$$$/Test/Lines=eins\\nzwei\n"
                                                "$$$/Test/Equals=a=b\r\n";
    std::ofstream(directory + "/fr_CA.strings") << "$$$/Test/Hello=Allo\n";
  }
  void TearDown() override {
    Localizer::Get().Configure("", "");
    std::filesystem::remove_all(directory);
  }
  std::string directory;
};

TEST_F(LocalizerTest, DefaultTextWithoutATable) {
  Localizer::Get().Configure("", "");
  EXPECT_EQ(Localizer::Get().GetLocalizedString("$$$/Test/Hello=Hello there"), u"Hello there");
  EXPECT_EQ(Localizer::Get().GetLocalizedString("$$$/Test/Eq=x = y"), u"x = y");
  EXPECT_EQ(Localizer::Get().GetLocalizedString("no key"), u"no key");
}

TEST_F(LocalizerTest, TranslationFromTheLocalesTable) {
  Localizer::Get().Configure(directory, "de");
  EXPECT_EQ(Localizer::Get().GetLocalizedString("$$$/Test/Hello=Hello"), u"Hallo");
  EXPECT_EQ(Localizer::Get().GetLocalizedString("$$$/Test/Lines=one"), u"eins\nzwei");
  EXPECT_EQ(Localizer::Get().GetLocalizedString("$$$/Test/Equals=x"), u"a=b");
  EXPECT_EQ(Localizer::Get().GetLocalizedString("$$$/Test/Missing=Fallback"), u"Fallback");
}

TEST_F(LocalizerTest, RegionFallsBackToTheLanguage) {
  Localizer::Get().Configure(directory, "de_AT");
  EXPECT_EQ(Localizer::Get().GetLocalizedString("$$$/Test/Hello=Hello"), u"Hallo");
  Localizer::Get().Configure(directory, "fr_CA");
  EXPECT_EQ(Localizer::Get().GetLocalizedString("$$$/Test/Hello=Hello"), u"Allo");
}

TEST_F(LocalizerTest, EnvironmentChoosesTheTable) {
  setenv("NOX_STRINGS_DIR", directory.c_str(), 1);
  setenv("NOX_LOCALE", "de_DE.UTF-8", 1);
  Localizer::Get().Reload();
  EXPECT_EQ(Localizer::Get().GetLocalizedString("$$$/Test/Hello=Hello"), u"Hallo");
  unsetenv("NOX_STRINGS_DIR");
  unsetenv("NOX_LOCALE");
}

TEST_F(LocalizerTest, ThrowErrorRaisesTheLocalisedTextWithReplacements) {
  Localizer::Get().Configure("", "");
  try {
    noxcore::config::ThrowError(0, "$$$/Test/Err=Error @0 in @1", 105, 25, true, std::int64_t{-36},
                                std::u16string(u"file.mov"));
    FAIL() << "no exception";
  } catch (const noxcore::config::HostError& error) {
    EXPECT_EQ(error.Message(), u"Error -36 in file.mov");
    EXPECT_STREQ(error.what(), "Error -36 in file.mov");
    EXPECT_EQ(error.Group(), 105);
    EXPECT_EQ(error.Code(), 25);
  }
}

}  // namespace
