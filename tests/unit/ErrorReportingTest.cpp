// The coded "could not open" messages sent for a failed open.

#include "KivaQTInterface.h"
#include "RecordMocks.h"

#include <noxcore/config/Localizer.h>

#include <cstdio>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kiva;
using ::testing::Return;
using ::testing::StrictMock;

// Serves selector 3 by sending the extended error it was given, so that the reporter the entry
// fetched is the one SetExtendedError writes to.
class ExtendedErrorProbe : public KivaQTInterface {
 public:
  explicit ExtendedErrorProbe(qt::Source::ExtendedErrorInfo info) : info(std::move(info)) {}
  int PreOpenForRead(KivaPreOpenInterface&) override {
    SetExtendedError(info);
    return kKivaSuccess;
  }

 private:
  qt::Source::ExtendedErrorInfo info;
};

std::vector<std::u16string> SendThroughReporter(qt::Source::ExtendedErrorInfo info) {
  std::vector<std::u16string> texts;
  StrictMock<test::MockErrorReporter> reporter;
  EXPECT_CALL(reporter, SetErrorText(::testing::_)).WillRepeatedly([&texts](const char16_t* text) {
    texts.emplace_back(text);
  });
  StrictMock<test::MockPreOpen> preOpen;
  EXPECT_CALL(preOpen, GetErrorReporter()).WillOnce(Return(&reporter));
  ExtendedErrorProbe probe(std::move(info));
  EXPECT_EQ(probe.EntryPoint(kSelPreOpenForRead, nullptr, &preOpen), kKivaSuccess);
  return texts;
}

qt::Source::ExtendedErrorInfo Info(std::int32_t kind, std::int32_t code) {
  qt::Source::ExtendedErrorInfo info;
  info.kind = kind;
  info.code = code;
  return info;
}

TEST(ExtendedError, KindZeroSendsNothing) {
  EXPECT_TRUE(SendThroughReporter(Info(0, -43)).empty());
  EXPECT_TRUE(SendThroughReporter(Info(0, -2048)).empty());
  EXPECT_TRUE(SendThroughReporter(Info(2, -43)).empty());
}

TEST(ExtendedError, Code2048AddsTheCodecHint) {
  EXPECT_EQ(SendThroughReporter(Info(1, -2048)),
            std::vector<std::u16string>{
                u"KivaQT plug-in could not open the file.  Code: -2048.  This may indicate that "
                u"the file is invalid, or uses a codec that is not installed or licensed."});
}

TEST(ExtendedError, OtherCodesGiveTheCodedText) {
  EXPECT_EQ(SendThroughReporter(Info(1, -43)),
            std::vector<std::u16string>{u"KivaQT plug-in could not open the file.  Code: -43"});
}

TEST(ExtendedError, CodeZeroGivesTheCodedTextWithZero) {
  EXPECT_EQ(SendThroughReporter(Info(1, 0)),
            std::vector<std::u16string>{u"KivaQT plug-in could not open the file.  Code: 0"});
}

TEST(ExtendedError, CarriedFieldsDoNotChangeTheText) {
  qt::Source::ExtendedErrorInfo info = Info(1, -36);
  info.text1 = u"first";
  info.text2 = u"second";
  info.value = 99;
  EXPECT_EQ(SendThroughReporter(info),
            std::vector<std::u16string>{u"KivaQT plug-in could not open the file.  Code: -36"});
}

TEST(ExtendedError, NoReporterDropsTheTextAndKeepsTheResult) {
  StrictMock<test::MockPreOpen> preOpen;
  EXPECT_CALL(preOpen, GetErrorReporter()).WillOnce(Return(nullptr));
  ExtendedErrorProbe probe(Info(1, -2048));
  EXPECT_EQ(probe.EntryPoint(kSelPreOpenForRead, nullptr, &preOpen), kKivaSuccess);
}

TEST(ExtendedError, TranslationsFromTheHostsStringTableAreUsed) {
  const std::string directory = ::testing::TempDir();
  {
    std::FILE* table = std::fopen((directory + "/xx.strings").c_str(), "w");
    ASSERT_NE(table, nullptr);
    std::fputs("$$$/KivaPlugIns/KivaQT/GeneralOpenCode=Datei nicht lesbar (@0)\n", table);
    std::fclose(table);
  }
  noxcore::config::Localizer::Get().Configure(directory, "xx");
  EXPECT_EQ(SendThroughReporter(Info(1, -54)),
            std::vector<std::u16string>{u"Datei nicht lesbar (-54)"});
  noxcore::config::Localizer::Get().Configure("", "");
}

}  // namespace
