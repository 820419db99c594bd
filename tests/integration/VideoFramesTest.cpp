// Video frames of real files: the picture for frame n is the ffmpeg command's decode of the
// frame a player shows at that time, scaled to the same size; reading order never changes a
// picture.

#include "CommandOutput.h"
#include "FixtureName.h"
#include "HostRecords.h"
#include "KivaQTInterface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

const std::string kFixtures = KIVA_FIXTURES;

using kiva::test::CommandOutput;

// Presentation times (seconds) of the frames, in decoding-output order, as ffprobe sees them.
std::vector<double> FrameTimes(const std::string& path) {
  std::vector<double> times;
  const std::string text = CommandOutput(
      "ffprobe -v error -select_streams v:0 -show_entries frame=best_effort_timestamp_time -of "
      "csv=p=0 '" +
      path + "'");
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = text.find('\n', begin);
    const std::string line = text.substr(begin, end - begin);
    if (!line.empty()) times.push_back(std::stod(line));
    if (end == std::string::npos) break;
    begin = end + 1;
  }
  return times;
}

// The ffmpeg command's decode of frame `index` (in output order), scaled like the plug-in's
// high-quality drawing, as B, G, R, A bytes.
std::string ReferenceFrame(const std::string& path, int index, int width, int height) {
  return CommandOutput(
      "ffmpeg -nostdin -v error -i '" + path + "' -vf \"select=eq(n\\," + std::to_string(index) +
      "),scale=" + std::to_string(width) + ":" + std::to_string(height) +
      ":flags=bicubic+accurate_rnd+full_chroma_int\" -frames:v 1 -pix_fmt bgra -f rawvideo -");
}

class OpenedVideo {
 public:
  explicit OpenedVideo(const std::string& path) : open(path) {
    status = kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open);
    if (status == 0) kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format);
  }
  ~OpenedVideo() {
    if (status == 0) kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
  }
  int Frame(int index, int width, int height, std::string& pixels) {
    pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4, '\0');
    Request request(index, width, height, pixels.data());
    return kivaInterface.EntryPoint(kiva::kSelReadVideoFrame, open.source, &request);
  }
  const kivahost::VideoStreamFacts& Video() const { return format.video.facts; }

  kiva::KivaQTInterface kivaInterface;
  kivahost::HostOpen open;
  kivahost::HostFormat format;
  int status = -100;

 private:
  class Request final : public kiva::KivaReadVideoFrameInterface {
   public:
    Request(int index, int width, int height, char* buffer) : index(index), buffer(buffer) {
      wanted.facts.width = width;
      wanted.facts.height = height;
    }
    std::int32_t GetFrameIndex() override { return index; }
    kiva::KivaVideoStreamInterface* GetVideoStreamInfo() override { return &wanted; }
    std::uint32_t GetRenderFlags() override { return 2; }  // high quality
    char* GetFrameBuffer() override { return buffer; }

   private:
    int index;
    char* buffer;
    kivahost::HostVideoStream wanted;
  };
};

int LargestDifference(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return 256;
  int worst = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    worst = std::max(worst,
                     std::abs(static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i])));
  }
  return worst;
}

struct VideoFixture {
  const char* file;
  int width;  // the movie's own (display) size
  int height;
  int frames;
};

class VideoFrames : public ::testing::TestWithParam<VideoFixture> {};

TEST_P(VideoFrames, ReportedGeometry) {
  const VideoFixture& fixture = GetParam();
  OpenedVideo video(kFixtures + "/" + fixture.file);
  ASSERT_EQ(video.status, 0);
  EXPECT_EQ(video.Video().streamCount, 1);
  EXPECT_EQ(video.Video().width, fixture.width);
  EXPECT_EQ(video.Video().height, fixture.height);
  EXPECT_EQ(video.Video().frameCount, fixture.frames);
}

TEST_P(VideoFrames, FrameIsTheOneAPlayerShowsAtItsTime) {
  const VideoFixture& fixture = GetParam();
  const std::string path = kFixtures + "/" + fixture.file;
  OpenedVideo video(path);
  ASSERT_EQ(video.status, 0);
  const std::vector<double> times = FrameTimes(path);
  ASSERT_FALSE(times.empty());
  const double rate = static_cast<double>(video.Video().rateNumerator) /
                      static_cast<double>(video.Video().rateDenominator);
  const int width = 200;
  const int height = 150;
  std::string ours;
  for (const int index : {0, 1, fixture.frames / 2, fixture.frames - 1}) {
    if (index < 0 || index >= fixture.frames) continue;
    ASSERT_EQ(video.Frame(index, width, height, ours), 0) << fixture.file << " frame " << index;
    // The frame shown at index / rate: the last one starting at or before it.
    const double time = index / rate + times.front();
    int shown = 0;
    for (std::size_t k = 0; k < times.size(); ++k) {
      if (times[k] <= time + 1e-6) shown = static_cast<int>(k);
    }
    const std::string reference = ReferenceFrame(path, shown, width, height);
    EXPECT_LE(LargestDifference(ours, reference), 2) << fixture.file << " frame " << index;
  }
}

TEST_P(VideoFrames, ReadingOrderDoesNotChangeAPicture) {
  const VideoFixture& fixture = GetParam();
  const std::string path = kFixtures + "/" + fixture.file;
  std::vector<std::string> forwards(static_cast<std::size_t>(fixture.frames));
  {
    OpenedVideo video(path);
    for (int i = 0; i < fixture.frames; ++i) {
      ASSERT_EQ(video.Frame(i, 96, 72, forwards[static_cast<std::size_t>(i)]), 0) << i;
    }
  }
  {
    OpenedVideo video(path);
    std::string picture;
    for (int i = fixture.frames - 1; i >= 0; --i) {
      ASSERT_EQ(video.Frame(i, 96, 72, picture), 0);
      EXPECT_TRUE(picture == forwards[static_cast<std::size_t>(i)])
          << fixture.file << " backwards " << i;
    }
  }
  {
    OpenedVideo video(path);
    std::vector<int> order(static_cast<std::size_t>(fixture.frames));
    for (int i = 0; i < fixture.frames; ++i) order[static_cast<std::size_t>(i)] = i;
    std::shuffle(order.begin(), order.end(), std::mt19937(5));
    std::string picture;
    for (const int i : order) {
      ASSERT_EQ(video.Frame(i, 96, 72, picture), 0);
      EXPECT_TRUE(picture == forwards[static_cast<std::size_t>(i)])
          << fixture.file << " shuffled " << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fixtures, VideoFrames,
                         ::testing::Values(VideoFixture{"h264.mp4", 320, 240, 48},
                                           VideoFixture{"mpeg4.mp4", 320, 240, 48},
                                           VideoFixture{"mjpeg.mov", 320, 240, 48},
                                           // Matroska counts in milliseconds: 41 per frame of
                                           // 41.67 over 2000 make 49.
                                           VideoFixture{"vp9.webm", 320, 240, 49},
                                           // 60 frames at irregular times: the frame duration is
                                           // the mean rounded down, so the count rounds up.
                                           VideoFixture{"vfr.mp4", 320, 240, 61},
                                           // Counted from the video, not from the longer
                                           // sound beside it: 50 pictures of 2 s...
                                           VideoFixture{"video-shorter.webm", 320, 240, 50},
                                           // ... and 75 at irregular times whose last ends at
                                           // 2503 ms, in frames of 33 ms (the mean rounded
                                           // down): 76.
                                           VideoFixture{"vfr-with-sound.mkv", 320, 240, 76},
                                           VideoFixture{"anamorphic.mp4", 427, 240, 24},
                                           // Turned for display: the box a viewer sees.
                                           VideoFixture{"rotated-90.mp4", 240, 320, 48},
                                           VideoFixture{"rotated-180.mp4", 320, 240, 48},
                                           VideoFixture{"rotated-270.mp4", 240, 320, 48},
                                           VideoFixture{"one-frame.mp4", 320, 240, 1},
                                           // Ogg's Theora declares no count: 2 s at 25 fps.
                                           VideoFixture{"theora.ogv", 320, 240, 50},
                                           VideoFixture{"theora-vorbis.ogv", 320, 240, 50}),
                         [](const ::testing::TestParamInfo<VideoFixture>& info) {
                           return kiva::test::TestNameFromFile(info.param.file);
                         });

TEST(VideoFrame, LargestSizeRendersAndLargerIsRefused) {
  OpenedVideo video(kFixtures + "/h264.mp4");
  ASSERT_EQ(video.status, 0);
  std::string picture;
  EXPECT_EQ(video.Frame(3, 4000, 4000, picture), 0);
  EXPECT_EQ(video.Frame(3, 4001, 10, picture), -6);
}

TEST(VideoFrame, AudioOnlyFileHasNoFrames) {
  OpenedVideo video(kFixtures + "/pcm16.mov");
  ASSERT_EQ(video.status, 0);
  std::string picture;
  EXPECT_EQ(video.Frame(0, 32, 32, picture), -5);
}

// Theora in Ogg declares neither a frame count nor an average rate: the plug-in reports the
// frames ffprobe counts by reading them all, at the rate Theora's header gives, as a fraction
// and as a number alike; every frame can be read.
TEST(VideoFrame, TheoraInOggHasEveryFrameAtItsRate) {
  for (const std::string file : {"theora.ogv", "theora-vorbis.ogv"}) {
    const std::string path = kFixtures + "/" + file;
    const std::string counted = CommandOutput(
        "ffprobe -v error -count_frames -select_streams v:0 -show_entries "
        "stream=nb_read_frames,r_frame_rate -of csv=p=0 '" +
        path + "'");
    int rateNumerator = 0;
    int rateDenominator = 0;
    int frames = 0;
    ASSERT_EQ(std::sscanf(counted.c_str(), "%d/%d,%d", &rateNumerator, &rateDenominator, &frames),
              3)
        << counted;
    OpenedVideo video(path);
    ASSERT_EQ(video.status, 0);
    EXPECT_EQ(video.Video().frameCount, frames) << file;
    const double rate = static_cast<double>(rateNumerator) / rateDenominator;
    EXPECT_DOUBLE_EQ(video.Video().frameRate, rate) << file;
    ASSERT_GT(video.Video().rateDenominator, 0);
    EXPECT_DOUBLE_EQ(static_cast<double>(video.Video().rateNumerator) /
                         static_cast<double>(video.Video().rateDenominator),
                     rate)
        << file;
    std::string picture;
    EXPECT_EQ(video.Frame(frames - 1, 32, 24, picture), 0) << file;
  }
}

TEST(VideoFrame, PixelAspectRatioOfAnAnamorphicFile) {
  OpenedVideo video(kFixtures + "/anamorphic.mp4");
  ASSERT_EQ(video.status, 0);
  EXPECT_NEAR(video.Video().pixelAspectRatio, 40.0 / 33.0, 1e-9);
}

}  // namespace
