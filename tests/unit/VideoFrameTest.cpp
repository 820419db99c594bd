// Video frames: sizes, the off-screen picture's lifetime, frame times, the pixel byte order,
// and the frame-rate guess.

#include "FakeToolbox.h"
#include "KivaQTInterface.h"
#include "RecordMocks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace kiva;
using kiva::test::FakeMovie;
using kiva::test::FakeToolbox;
using ::testing::NiceMock;
using ::testing::Return;

class VideoFrames : public ::testing::Test {
 protected:
  void SetUp() override { toolbox = FakeToolbox(); }

  std::unique_ptr<qt::Source> OpenStaged(std::function<void(FakeMovie&)> make) {
    toolbox.StageMovie("/v.mov", std::move(make));
    qt::Source::ExtendedErrorInfo info;
    return qt::Source::OpenForRead(u"/v.mov", info);
  }

  // A 640 x 480 movie of 100 frames of 40 in a 1000 scale (25 fps).
  std::unique_ptr<qt::Source> OpenVideo() {
    return OpenStaged([](FakeMovie& movie) {
      movie.box = {0, 0, 480, 640};
      movie.AddVideoTrack(1000, 4000, 100);
    });
  }

  // Selector 9 for frame `index` at w x h; the frame lands in `pixels`.
  int Frame(qt::Source& source, std::int32_t index, std::int32_t w, std::int32_t h,
            std::vector<char>& pixels, std::uint32_t flags = 0) {
    pixels.assign(
        static_cast<std::size_t>(std::max(w, 1)) * static_cast<std::size_t>(std::max(h, 1)) * 4, 0);
    NiceMock<test::MockReadVideoFrame> request;
    NiceMock<test::MockVideoStream> wanted;
    ON_CALL(request, GetVideoStreamInfo()).WillByDefault(Return(&wanted));
    ON_CALL(wanted, GetWidth(0)).WillByDefault(Return(w));
    ON_CALL(wanted, GetHeight(0)).WillByDefault(Return(h));
    ON_CALL(request, GetFrameIndex()).WillByDefault(Return(index));
    ON_CALL(request, GetRenderFlags()).WillByDefault(Return(flags));
    ON_CALL(request, GetFrameBuffer()).WillByDefault(Return(pixels.data()));
    KivaQTInterface kivaInterface;
    return kivaInterface.EntryPoint(kSelReadVideoFrame, &source, &request);
  }

  FakeToolbox& toolbox = FakeToolbox::Instance();
  std::vector<char> pixels;
};

TEST_F(VideoFrames, MovieSizeRightAfterOpeningFailsUntilAnotherSizeWasAskedFor) {
  auto source = OpenVideo();
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(Frame(*source, 0, 640, 480, pixels), kKivaGeneralError);
  EXPECT_EQ(toolbox.lastMovie->offscreensMade, 0);
  EXPECT_EQ(Frame(*source, 0, 320, 240, pixels), kKivaSuccess);
  EXPECT_EQ(Frame(*source, 0, 640, 480, pixels), kKivaSuccess);
  EXPECT_EQ(toolbox.lastMovie->offscreensMade, 2);
}

TEST_F(VideoFrames, SameSizeTwiceDoesNotRebuildThePicture) {
  auto source = OpenVideo();
  ASSERT_EQ(Frame(*source, 1, 320, 240, pixels), kKivaSuccess);
  ASSERT_EQ(Frame(*source, 2, 320, 240, pixels), kKivaSuccess);
  EXPECT_EQ(toolbox.lastMovie->offscreensMade, 1);
  EXPECT_EQ(toolbox.lastMovie->boxes.size(), 1u);
}

TEST_F(VideoFrames, LargestSizeIsAcceptedAndLargerIsRefused) {
  auto source = OpenVideo();
  EXPECT_EQ(Frame(*source, 0, 4000, 4000, pixels), kKivaSuccess);
  EXPECT_EQ(Frame(*source, 0, 4001, 10, pixels), kKivaBadArgument);
  EXPECT_EQ(Frame(*source, 0, 10, 4001, pixels), kKivaBadArgument);
}

TEST_F(VideoFrames, ArgbPixelArrivesAsReversedBytes) {
  auto source = OpenVideo();
  ASSERT_EQ(Frame(*source, 0, 3, 2, pixels), kKivaSuccess);
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    EXPECT_EQ(static_cast<unsigned char>(pixels[i]), 0x30);
    EXPECT_EQ(static_cast<unsigned char>(pixels[i + 1]), 0x20);
    EXPECT_EQ(static_cast<unsigned char>(pixels[i + 2]), 0x10);
    EXPECT_EQ(static_cast<unsigned char>(pixels[i + 3]), 0xFF);
  }
}

TEST_F(VideoFrames, FrameAtTheDurationIsShownAndOneBeyondIsNot) {
  auto source = OpenVideo();
  ASSERT_EQ(Frame(*source, 100, 320, 240, pixels), kKivaSuccess);  // 100 * 40 == 4000
  ASSERT_FALSE(toolbox.lastMovie->times.empty());
  EXPECT_EQ(toolbox.lastMovie->times.back(), 4000);
  EXPECT_EQ(Frame(*source, 101, 320, 240, pixels), kKivaGeneralError);
}

TEST_F(VideoFrames, FrameTimeIsIndexTimesFrameDuration) {
  auto source = OpenVideo();
  ASSERT_EQ(Frame(*source, 7, 320, 240, pixels), kKivaSuccess);
  ASSERT_EQ(Frame(*source, 3, 320, 240, pixels), kKivaSuccess);
  EXPECT_EQ(toolbox.lastMovie->times, (std::vector<std::int64_t>{280, 120}));
}

TEST_F(VideoFrames, NoVideoIsMinusFive) {
  auto source = OpenStaged([](FakeMovie& movie) { movie.AddSoundTrack(48000, 2, 1, 1); });
  EXPECT_EQ(Frame(*source, 0, 320, 240, pixels), kKivaNoVideo);
}

TEST_F(VideoFrames, PlayHintsAreGivenFirstAndThenOnlyWhenTheyChange) {
  auto source = OpenVideo();
  ASSERT_EQ(Frame(*source, 0, 320, 240, pixels, 0), kKivaSuccess);
  ASSERT_EQ(Frame(*source, 1, 320, 240, pixels, 0), kKivaSuccess);
  ASSERT_EQ(Frame(*source, 2, 320, 240, pixels, 2), kKivaSuccess);
  ASSERT_EQ(Frame(*source, 3, 320, 240, pixels, 2 | 4), kKivaSuccess);
  using Hint = std::pair<std::uint32_t, std::uint32_t>;
  EXPECT_EQ(toolbox.lastMovie->playHints, (std::vector<Hint>{{0, 0x100}, {0x100, 0x100}}));
}

TEST_F(VideoFrames, AfterSuspendTheSameSizeFailsUntilAnotherIsAskedFor) {
  auto source = OpenVideo();
  ASSERT_EQ(Frame(*source, 0, 320, 240, pixels), kKivaSuccess);
  source->Suspend();
  EXPECT_EQ(toolbox.lastMovie->offscreen, nullptr);
  EXPECT_EQ(Frame(*source, 0, 320, 240, pixels), kKivaGeneralError);
  EXPECT_EQ(Frame(*source, 0, 160, 120, pixels), kKivaSuccess);
}

TEST_F(VideoFrames, DrawingErrorIsMinusOne) {
  auto source = OpenVideo();
  toolbox.lastMovie->taskError = -2048;
  EXPECT_EQ(Frame(*source, 0, 320, 240, pixels), kKivaGeneralError);
}

TEST_F(VideoFrames, FailedPictureSetUpStillCountsAsSetUp) {
  auto source = OpenVideo();
  source->SetRequestedSize(0, 240);  // nothing to draw into
  EXPECT_TRUE(source->SetupVideo());
  EXPECT_EQ(toolbox.lastMovie->offscreensMade, 0);
  EXPECT_EQ(Frame(*source, 0, -5, 240, pixels), kKivaGeneralError);
}

TEST_F(VideoFrames, ScalingFactorIsKeptOnlyWithinRangeAndSetsUpAgain) {
  auto source = OpenVideo();
  source->SetVideoScalingFactor(0.5);
  EXPECT_EQ(source->GetVideoScalingFactor(), 0.5);
  source->SetVideoScalingFactor(0.0);
  source->SetVideoScalingFactor(1.5);
  source->SetVideoScalingFactor(std::nan(""));
  EXPECT_EQ(source->GetVideoScalingFactor(), 0.5);
  EXPECT_EQ(toolbox.lastMovie->boxes.size(), 4u);  // every call sets the box again
  // The upper bound belongs to the range: full size is a factor like any other.
  source->SetVideoScalingFactor(1.0);
  EXPECT_EQ(source->GetVideoScalingFactor(), 1.0);
}

TEST_F(VideoFrames, DerivedAccessors) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.box = {0, 0, 480, 640};
    movie.AddVideoTrack(1000, 4010, 100);  // 40 per frame, 4010 long: 101 frames, rounded up
  });
  EXPECT_EQ(source->GetVideoFrameCount(), 101);
  EXPECT_EQ(source->GetBytesPerFrame(), 640 * 480 * 4);
  EXPECT_EQ(source->GetPAR(), 1.0);
}

TEST_F(VideoFrames, GuessPrefersTheSteadyRateOverAShortFirstSample) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.timeScale = 1000;
    movie.box = {0, 0, 240, 320};
    auto& track = movie.AddVideoTrack(1000, 1000, 25000);  // duration / samples gives 0
    (void)track;
    std::int64_t time = 0;
    for (int i = 0; i < 25; ++i) {
      const std::int64_t duration = i == 0 ? 20 : 40;
      movie.samples.emplace_back(time, duration);
      time += duration;
    }
  });
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->GetVideoStreamCount(), 1);
  EXPECT_EQ(source->GetVideoFrameRateNumerator(), 1000);
  EXPECT_EQ(source->GetVideoFrameRateDenominator(), 40);
}

TEST_F(VideoFrames, GuessWithOneSampleTakesItsDuration) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.timeScale = 600;
    movie.box = {0, 0, 240, 320};
    movie.AddVideoTrack(600, 10, 600);
    movie.samples = {{0, 600}};
  });
  EXPECT_EQ(source->GetVideoFrameRateNumerator(), 600);
  EXPECT_EQ(source->GetVideoFrameRateDenominator(), 600);
}

TEST_F(VideoFrames, FailedGuessSkipsTheTrack) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.box = {0, 0, 240, 320};
    movie.AddVideoTrack(600, 10, 600);
    movie.interestingTimeError = -2010;
  });
  EXPECT_EQ(source->GetVideoStreamCount(), 0);
  auto empty = OpenStaged([](FakeMovie& movie) {
    movie.box = {0, 0, 240, 320};
    movie.AddVideoTrack(600, 10, 600);  // no samples at all: nothing to guess from
  });
  EXPECT_EQ(empty->GetVideoStreamCount(), 0);
}

}  // namespace
