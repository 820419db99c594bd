// The plug-in's self-description: identity, formats, and the import extensions gathered from
// the media layer's importers.

#include "FakeToolbox.h"
#include "KivaQTInterface.h"
#include "QTExtensions.h"
#include "RecordMocks.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kiva;
using kiva::test::FakeToolbox;
using kiva::test::MakeImporter;
using ::testing::_;
using ::testing::ElementsAre;
using ::testing::Invoke;
using ::testing::StrictMock;

std::vector<std::string> Copy(const std::vector<const char*>* list) {
  std::vector<std::string> out;
  for (const char* item : *list) out.emplace_back(item);
  return out;
}

// Runs selector 0 and returns what the host was told.
struct Description {
  std::string identifier;
  std::u16string displayName;
  std::u16string importName, importID, importFilter;
  std::vector<std::string> importExtensions;
  std::u16string exportName, exportID, exportFilter;
  std::vector<std::string> exportExtensions;
};

Description Describe() {
  Description description;
  StrictMock<test::MockKivaInfo> info;
  ::testing::InSequence order;
  EXPECT_CALL(info, SetInterfaceVersion(1, 0));
  EXPECT_CALL(info, SetPlugInInfo(_, _))
      .WillOnce([&](const char* identifier, const char16_t* name) {
        description.identifier = identifier;
        description.displayName = name;
      });
  EXPECT_CALL(info, AddImportFormat(_, _, _, _))
      .WillOnce([&](const char16_t* name, const char16_t* id,
                    const std::vector<const char*>* extensions, const char16_t* filter) {
        description.importName = name;
        description.importID = id;
        description.importExtensions = Copy(extensions);
        description.importFilter = filter;
      });
  EXPECT_CALL(info, AddExportFormat(_, _, _, _))
      .WillOnce([&](const char16_t* name, const char16_t* id,
                    const std::vector<const char*>* extensions, const char16_t* filter) {
        description.exportName = name;
        description.exportID = id;
        description.exportExtensions = Copy(extensions);
        description.exportFilter = filter;
      });
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelGetKivaInfo, nullptr, &info), kKivaSuccess);
  KivaQTInterface().Terminate();
  return description;
}

class DescriptionTest : public ::testing::Test {
 protected:
  void SetUp() override { toolbox = FakeToolbox(); }
  FakeToolbox& toolbox = FakeToolbox::Instance();
};

TEST_F(DescriptionTest, IdentityAndFormats) {
  const Description description = Describe();
  EXPECT_EQ(description.identifier, "01914214-F044-47F7-A43B-5E98267FAFD0");
  EXPECT_EQ(description.displayName, u"Cadenza QuickTime Kiva plug-in");
  EXPECT_EQ(description.importName, u"QuickTime");
  EXPECT_EQ(description.importID, u"General");
  EXPECT_EQ(description.importFilter,
            u"QuickTime (*.mov, *.aac, *.aiff, *.avi, *.m4a, *.mp3, *.mp4, *.wav, ...)");
  EXPECT_EQ(description.exportName, u"QuickTime");
  EXPECT_EQ(description.exportID, u"AudioMov");
  EXPECT_EQ(description.exportFilter, u"QuickTime (audio-only) (*.mov)");
}

TEST_F(DescriptionTest, NoMatchingImporterGivesMovQtM4a) {
  EXPECT_THAT(Describe().importExtensions, ElementsAre("mov", "qt", "m4a"));
}

TEST_F(DescriptionTest, ExportListIsAlwaysMov) {
  toolbox.components = {MakeImporter("AIFF", {"audio/aiff"}, {"aif,aiff"})};
  EXPECT_THAT(Describe().exportExtensions, ElementsAre("mov"));
}

TEST_F(DescriptionTest, OneLetterPiecesAreDropped) {
  toolbox.components = {MakeImporter("AIFF", {"audio/aiff"}, {"aif,aiff,a"})};
  EXPECT_THAT(Describe().importExtensions, ElementsAre("aif", "aiff", "mov", "qt", "m4a"));
}

TEST_F(DescriptionTest, ImageOnlyImporterAddsNothing) {
  toolbox.components = {MakeImporter("PNGf", {"image/png", "image/x-png"}, {"png,pngf"})};
  EXPECT_THAT(Describe().importExtensions, ElementsAre("mov", "qt", "m4a"));
}

TEST_F(DescriptionTest, MimeTypesMatchByPrefix) {
  toolbox.components = {MakeImporter("foo ", {"audiox/foo"}, {"foo"})};
  EXPECT_THAT(Describe().importExtensions, ElementsAre("foo", "mov", "qt", "m4a"));
}

TEST_F(DescriptionTest, VideoTypesMatchToo) {
  toolbox.components = {MakeImporter("AVI ", {"text/plain", "video/avi"}, {"avi"})};
  EXPECT_THAT(Describe().importExtensions, ElementsAre("avi", "mov", "qt", "m4a"));
}

TEST_F(DescriptionTest, ExtensionsKeepTheirCaseAndSortByBytes) {
  toolbox.components = {MakeImporter("mp3 ", {"audio/mpeg"}, {"mp3"}),
                        MakeImporter("MP3 ", {"audio/mpeg"}, {"MP3"})};
  EXPECT_THAT(Describe().importExtensions, ElementsAre("MP3", "mov", "mp3", "qt", "m4a"));
}

TEST_F(DescriptionTest, PublishedM4aStaysInItsSortedPlace) {
  toolbox.components = {MakeImporter("mpg4", {"video/mp4"}, {"mp4,m4a,m4v"})};
  EXPECT_THAT(Describe().importExtensions, ElementsAre("m4a", "m4v", "mov", "mp4", "qt"));
}

TEST_F(DescriptionTest, PiecesAreKeptAsPublishedWithoutTrimming) {
  toolbox.components = {MakeImporter("wav ", {"audio/wav"}, {"wav, wave,,x,", "bwf"})};
  EXPECT_THAT(Describe().importExtensions, ElementsAre(" wave", "bwf", "mov", "qt", "wav", "m4a"));
}

TEST_F(DescriptionTest, DuplicatesCollapse) {
  toolbox.components = {MakeImporter("a   ", {"audio/a"}, {"mov,qt,aac"}),
                        MakeImporter("b   ", {"audio/b"}, {"aac"})};
  EXPECT_THAT(Describe().importExtensions, ElementsAre("aac", "mov", "qt", "m4a"));
}

TEST_F(DescriptionTest, ImporterWhoseMimeListFailsIsSkippedSilently) {
  auto importer = MakeImporter("wav ", {"audio/wav"}, {"wav"});
  importer->mimeListError = -1;
  toolbox.components = {importer};
  test::TraceCapture trace;
  EXPECT_THAT(Describe().importExtensions, ElementsAre("mov", "qt", "m4a"));
  for (const auto& message : trace.Messages()) {
    EXPECT_EQ(message.find("Quicktime component main extension"), std::string::npos) << message;
  }
  EXPECT_EQ(importer->openCalls, 0);
}

TEST_F(DescriptionTest, ImporterThatCannotBeOpenedIsTracedAndStillCounts) {
  auto importer = MakeImporter("wav ", {"audio/wav"}, {"wav"});
  importer->openError = -2;
  toolbox.components = {importer};
  test::TraceCapture trace;
  EXPECT_THAT(Describe().importExtensions, ElementsAre("mov", "qt", "wav", "m4a"));
  EXPECT_THAT(trace.Messages(),
              ::testing::IsSupersetOf({std::string("Quicktime component main extension: wav"),
                                       std::string("Could not open."),
                                       std::string("Quicktime mime type: audio/wav"),
                                       std::string("Quicktime extension: wav")}));
}

TEST_F(DescriptionTest, TraceOrderForOneImporter) {
  toolbox.components = {MakeImporter("WAVE", {"image/x", "audio/wav"}, {"wav"})};
  test::TraceCapture trace;
  Describe();
  std::vector<std::string> messages;
  for (const auto& message : trace.Messages()) {
    if (message.rfind("Quicktime version", 0) != 0) messages.push_back(message);
  }
  // The traced main extension is lower-cased; the extensions themselves are not.
  EXPECT_THAT(messages, ElementsAre("Quicktime component main extension: wave",
                                    "Quicktime mime type: image/x",
                                    "Quicktime mime type: audio/wav", "Quicktime extension: wav"));
}

TEST_F(DescriptionTest, SearchTakesOnlyFileImportersWithMimeLists) {
  auto asExtension = MakeImporter("aaa ", {"audio/a"}, {"aaa"});
  asExtension->description.componentFlags |= qt::media::kMovieImportSubTypeIsFileExtension;
  auto noMimeList = MakeImporter("bbb ", {"audio/b"}, {"bbb"});
  noMimeList->description.componentFlags = qt::media::kCanMovieImportFiles;
  auto noFiles = MakeImporter("ccc ", {"audio/c"}, {"ccc"});
  noFiles->description.componentFlags = qt::media::kHasMovieImportMIMEList;
  auto exporter = MakeImporter("ddd ", {"audio/d"}, {"ddd"});
  exporter->description.componentType = qt::media::kMovieExportType;
  auto good = MakeImporter("eee ", {"audio/e"}, {"eee"});
  good->description.componentFlags |= 0x0800;  // unrelated flags do not matter
  toolbox.components = {asExtension, noMimeList, noFiles, exporter, good};
  EXPECT_THAT(Describe().importExtensions, ElementsAre("eee", "mov", "qt", "m4a"));
}

TEST_F(DescriptionTest, OverlongMimeTypeContributesNothing) {
  toolbox.components = {MakeImporter("long", {"audio/" + std::string(250, 'x')}, {"lng"})};
  EXPECT_THAT(Describe().importExtensions, ElementsAre("mov", "qt", "m4a"));
}

TEST_F(DescriptionTest, OverlongExtensionAtomIsSplitFromWhatWasCopied) {
  // 255 bytes arrive: "ab," repeated 85 times; the rest of the atom is lost.
  std::string list;
  while (list.size() < 300) list += "ab,";
  list += "zz";
  toolbox.components = {MakeImporter("long", {"audio/x"}, {list})};
  test::TraceCapture trace;
  EXPECT_THAT(Describe().importExtensions, ElementsAre("ab", "mov", "qt", "m4a"));
  for (const auto& message : trace.Messages()) {
    EXPECT_EQ(message.rfind("Quicktime extension:", 0), std::string::npos) << message;
  }
}

TEST_F(DescriptionTest, EmptyAtomsContributeNothing) {
  toolbox.components = {MakeImporter("empt", {"", "audio/x"}, {"", ","})};
  EXPECT_THAT(Describe().importExtensions, ElementsAre("mov", "qt", "m4a"));
}

TEST_F(DescriptionTest, UnusableMediaLayerDescribesNothing) {
  toolbox.versionResponse = 0x00380000;
  StrictMock<test::MockKivaInfo> info;
  EXPECT_CALL(info, SetInterfaceVersion(1, 0));
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelGetKivaInfo, nullptr, &info), kKivaSuccess);
  kivaInterface.Terminate();
}

TEST(ExtensionFromSubType, KeepsBytesAboveZero) {
  EXPECT_EQ(qt::ExtensionFromSubType(qt::media::FourCharCode("AbCd"), false), "AbCd");
  EXPECT_EQ(qt::ExtensionFromSubType(qt::media::FourCharCode("AbCd"), true), "abcd");
  EXPECT_EQ(qt::ExtensionFromSubType(qt::media::FourCharCode("mp4 "), false), "mp4");
  EXPECT_EQ(qt::ExtensionFromSubType(qt::media::FourCharCode("MP30"), false), "MP3");
  EXPECT_EQ(qt::ExtensionFromSubType(qt::media::FourCharCode(".mp3"), false), "mp3");
  EXPECT_EQ(qt::ExtensionFromSubType(0xE96D7033u, false), "mp3");  // byte 0xE9 is negative
}

TEST(QueryExportExtensions, AppendsMovOnly) {
  std::vector<std::string> extensions{"x"};
  qt::QueryExportExtensions(extensions, nullptr, false);
  EXPECT_THAT(extensions, ElementsAre("x", "mov"));
}

TEST(QueryExtensions, KeepsEntriesAlreadyInTheList) {
  std::vector<std::string> extensions{"zzz"};
  qt::QueryImportExtensions(extensions, nullptr, false);
  EXPECT_THAT(extensions, ElementsAre("zzz", "mov", "qt"));
}

TEST(QueryExtensions, WithoutPrefixesEveryImporterMatches) {
  FakeToolbox::Instance() = FakeToolbox();
  FakeToolbox::Instance().components = {MakeImporter("PNGf", {"image/png"}, {"png"})};
  std::vector<std::string> extensions;
  qt::QueryImportExtensions(extensions, nullptr, true);
  EXPECT_THAT(extensions, ElementsAre("mov", "png", "qt"));
}

}  // namespace
