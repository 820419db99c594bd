// What GetFormat reports about an open source.

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
using ::testing::NiceMock;
using ::testing::Return;
using ::testing::StrictMock;

class FormatReport : public ::testing::Test {
 protected:
  void SetUp() override { toolbox = FakeToolbox(); }

  std::unique_ptr<qt::Source> OpenStaged(const std::string& path,
                                         std::function<void(FakeMovie&)> make) {
    toolbox.StageMovie(path, std::move(make));
    qt::Source::ExtendedErrorInfo info;
    std::u16string widePath(path.begin(), path.end());
    return qt::Source::OpenForRead(widePath, info);
  }

  // The host labels GetFormat reports, one per channel.
  std::vector<std::uint32_t> ReportedLabels(qt::Source& source) {
    NiceMock<test::MockFormat> format;
    NiceMock<test::MockVideoStream> video;
    ON_CALL(format, GetVideoStreamInfo()).WillByDefault(Return(&video));
    std::vector<std::uint32_t> labels(static_cast<std::size_t>(source.GetNumChannels()), 999);
    EXPECT_CALL(format, SetChannelLabel(_, _))
        .WillRepeatedly([&](std::int32_t channel, std::uint32_t label) {
          labels.at(static_cast<std::size_t>(channel)) = label;
        });
    KivaQTInterface kivaInterface;
    EXPECT_EQ(kivaInterface.EntryPoint(kSelGetFormat, &source, &format), kKivaSuccess);
    return labels;
  }

  std::u16string ReportedFormatID(qt::Source& source) {
    NiceMock<test::MockFormat> format;
    NiceMock<test::MockVideoStream> video;
    ON_CALL(format, GetVideoStreamInfo()).WillByDefault(Return(&video));
    std::u16string id;
    EXPECT_CALL(format, SetFormatID(_)).WillOnce([&](const std::u16string& value) { id = value; });
    KivaQTInterface kivaInterface;
    EXPECT_EQ(kivaInterface.EntryPoint(kSelGetFormat, &source, &format), kKivaSuccess);
    return id;
  }

  FakeToolbox& toolbox = FakeToolbox::Instance();
};

TEST_F(FormatReport, StereoWithoutLayoutReportsNoLabels) {
  auto source = OpenStaged("/a.mov", [](FakeMovie& movie) { movie.AddSoundTrack(48000, 2, 1, 1); });
  EXPECT_EQ(ReportedLabels(*source), (std::vector<std::uint32_t>{0, 0}));
}

TEST_F(FormatReport, SixChannelsWithoutLayoutReportNoLabels) {
  auto source = OpenStaged("/a.mov", [](FakeMovie& movie) { movie.AddSoundTrack(48000, 6, 1, 1); });
  EXPECT_EQ(ReportedLabels(*source), (std::vector<std::uint32_t>(6, 0)));
}

TEST_F(FormatReport, FivePointOneLayoutTag) {
  auto source = OpenStaged("/a.mov", [](FakeMovie& movie) {
    qt::media::AudioChannelLayout layout;
    layout.mChannelLayoutTag = qt::media::kAudioChannelLayoutTag_MPEG_5_1_A;
    movie.AddSoundTrack(48000, 6, 1, 1).sound.channelLayout = layout;
  });
  EXPECT_EQ(ReportedLabels(*source), (std::vector<std::uint32_t>{100, 101, 102, 103, 104, 105}));
}

TEST_F(FormatReport, FormatIdentifierFollowsExtensionAndVideo) {
  const auto audioOnly = [](FakeMovie& movie) { movie.AddSoundTrack(48000, 2, 1, 1); };
  const auto withVideo = [](FakeMovie& movie) {
    movie.AddSoundTrack(48000, 2, 1, 1);
    movie.box = {0, 0, 240, 320};
    movie.AddVideoTrack(600, 600, 25);
  };
  EXPECT_EQ(ReportedFormatID(*OpenStaged("/x/song.MOV", audioOnly)), u"AudioMov");
  EXPECT_EQ(ReportedFormatID(*OpenStaged("/x/song.mov", audioOnly)), u"AudioMov");
  EXPECT_EQ(ReportedFormatID(*OpenStaged("/x/song.MOV", withVideo)), u"General");
  EXPECT_EQ(ReportedFormatID(*OpenStaged("/x/song.m4a", audioOnly)), u"General");
  EXPECT_EQ(ReportedFormatID(*OpenStaged("/x/song.mov.wav", audioOnly)), u"General");
  EXPECT_EQ(ReportedFormatID(*OpenStaged("/x.mov/song", audioOnly)), u"General");
}

TEST_F(FormatReport, EverySetterInOrder) {
  auto source = OpenStaged("/v.mp4", [](FakeMovie& movie) {
    qt::media::AudioChannelLayout layout;
    layout.mChannelLayoutTag = qt::media::kAudioChannelLayoutTag_Stereo;
    movie.AddSoundTrack(44100, 2, 10, 1).sound.channelLayout = layout;
    movie.box = {0, 0, 480, 720};
    auto& video = movie.AddVideoTrack(30000, 1001 * 100, 100);
    video.image.pixelAspectRatio = std::make_pair(8u, 9u);
    video.image.summary = "h264, 720x480";
  });
  ASSERT_NE(source, nullptr);
  StrictMock<test::MockFormat> format;
  StrictMock<test::MockVideoStream> video;
  // A call out of order still gets the record, so that one failure does not end the program.
  ON_CALL(format, GetVideoStreamInfo()).WillByDefault(Return(&video));
  {
    InSequence order;
    EXPECT_CALL(format, GetErrorReporter()).WillOnce(Return(nullptr));
    EXPECT_CALL(format, SetNumChannels(2));
    EXPECT_CALL(format, SetSampleRate(44100));
    EXPECT_CALL(format, SetSampleType(40));
    EXPECT_CALL(format, SetChannelLabel(0, 100u));
    EXPECT_CALL(format, SetChannelLabel(1, 101u));
    EXPECT_CALL(format, GetVideoStreamInfo()).WillOnce(Return(&video));
    EXPECT_CALL(video, SetStreamCount(1));
    EXPECT_CALL(format, GetVideoStreamInfo()).WillOnce(Return(&video));
    EXPECT_CALL(video, SetFormatDescription(0, std::u16string(u"h264, 720x480")));
    EXPECT_CALL(format, GetVideoStreamInfo()).WillOnce(Return(&video));
    EXPECT_CALL(video, SetFrameCount(0, 100));
    EXPECT_CALL(format, GetVideoStreamInfo()).WillOnce(Return(&video));
    EXPECT_CALL(video, SetFrameKind(0, 1));
    EXPECT_CALL(format, GetVideoStreamInfo()).WillOnce(Return(&video));
    EXPECT_CALL(video, SetPixelAspectRatio(0, 8.0 / 9.0));
    EXPECT_CALL(format, GetVideoStreamInfo()).WillOnce(Return(&video));
    EXPECT_CALL(video, SetFrameRate(0, ::testing::DoubleNear(29.97003, 1e-5)));
    EXPECT_CALL(format, GetVideoStreamInfo()).WillOnce(Return(&video));
    EXPECT_CALL(video, SetFrameRateRational(0, 30000, 1001));
    EXPECT_CALL(format, GetVideoStreamInfo()).WillOnce(Return(&video));
    EXPECT_CALL(video, SetWidth(0, 720));
    EXPECT_CALL(format, GetVideoStreamInfo()).WillOnce(Return(&video));
    EXPECT_CALL(video, SetHeight(0, 480));
    EXPECT_CALL(format, SetFormatID(std::u16string(u"General")));
    EXPECT_CALL(format, SetPrivateSettings(std::u16string(u"FormatIndex:0:0;")));
    EXPECT_CALL(format, SetSampleCount(441000));
  }
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelGetFormat, source.get(), &format), kKivaSuccess);
}

TEST_F(FormatReport, ReportedSizeIsTheMoviesOwnNotTheRequestedOne) {
  auto source = OpenStaged("/v.mov", [](FakeMovie& movie) {
    movie.box = {0, 0, 480, 640};
    movie.AddVideoTrack(600, 600, 25);
  });
  source->SetRequestedSize(320, 240);
  NiceMock<test::MockFormat> format;
  NiceMock<test::MockVideoStream> video;
  ON_CALL(format, GetVideoStreamInfo()).WillByDefault(Return(&video));
  EXPECT_CALL(video, SetWidth(0, 640));
  EXPECT_CALL(video, SetHeight(0, 480));
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelGetFormat, source.get(), &format), kKivaSuccess);
}

}  // namespace
