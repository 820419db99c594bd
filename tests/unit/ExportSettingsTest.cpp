// The export side without a dialog: the catalogue, the default format and the settings info.

#include "FakeToolbox.h"
#include "KivaQTInterface.h"
#include "QTExportCatalogue.h"
#include "RecordMocks.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kiva;
using kiva::test::FakeToolbox;
using kiva::test::MakeExporter;
using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::NiceMock;
using ::testing::Return;
using ::testing::StrictMock;

class ExportCatalogue : public ::testing::Test {
 protected:
  void SetUp() override { toolbox = FakeToolbox(); }
  FakeToolbox& toolbox = FakeToolbox::Instance();
};

TEST_F(ExportCatalogue, ExtensionTextsFromSubtypes) {
  toolbox.components = {MakeExporter("AbCd"), MakeExporter("mp4 "), MakeExporter("MP30")};
  std::vector<std::string> extensions;
  qt::InitExportDescriptions(extensions, nullptr, false);
  EXPECT_THAT(extensions, ElementsAre("AbCd", "MP3", "mp4"));
  extensions.clear();
  qt::InitExportDescriptions(extensions, nullptr, true);
  EXPECT_THAT(extensions, ElementsAre("abcd", "mp3", "mp4"));
}

TEST_F(ExportCatalogue, SameSubtypeTwiceGivesTwoEntriesButOneExtension) {
  auto first = MakeExporter("aac ");
  auto second = MakeExporter("aac ");
  second->description.componentManufacturer = 7;
  toolbox.components = {first, second};
  std::vector<std::string> extensions;
  qt::InitExportDescriptions(extensions, nullptr, false);
  EXPECT_THAT(extensions, ElementsAre("aac"));
  std::vector<qt::media::ComponentDescription> catalogue;
  qt::GetExportComponentDescriptions(catalogue);
  ASSERT_EQ(catalogue.size(), 2u);
  EXPECT_EQ(catalogue[1].componentManufacturer, 7u);  // each entry is the component's own
}

TEST_F(ExportCatalogue, BuiltOnceAndCopiedOnEveryCall) {
  toolbox.components = {MakeExporter("lpcm"), MakeExporter("aac ")};
  EXPECT_TRUE(qt::CurrentExportComponentDescriptions().empty());  // nothing before a build
  std::vector<qt::media::ComponentDescription> first;
  qt::GetExportComponentDescriptions(first);
  const int searches = toolbox.getComponentsCalls;
  toolbox.components.push_back(MakeExporter("alac"));  // installed later: not seen
  std::vector<qt::media::ComponentDescription> second;
  qt::GetExportComponentDescriptions(second);
  EXPECT_EQ(toolbox.getComponentsCalls, searches);
  EXPECT_EQ(first, second);
  EXPECT_EQ(second.size(), 2u);
}

TEST_F(ExportCatalogue, ExporterThatCannotBeOpenedIsLeftOutAndTraced) {
  auto broken = MakeExporter("ac-3");
  broken->openError = -1;
  auto importer = kiva::test::MakeImporter("wav ", {"audio/wav"}, {"wav"});
  toolbox.components = {MakeExporter("lpcm"), broken, importer};
  test::TraceCapture trace;
  std::vector<std::string> extensions;
  qt::InitExportDescriptions(extensions, nullptr, false);
  EXPECT_THAT(extensions, ElementsAre("lpcm"));
  EXPECT_EQ(qt::CurrentExportComponentDescriptions().size(), 1u);
  EXPECT_THAT(trace.Messages(),
              ElementsAre("Quicktime component main extension: lpcm",
                          "Quicktime component main extension: ac3", "Could not open."));
}

TEST(ExportDefaults, StereoSixteenBitAt44100InOrder) {
  StrictMock<test::MockFormat> format;
  {
    InSequence order;
    EXPECT_CALL(format, GetErrorReporter()).WillOnce(Return(nullptr));
    EXPECT_CALL(format, SetNumChannels(2));
    EXPECT_CALL(format, SetSampleRate(44100));
    EXPECT_CALL(format, SetSampleType(20));
  }
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelGetDefaultExportSettings, nullptr, &format), 0);
}

struct InfoResult {
  std::int64_t estimate = -1;
  std::u16string description;
};

InfoResult SettingsInfo(std::int32_t sampleType, std::int64_t frames, std::int32_t channels,
                        std::vector<std::int64_t> metadataSizes) {
  InfoResult result;
  StrictMock<test::MockGetExportSettingsInfo> info;
  NiceMock<test::MockFormat> format;
  ON_CALL(format, GetPrivateSettings()).WillByDefault(Return(u"FormatIndex:0:3;"));
  ON_CALL(format, GetSampleType()).WillByDefault(Return(sampleType));
  ON_CALL(format, GetSampleCount()).WillByDefault(Return(frames));
  ON_CALL(format, GetNumChannels()).WillByDefault(Return(channels));
  ON_CALL(format, GetMetadataCount())
      .WillByDefault(Return(static_cast<std::uint32_t>(metadataSizes.size())));
  ON_CALL(format, GetMetadataItem(_, _, _, _))
      .WillByDefault(
          [&](std::uint32_t index, std::u16string&, std::int64_t& size, std::u16string&) {
            size = metadataSizes[index];
            return size >= 0;  // a negative size stands for an item the host does not give
          });
  {
    InSequence order;
    EXPECT_CALL(info, GetErrorReporter()).WillOnce(Return(nullptr));
    EXPECT_CALL(info, SetFirstOption(0));
    EXPECT_CALL(info, SetSecondOption(0));
    EXPECT_CALL(info, GetFormatInterface()).WillOnce(Return(&format));
    EXPECT_CALL(info, SetEstimatedFileSize(_)).WillOnce([&](std::int64_t bytes) {
      result.estimate = bytes;
    });
    EXPECT_CALL(format, SetMimeType(::testing::StrEq("video/quicktime")));
    EXPECT_CALL(format, SetFileType(0x4D4F5620u));
    EXPECT_CALL(format, SetFileCreator(0u));
    EXPECT_CALL(info, SetDescription(_)).WillOnce([&](const std::u16string& text) {
      result.description = text;
    });
  }
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelGetExportSettingsInfo, nullptr, &info), 0);
  return result;
}

TEST(ExportSettingsInfo, EstimateForTwentyFourBitStereo) {
  const InfoResult result = SettingsInfo(30, 1000, 2, {});
  EXPECT_EQ(result.estimate, 3 * 1000 * 2 + 2048);
  EXPECT_EQ(result.description, u"Audio-only .mov format.  Uncompressed PCM audio.");
}

TEST(ExportSettingsInfo, UnknownSampleTypeCountsOnlyTheMetadata) {
  EXPECT_EQ(SettingsInfo(15, 1000, 2, {100, -1, 50}).estimate, 2048 + 100 + 50);
}

TEST(ExportSettingsInfo, EveryKnownSampleType) {
  EXPECT_EQ(SettingsInfo(10, 10, 1, {}).estimate, 10 + 2048);
  EXPECT_EQ(SettingsInfo(20, 10, 1, {}).estimate, 20 + 2048);
  EXPECT_EQ(SettingsInfo(40, 10, 1, {}).estimate, 40 + 2048);
}

}  // namespace
