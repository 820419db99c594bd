// What a timeline costs: the first frame of an indexed movie reads its index and the packets it
// needs, not the file; pictures and scalers are kept per size; decoded frames are kept for
// stepping back and forth within their memory bound; playing in order decodes each frame once.
// Counted, not timed.

#include "CommandOutput.h"
#include "PlugInRequests.h"
#include "media/ffmpeg/FFmpegMovie.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

namespace fs = std::filesystem;
namespace media = kiva::qt::media;
using media::ffmpeg::FFmpegMovie;

const std::string kFixtures = KIVA_FIXTURES;

// Bytes this process has read through read(2) and its kin so far.
long long BytesRead() {
  std::ifstream io("/proc/self/io");
  std::string key;
  long long value = 0;
  while (io >> key >> value) {
    if (key == "rchar:") return value;
  }
  return -1;
}

// A movie drawn the way the plug-in draws it: a picture per size, made when the size changes.
class Timeline {
 public:
  explicit Timeline(const std::string& path) {
    status = FFmpegMovie::Open(path, movie);
    if (status == 0) movie->SetTimeScale(25);  // the clips run at 25 fps: times are indices
  }
  int Draw(int index, int width, int height) {
    if (!picture || picture->width != width || picture->height != height) {
      movie->SetOffscreen(nullptr);
      picture.reset();
      if (movie->NewOffscreen(media::Rect{0, 0, height, width}, picture) != 0) {
        return -1;
      }
      movie->SetOffscreen(picture.get());
    }
    movie->SetTimeValue(index);
    return movie->Task();
  }
  const FFmpegMovie& Movie() const { return dynamic_cast<const FFmpegMovie&>(*movie); }
  const media::ffmpeg::FFmpegVideoRenderer& Renderer() const { return *Movie().VideoRenderer(); }

  int status = -1;

 private:
  std::unique_ptr<media::Movie> movie;
  std::unique_ptr<media::Offscreen> picture;
};

class LargeMovie : public ::testing::TestWithParam<const char*> {};

TEST_P(LargeMovie, FirstFrameReadsTheIndexAndThePacketsItNeedsNotTheFile) {
  // 180 uncompressed 640 x 480 frames: 110 MB, every frame in the index.
  const fs::path path = fs::path(::testing::TempDir()) / (std::string("large.") + GetParam());
  ASSERT_EQ(std::system(("ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=640x480:rate=25 "
                         "-frames:v 180 -c:v rawvideo -pix_fmt uyvy422 '" +
                         path.string() + "'")
                            .c_str()),
            0);
  const auto size = static_cast<long long>(fs::file_size(path));
  ASSERT_GT(size, 100LL << 20);
  const long long before = BytesRead();
  {
    kiva::test::PlugInFile file(path.string());
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Frame(120, 160, 120).status, 0);
  }
  const long long read = BytesRead() - before;
  fs::remove(path);
  std::printf("first frame of a %lld-byte %s: %lld bytes read (%.1f %%)\n", size, GetParam(), read,
              100.0 * static_cast<double>(read) / static_cast<double>(size));
  // Opening probes a few frames (FFmpeg reads up to 5 MB to learn a stream's parameters, once
  // for the movie and once for the decoder) and the frame itself is 0.6 MB: far below a pass.
  EXPECT_LT(read, size / 8);
}

INSTANTIATE_TEST_SUITE_P(Indexed, LargeMovie, ::testing::Values("mov", "mkv"));

TEST(Timeline, AlternatingSizesKeepTheirScalersAndPictures) {
  Timeline timeline(kFixtures + "/seek/gop250-640x360.mp4");
  ASSERT_EQ(timeline.status, 0);
  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(timeline.Draw(i * 25, 160, 90), 0);
    ASSERT_EQ(timeline.Draw(i * 25 + 7, 1280, 720), 0);
  }
  EXPECT_EQ(timeline.Renderer().Scaler().Made(), 2);
  EXPECT_EQ(timeline.Movie().Pictures().Allocated(), 2);
}

TEST(Timeline, SteppingBackKeepsDecodedFramesWithinTheirBound) {
  Timeline timeline(kFixtures + "/seek/gop250-640x360.mp4");
  ASSERT_EQ(timeline.status, 0);
  const int frames = 300;  // one keyframe at 0, one at 250
  std::size_t most = 0;
  for (int index = frames - 1; index >= 0; --index) {
    ASSERT_EQ(timeline.Draw(index, 160, 90), 0) << index;
    const auto& cache = timeline.Renderer().Cache();
    most = std::max(most, cache.Bytes());
    ASSERT_LE(cache.Bytes(), cache.LimitBytes()) << index;
  }
  const auto& renderer = timeline.Renderer();
  std::printf(
      "stepping back over %d frames: %lld decoded, %lld seeks, at most %zu bytes of decoded "
      "frames kept (%zu frames now; bound %zu)\n",
      frames, static_cast<long long>(renderer.DecodedFrames()),
      static_cast<long long>(renderer.Seeks()), most, renderer.Cache().Count(),
      renderer.Cache().LimitBytes());
  // The kept frames fill their bound (the stream's frames do not all fit)...
  EXPECT_GT(most, renderer.Cache().LimitBytes() * 3 / 4);
  // ...and spare most decoding: without them every step back decodes from its keyframe again,
  // 50 * 25 + 250 * 125 = 32,500 frames. A single request keeps only the frames just before
  // the one it wants, and a run over frames decoded before keeps all: each stretch is decoded
  // at most three times.
  EXPECT_LE(renderer.DecodedFrames(), 3 * frames);
}

TEST(Timeline, PlayingInOrderDecodesEachFrameOnce) {
  Timeline timeline(kFixtures + "/seek/gop250-640x360.mp4");
  ASSERT_EQ(timeline.status, 0);
  for (int index = 0; index < 300; ++index) ASSERT_EQ(timeline.Draw(index, 160, 90), 0) << index;
  EXPECT_EQ(timeline.Renderer().DecodedFrames(), 300);
  EXPECT_EQ(timeline.Renderer().Seeks(), 1);  // to the first frame, once
}

}  // namespace
