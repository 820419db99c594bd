// Export sessions: starting one, writing blocks and finishing, over a fake movie storage.

#include "FakeToolbox.h"
#include "KivaQTInterface.h"
#include "QTExportCatalogue.h"
#include "RecordMocks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

using namespace kiva;
using kiva::test::FakeToolbox;
using ::testing::_;
using ::testing::NiceMock;
using ::testing::Return;

// A format record for an export of `channels` channels labelled `labels` in `sampleType`.
class ExportFormat {
 public:
  ExportFormat(std::int32_t channels, std::int32_t sampleType, std::vector<std::uint32_t> labels,
               std::int64_t frames = 100000, std::u16string settings = u"FormatIndex:0:0;")
      : settings(std::move(settings)) {
    ON_CALL(format, GetNumChannels()).WillByDefault(Return(channels));
    ON_CALL(format, GetSampleType()).WillByDefault(Return(sampleType));
    ON_CALL(format, GetSampleRate()).WillByDefault(Return(48000));
    ON_CALL(format, GetSampleCount()).WillByDefault(Return(frames));
    ON_CALL(format, GetPrivateSettings()).WillByDefault(Return(this->settings.c_str()));
    ON_CALL(format, GetChannelLabel(_)).WillByDefault([labels](std::int32_t c) {
      return labels.at(static_cast<std::size_t>(c));
    });
  }
  NiceMock<test::MockFormat> format;

 private:
  std::u16string settings;
};

struct Started {
  int status = 0;
  qt::Source* source = nullptr;
  std::vector<std::u16string> messages;
};

Started Start(ExportFormat& format, const std::u16string& path = u"/out/take.mov") {
  Started started;
  NiceMock<test::MockWriteStart> start;
  NiceMock<test::MockErrorReporter> reporter;
  ON_CALL(start, GetErrorReporter()).WillByDefault(Return(&reporter));
  ON_CALL(start, GetFormat()).WillByDefault(Return(&format.format));
  ON_CALL(start, GetFilePath()).WillByDefault(Return(path.c_str()));
  ON_CALL(start, SetWriteHandle(_)).WillByDefault([&](void* handle) {
    started.source = static_cast<qt::Source*>(handle);
  });
  ON_CALL(reporter, SetErrorText(_)).WillByDefault([&](const char16_t* text) {
    started.messages.emplace_back(text);
  });
  KivaQTInterface kivaInterface;
  started.status = kivaInterface.EntryPoint(kSelWriteStart, nullptr, &start);
  return started;
}

int Write(qt::Source* source, ExportFormat& format, std::int64_t start, std::int64_t frames,
          std::vector<void*> channels) {
  NiceMock<test::MockWriteSamples> samples;
  ON_CALL(samples, GetStartSample()).WillByDefault(Return(start));
  ON_CALL(samples, GetSampleCount()).WillByDefault(Return(frames));
  ON_CALL(samples, GetFormat()).WillByDefault(Return(&format.format));
  ON_CALL(samples, GetChannelBuffer(_)).WillByDefault([channels](int c) {
    return static_cast<float*>(channels.at(static_cast<std::size_t>(c)));
  });
  KivaQTInterface kivaInterface;
  return kivaInterface.EntryPoint(kSelWriteSamples, source, &samples);
}

int Finish(qt::Source* source, ExportFormat& format) {
  NiceMock<test::MockFinishWrite> finish;
  ON_CALL(finish, GetFormat()).WillByDefault(Return(&format.format));
  KivaQTInterface kivaInterface;
  return kivaInterface.EntryPoint(kSelFinishWrite, source, &finish);
}

class WriteSession : public ::testing::Test {
 protected:
  void SetUp() override { toolbox = FakeToolbox(); }
  FakeToolbox& toolbox = FakeToolbox::Instance();
};

TEST_F(WriteSession, MonoIsLabelledMonoWhateverTheHostSays) {
  ExportFormat format(1, 20, {100});
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  ASSERT_EQ(toolbox.storage.format.layout.mChannelDescriptions.size(), 1u);
  EXPECT_EQ(toolbox.storage.format.layout.mChannelDescriptions[0].mChannelLabel, 42u);
  EXPECT_EQ(Finish(started.source, format), 0);
}

TEST_F(WriteSession, HostLabelsBecomeMediaLabels) {
  ExportFormat format(3, 20, {101, 125, 113});
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  std::vector<std::uint32_t> labels;
  for (const auto& channel : toolbox.storage.format.layout.mChannelDescriptions) {
    labels.push_back(channel.mChannelLabel);
  }
  EXPECT_EQ(labels, (std::vector<std::uint32_t>{2, 400, 15}));
  EXPECT_EQ(Finish(started.source, format), 0);
}

TEST_F(WriteSession, FloatDescriptionHasOnlyTheFloatFlag) {
  ExportFormat format(2, 40, {100, 101});
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  const auto& description = toolbox.storage.format.description;
  EXPECT_EQ(description.mFormatFlags, 1u);
  EXPECT_EQ(description.mBitsPerChannel, 32u);
  EXPECT_EQ(description.mBytesPerFrame, 8u);
  EXPECT_EQ(description.mFormatID, qt::media::kAudioFormatLinearPCM);
  EXPECT_EQ(toolbox.storage.timeScale, 48000);
  EXPECT_EQ(Finish(started.source, format), 0);
}

TEST_F(WriteSession, IntegerDescriptions) {
  for (const auto& [code, bits, flags] : std::vector<std::tuple<int, std::uint32_t, std::uint32_t>>{
           {10, 8, 8}, {20, 16, 12}, {30, 24, 12}}) {
    ExportFormat format(2, code, {100, 101});
    const Started started = Start(format);
    ASSERT_EQ(started.status, 0);
    EXPECT_EQ(toolbox.storage.format.description.mBitsPerChannel, bits);
    EXPECT_EQ(toolbox.storage.format.description.mFormatFlags, flags);
    EXPECT_EQ(Finish(started.source, format), 0);
  }
}

TEST_F(WriteSession, CatalogueIndexAtItsEndWritesPcm) {
  toolbox.components = {test::MakeExporter("lpcm"), test::MakeExporter("aac ")};
  std::vector<qt::media::ComponentDescription> catalogue;
  qt::GetExportComponentDescriptions(catalogue);
  ASSERT_EQ(catalogue.size(), 2u);
  ExportFormat format(2, 20, {100, 101}, 1000, u"FormatIndex:0:2;");
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  EXPECT_EQ(toolbox.storage.format.description.mFormatID, qt::media::kAudioFormatLinearPCM);
  EXPECT_EQ(Finish(started.source, format), 0);
}

TEST_F(WriteSession, CompressorInSettingsBeforeTheDialogRanWritesPcm) {
  toolbox.components = {test::MakeExporter("lpcm"), test::MakeExporter("aac ")};
  ExportFormat format(2, 20, {100, 101}, 1000, u"FormatIndex:0:1;");
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  EXPECT_EQ(toolbox.storage.format.description.mFormatID, qt::media::kAudioFormatLinearPCM);
  EXPECT_EQ(Finish(started.source, format), 0);
}

TEST_F(WriteSession, ZeroLengthIsRefusedWithItsMessage) {
  ExportFormat format(2, 20, {100, 101}, 0);
  const Started started = Start(format);
  EXPECT_EQ(started.status, -1);
  EXPECT_EQ(started.source, nullptr);
  EXPECT_THAT(started.messages,
              ::testing::ElementsAre(u"Error: QuickTime does not support files of zero length."));
  EXPECT_TRUE(toolbox.createdPaths.empty());
}

TEST_F(WriteSession, UnknownSampleTypeIsRefusedSilently) {
  ExportFormat format(2, 25, {100, 101});
  const Started started = Start(format);
  EXPECT_EQ(started.status, -1);
  EXPECT_TRUE(started.messages.empty());
  EXPECT_TRUE(toolbox.createdPaths.empty());
}

TEST_F(WriteSession, FailureMessageNamesThePathWithCodeZero) {
  toolbox.createError = -43;
  ExportFormat format(2, 20, {100, 101});
  const Started started = Start(format, u"/x/y.mov");
  EXPECT_EQ(started.status, -1);
  EXPECT_EQ(started.source, nullptr);
  EXPECT_THAT(started.messages,
              ::testing::ElementsAre(u"Error 0 creating file /x/y.mov.  The destination may be "
                                     u"full or no longer available."));
}

TEST_F(WriteSession, FailedStorageRemovesTheFileThatWasThere) {
  const std::string path = ::testing::TempDir() + "/write-session-old.mov";
  std::ofstream(path) << "an older file";
  toolbox.createError = -36;
  ExportFormat format(2, 20, {100, 101});
  const Started started = Start(format, std::u16string(path.begin(), path.end()));
  EXPECT_EQ(started.status, -1);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(WriteSession, FailingTrackLeavesNoSessionAndClosesTheStorage) {
  toolbox.storageScript.newTrack = -108;
  ExportFormat format(2, 20, {100, 101});
  const Started started = Start(format);
  EXPECT_EQ(started.status, -1);
  EXPECT_TRUE(toolbox.storage.closed);
}

TEST_F(WriteSession, BlocksMustContinueTheStream) {
  ExportFormat format(1, 20, {100});
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  std::vector<std::int16_t> samples(4096, 7);
  EXPECT_EQ(Write(started.source, format, 0, 4096, {samples.data()}), 0);
  EXPECT_EQ(Write(started.source, format, 4096, 4096, {samples.data()}), 0);
  EXPECT_EQ(Write(started.source, format, 4096, 4096, {samples.data()}), -6);
  EXPECT_EQ(started.source->GetSamplesReceived(), 8192);
  EXPECT_EQ(Finish(started.source, format), 0);
}

TEST_F(WriteSession, StereoSixteenBitIsInterleaved) {
  ExportFormat format(2, 20, {100, 101});
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  std::int16_t left[] = {1, 2};
  std::int16_t right[] = {3, 4};
  ASSERT_EQ(Write(started.source, format, 0, 2, {left, right}), 0);
  ASSERT_EQ(toolbox.storage.samples.size(), 1u);
  std::vector<std::int16_t> stored(4);
  ASSERT_EQ(toolbox.storage.samples[0].size(), 8u);
  std::memcpy(stored.data(), toolbox.storage.samples[0].data(), 8);
  EXPECT_EQ(stored, (std::vector<std::int16_t>{1, 3, 2, 4}));
  EXPECT_EQ(toolbox.storage.sampleCounts[0], 2);
  EXPECT_EQ(Finish(started.source, format), 0);
}

TEST_F(WriteSession, TwentyFourBitSamplesKeepTheirThreeBytes) {
  ExportFormat format(2, 30, {100, 101});
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  std::uint8_t left[] = {1, 2, 3, 4, 5, 6};
  std::uint8_t right[] = {11, 12, 13, 14, 15, 16};
  ASSERT_EQ(Write(started.source, format, 0, 2, {left, right}), 0);
  EXPECT_EQ(toolbox.storage.samples[0],
            (std::vector<std::uint8_t>{1, 2, 3, 11, 12, 13, 4, 5, 6, 14, 15, 16}));
  EXPECT_EQ(Finish(started.source, format), 0);
}

TEST_F(WriteSession, RefusedBlocks) {
  ExportFormat format(2, 20, {100, 101});
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  std::int16_t left[] = {1};
  EXPECT_EQ(Write(started.source, format, 0, 1, {left, nullptr}), -6);
  EXPECT_EQ(Write(started.source, format, 0, std::int64_t{1} << 32, {left, left}), -6);
  EXPECT_EQ(Write(started.source, format, 0, std::int64_t{1} << 29, {left, left}), -6);  // 2 GiB
  ON_CALL(format.format, GetSampleType()).WillByDefault(Return(40));  // not the session's type
  EXPECT_EQ(Write(started.source, format, 0, 1, {left, left}), -6);
  EXPECT_TRUE(toolbox.storage.samples.empty());
  ON_CALL(format.format, GetSampleType()).WillByDefault(Return(20));
  EXPECT_EQ(Finish(started.source, format), 0);
}

TEST_F(WriteSession, FailedWriteIsMinusTenAndTheSameBlockIsAcceptedAgain) {
  ExportFormat format(1, 20, {100});
  toolbox.storageScript.addSample = -34;
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  std::int16_t samples[] = {1, 2, 3};
  EXPECT_EQ(Write(started.source, format, 0, 3, {samples}), -10);
  EXPECT_EQ(started.source->GetSamplesReceived(), 0);
  EXPECT_EQ(Finish(started.source, format), 0);
}

TEST_F(WriteSession, FinishAfterNoBlocksStillWritesTheEmptyMovie) {
  ExportFormat format(2, 20, {100, 101});
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  EXPECT_EQ(Finish(started.source, format), 0);
  EXPECT_THAT(
      toolbox.storage.calls,
      ::testing::ElementsAre("NewSoundTrack", "NewSoundMedia", "BeginMediaEdits", "EndMediaEdits",
                             "InsertMediaIntoTrack 0 65536", "AddMovieToStorage", "Close"));
}

TEST_F(WriteSession, FinishFailsWhenTheMovieCannotBeWrittenButFreesEverything) {
  toolbox.storageScript.addMovie = -34;
  ExportFormat format(1, 20, {100});
  const Started started = Start(format);
  ASSERT_EQ(started.status, 0);
  std::int16_t samples[] = {1, 2, 3};
  ASSERT_EQ(Write(started.source, format, 0, 3, {samples}), 0);
  EXPECT_EQ(Finish(started.source, format), -1);
  EXPECT_TRUE(toolbox.storage.closed);
  EXPECT_THAT(toolbox.storage.calls, ::testing::Contains("InsertMediaIntoTrack 3 65536"));
}

}  // namespace
