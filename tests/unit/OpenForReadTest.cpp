// Opening a file: what the source takes in from the movie's tracks, and what the host is told.

#include "FakeToolbox.h"
#include "KivaQTInterface.h"
#include "RecordMocks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kiva;
using kiva::test::FakeMovie;
using kiva::test::FakeToolbox;
using ::testing::_;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

class OpenForReadTest : public ::testing::Test {
 protected:
  void SetUp() override { toolbox = FakeToolbox(); }

  std::unique_ptr<qt::Source> Open(const std::u16string& path) {
    qt::Source::ExtendedErrorInfo info;
    auto source = qt::Source::OpenForRead(path, info);
    EXPECT_EQ(info.kind, 0);
    return source;
  }

  FakeToolbox& toolbox = FakeToolbox::Instance();
};

TEST_F(OpenForReadTest, MovieWithoutTracksOpensButTheHostGetsNoContent) {
  toolbox.StageMovie("/media/empty.mov", [](FakeMovie&) {});
  ASSERT_NE(Open(u"/media/empty.mov"), nullptr);

  StrictMock<test::MockOpen> open;
  test::MockErrorReporter reporter;
  const std::u16string path = u"/media/empty.mov";
  EXPECT_CALL(open, GetErrorReporter()).WillOnce(Return(&reporter));
  EXPECT_CALL(open, GetFilePath()).WillOnce(Return(path.c_str()));
  EXPECT_CALL(reporter, SetErrorText(::testing::Truly([](const char16_t* text) {
                return std::u16string(text) ==
                       u"No audio or video was found in this QuickTime file.";
              })));
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelOpenForRead, nullptr, &open), kKivaCannotOpen);
}

TEST_F(OpenForReadTest, TwoStereoTracks) {
  toolbox.StageMovie("/m/two.mov", [](FakeMovie& movie) {
    movie.AddSoundTrack(48000, 2, 3, 1);  // 3 s
    movie.AddSoundTrack(48000, 2, 5, 1);  // 5 s: the longer one sets the length
  });
  auto source = Open(u"/m/two.mov");
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->GetNumChannels(), 4);
  EXPECT_EQ(source->GetAudioStreamCount(), 2);
  EXPECT_EQ(source->GetSampleCount(), 240000);
  EXPECT_EQ(source->GetSampleRate(), 48000);
}

TEST_F(OpenForReadTest, TheHostIsToldEverythingInOrder) {
  toolbox.compressionNames[qt::media::FourCharCode("fake")] = "Fake Coding";
  toolbox.StageMovie("/m/two.mov", [](FakeMovie& movie) {
    movie.AddSoundTrack(44100, 2, 1, 1);
    movie.AddSoundTrack(44100, 2, 1, 1);
  });
  StrictMock<test::MockOpen> open;
  const std::u16string path = u"/m/two.mov";
  void* handed = nullptr;
  {
    InSequence order;
    EXPECT_CALL(open, GetErrorReporter()).WillOnce(Return(nullptr));
    EXPECT_CALL(open, GetFilePath()).WillOnce(Return(path.c_str()));
    EXPECT_CALL(open, SetOpenOption(0));
    EXPECT_CALL(open, SetBitRate(32 * 4 * 44100));
    EXPECT_CALL(open, SetDescription(::testing::Truly([](const char16_t* text) {
                  return std::u16string(text) == u"QuickTime: Fake Coding (2 streams)";
                })));
    EXPECT_CALL(open, SetSource(_)).WillOnce([&](void* source) { handed = source; });
  }
  KivaQTInterface kivaInterface;
  ASSERT_EQ(kivaInterface.EntryPoint(kSelOpenForRead, nullptr, &open), kKivaSuccess);
  ASSERT_NE(handed, nullptr);
  EXPECT_EQ(kivaInterface.EntryPoint(kSelCloseForRead, handed, nullptr), kKivaSuccess);
}

TEST_F(OpenForReadTest, BitRateBeyondThirtyTwoBitsIsTheLargestTheHostCanHold) {
  // 32 bits x 14337 channels x 8000 Hz is 3,670,272,000: more than an int32 holds.
  toolbox.StageMovie("/m/wide.aiff",
                     [](FakeMovie& movie) { movie.AddSoundTrack(8000, 14337, 1, 1); });
  ::testing::NiceMock<test::MockOpen> open;
  const std::u16string path = u"/m/wide.aiff";
  void* handed = nullptr;
  ON_CALL(open, GetFilePath()).WillByDefault(Return(path.c_str()));
  EXPECT_CALL(open, SetBitRate(2147483647));
  EXPECT_CALL(open, SetSource(_)).WillOnce([&](void* source) { handed = source; });
  KivaQTInterface kivaInterface;
  ASSERT_EQ(kivaInterface.EntryPoint(kSelOpenForRead, nullptr, &open), kKivaSuccess);
  ASSERT_NE(handed, nullptr);
  EXPECT_EQ(kivaInterface.EntryPoint(kSelCloseForRead, handed, nullptr), kKivaSuccess);
}

TEST_F(OpenForReadTest, FewerLabelsThanChannelsArePaddedWithDiscrete) {
  toolbox.StageMovie("/m/a.mov", [](FakeMovie& movie) {
    auto& track = movie.AddSoundTrack(48000, 4, 1, 1);
    qt::media::AudioChannelLayout layout;
    layout.mChannelLayoutTag = qt::media::kAudioChannelLayoutTag_Stereo;
    track.sound.channelLayout = layout;
  });
  auto source = Open(u"/m/a.mov");
  ASSERT_NE(source, nullptr);
  std::vector<std::uint32_t> labels;
  source->GetChannelLabelVector(labels);
  EXPECT_EQ(labels, (std::vector<std::uint32_t>{1, 2, 400, 400}));
}

TEST_F(OpenForReadTest, SecondVideoTrackIsOnlyCounted) {
  toolbox.StageMovie("/m/v.mov", [](FakeMovie& movie) {
    movie.box = {0, 0, 480, 640};
    movie.AddVideoTrack(600, 6000, 250);
    auto& second = movie.AddVideoTrack(30000, 1001 * 300, 300);
    second.image.pixelAspectRatio = std::make_pair(4u, 3u);
  });
  auto source = Open(u"/m/v.mov");
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->GetVideoStreamCount(), 2);
  EXPECT_EQ(source->GetVideoFrameRateNumerator(), 600);
  EXPECT_EQ(source->GetVideoFrameRateDenominator(), 24);
  EXPECT_DOUBLE_EQ(source->GetFrameRate(), 25.0);
  EXPECT_EQ(source->GetOriginalWidth(), 640);
  EXPECT_EQ(source->GetOriginalHeight(), 480);
  EXPECT_EQ(source->GetBytesPerPixel(), 4);
  EXPECT_DOUBLE_EQ(source->GetPAR(), 1.0);
  EXPECT_EQ(source->GetVideoFrameCount(), 250);
}

TEST_F(OpenForReadTest, StreamRatesAreRounded) {
  toolbox.StageMovie("/m/r.mov", [](FakeMovie& movie) { movie.AddSoundTrack(44100.4, 1, 1, 1); });
  toolbox.StageMovie("/m/s.mov", [](FakeMovie& movie) { movie.AddSoundTrack(47999.5, 1, 1, 1); });
  EXPECT_EQ(Open(u"/m/r.mov")->GetSampleRate(), 44100);
  EXPECT_EQ(Open(u"/m/s.mov")->GetSampleRate(), 48000);
}

TEST_F(OpenForReadTest, TrackWithoutStreamDescriptionIsSkipped) {
  toolbox.StageMovie("/m/x.mov", [](FakeMovie& movie) {
    movie.AddSoundTrack(48000, 2, 1, 1).sound.streamDescription.reset();
    movie.AddSoundTrack(22050, 1, 2, 1);
  });
  auto source = Open(u"/m/x.mov");
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->GetAudioStreamCount(), 1);
  EXPECT_EQ(source->GetNumChannels(), 1);
  EXPECT_EQ(source->GetSampleCount(), 44100);
}

TEST_F(OpenForReadTest, LengthIsExactAtAnyRateInTheAudioScale) {
  // 168,000 frames at 48 kHz in a power-of-two movie scale.
  toolbox.StageMovie("/m/l.mov",
                     [](FakeMovie& movie) { movie.AddSoundTrack(48000, 2, 168000, 48000); });
  EXPECT_EQ(Open(u"/m/l.mov")->GetSampleCount(), 168000);
}

TEST_F(OpenForReadTest, FailedOpenSendsGeneralThenCodedText) {
  toolbox.openError = -43;
  StrictMock<test::MockOpen> open;
  StrictMock<test::MockErrorReporter> reporter;
  const std::u16string path = u"/missing.mov";
  std::vector<std::u16string> texts;
  EXPECT_CALL(open, GetErrorReporter()).WillOnce(Return(&reporter));
  EXPECT_CALL(open, GetFilePath()).WillOnce(Return(path.c_str()));
  EXPECT_CALL(reporter, SetErrorText(_)).Times(2).WillRepeatedly([&](const char16_t* text) {
    texts.emplace_back(text);
  });
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelOpenForRead, nullptr, &open), kKivaGeneralError);
  EXPECT_THAT(texts,
              ::testing::ElementsAre(u"General error attempting to open file using KivaQT plug-in.",
                                     u"KivaQT plug-in could not open the file.  Code: -43"));
}

TEST_F(OpenForReadTest, UnconvertiblePathIsCodeMinusOne) {
  qt::Source::ExtendedErrorInfo info;
  const std::u16string path = std::u16string(u"/bad") + char16_t(0xD800) + u".mov";
  EXPECT_EQ(qt::Source::OpenForRead(path, info), nullptr);
  EXPECT_EQ(info.kind, 1);
  EXPECT_EQ(info.code, -1);
  EXPECT_TRUE(toolbox.openedPaths.empty());
}

TEST_F(OpenForReadTest, ActivateAnswersTrueWhileOpenAndInvertsAReopen) {
  toolbox.StageMovie("/m/a.mov", [](FakeMovie& movie) { movie.AddSoundTrack(48000, 2, 1, 1); });
  auto source = Open(u"/m/a.mov");
  ASSERT_NE(source, nullptr);
  EXPECT_TRUE(source->Activate());
  EXPECT_TRUE(source->Suspend());
  EXPECT_TRUE(source->Activate());  // the movie is kept by Suspend
  EXPECT_EQ(toolbox.openedPaths.size(), 1u);
}

TEST_F(OpenForReadTest, ActivateAfterCloseHasNoPathToReopen) {
  toolbox.StageMovie("/m/a.mov", [](FakeMovie& movie) { movie.AddSoundTrack(48000, 2, 1, 1); });
  auto source = Open(u"/m/a.mov");
  source->Close();
  EXPECT_TRUE(source->GetFilePath().empty());
  EXPECT_EQ(source->GetSampleRate(), 0);
  EXPECT_EQ(source->GetAudioStreamCount(), 0);
  // The reopen of an empty path fails, which Activate reports as true.
  EXPECT_TRUE(source->Activate());
}

TEST_F(OpenForReadTest, ReinitialisingCountsChannelsTwice) {
  toolbox.StageMovie("/m/a.mov", [](FakeMovie& movie) { movie.AddSoundTrack(48000, 2, 1, 1); });
  auto source = Open(u"/m/a.mov");
  qt::Source::ExtendedErrorInfo info;
  ASSERT_TRUE(source->InitializeForRead(u"/m/a.mov", info));
  EXPECT_EQ(source->GetNumChannels(), 4);
  EXPECT_EQ(source->GetAudioStreamCount(), 1);
  std::vector<std::uint32_t> labels;
  source->GetChannelLabelVector(labels);
  EXPECT_EQ(labels.size(), 4u);
}

TEST_F(OpenForReadTest, EmptyCodingNameDescribesAsQuickTimeAlone) {
  toolbox.StageMovie("/m/a.mov", [](FakeMovie& movie) { movie.AddSoundTrack(48000, 2, 1, 1); });
  StrictMock<test::MockOpen> open;
  const std::u16string path = u"/m/a.mov";
  void* handed = nullptr;
  EXPECT_CALL(open, GetErrorReporter()).WillOnce(Return(nullptr));
  EXPECT_CALL(open, GetFilePath()).WillOnce(Return(path.c_str()));
  EXPECT_CALL(open, SetOpenOption(0));
  EXPECT_CALL(open, SetBitRate(_));
  EXPECT_CALL(open, SetDescription(::testing::Truly([](const char16_t* text) {
                return std::u16string(text) == u"QuickTime";
              })));
  EXPECT_CALL(open, SetSource(_)).WillOnce([&](void* source) { handed = source; });
  KivaQTInterface kivaInterface;
  ASSERT_EQ(kivaInterface.EntryPoint(kSelOpenForRead, nullptr, &open), kKivaSuccess);
  delete static_cast<qt::Source*>(handed);
}

TEST_F(OpenForReadTest, SummaryStandsInForAMissingCodingName) {
  toolbox.StageMovie("/m/a.mov", [](FakeMovie& movie) {
    movie.AddSoundTrack(48000, 2, 1, 1).sound.userReadableText = "pcm, 48000 Hz";
  });
  auto source = Open(u"/m/a.mov");
  EXPECT_EQ(source->GetAudioFormatDescription(), u"pcm, 48000 Hz");
}

}  // namespace
