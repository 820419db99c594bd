// Frames asked for in any order, from every container and picture structure the suite makes,
// are exactly the pictures of a plain sequential decode of the same stream (one thread, from
// the first packet), scaled to the same size by the same scaler: seeking never shows a frame
// from a guessed position, and never a picture decoded without the ones it refers to.

#include "FixtureName.h"
#include "PlugInRequests.h"
#include "media/ffmpeg/FFmpegPtr.h"
#include "media/ffmpeg/PictureScaler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

namespace ffmpeg = kiva::qt::media::ffmpeg;

const std::string kFixtures = KIVA_FIXTURES;

// Every picture of the first video stream, by presentation time, as one decoder thread puts
// them out when fed every packet in order.
class SequentialDecode {
 public:
  explicit SequentialDecode(const std::string& path) {
    AVFormatContext* raw = nullptr;
    if (avformat_open_input(&raw, path.c_str(), nullptr, nullptr) < 0) return;
    ffmpeg::FormatContextPtr format(raw);
    if (avformat_find_stream_info(format.get(), nullptr) < 0) return;
    const int stream = av_find_best_stream(format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (stream < 0) return;
    const AVCodecParameters* parameters = format->streams[stream]->codecpar;
    timeBase = format->streams[stream]->time_base;
    ffmpeg::CodecContextPtr decoder(
        avcodec_alloc_context3(avcodec_find_decoder(parameters->codec_id)));
    avcodec_parameters_to_context(decoder.get(), parameters);
    decoder->pkt_timebase = timeBase;
    decoder->thread_count = 1;
    if (avcodec_open2(decoder.get(), decoder->codec, nullptr) < 0) return;
    ffmpeg::PacketPtr packet(av_packet_alloc());
    // Where packets carry no presentation times (AVI), a frame's time is its place in
    // presentation order, counted in frame durations.
    const AVRational rate = format->streams[stream]->avg_frame_rate;
    const std::int64_t frameDuration = av_rescale_q(1, av_inv_q(rate), timeBase);
    std::int64_t count = 0;
    bool counting = false;
    bool first = true;
    const auto drain = [&] {
      while (true) {
        ffmpeg::FramePtr frame(av_frame_alloc());
        if (avcodec_receive_frame(decoder.get(), frame.get()) < 0) return;
        const std::int64_t timestamp =
            counting ? count * frameDuration : frame->best_effort_timestamp;
        ++count;
        frames.emplace(timestamp, std::move(frame));
      }
    };
    while (av_read_frame(format.get(), packet.get()) >= 0) {
      if (packet->stream_index == stream) {
        if (first) counting = packet->pts == AV_NOPTS_VALUE;
        first = false;
        avcodec_send_packet(decoder.get(), packet.get());
      }
      av_packet_unref(packet.get());
      drain();
    }
    avcodec_send_packet(decoder.get(), nullptr);
    drain();
  }

  bool Empty() const { return frames.empty(); }
  int Count() const { return static_cast<int>(frames.size()); }

  // Which picture of the decode `bytes` is, as "frame N (time T)", to explain a failure.
  std::string Identify(const std::vector<char>& bytes, int width, int height) {
    int index = 0;
    for (const auto& [timestamp, frame] : frames) {
      if (Scaled(*frame, width, height) == bytes) {
        return "frame " + std::to_string(index) + " (time " + std::to_string(timestamp) + ")";
      }
      ++index;
    }
    return "no frame of the decode";
  }

  // The picture on screen `numerator / denominator` seconds after the first one: the last
  // starting at or before then (or the first), scaled like the plug-in's high-quality drawing
  // and given as B, G, R, A bytes.
  std::vector<char> Picture(std::int64_t numerator, std::int64_t denominator, int width,
                            int height) {
    const std::int64_t origin = frames.begin()->first;
    const AVFrame* shown = frames.begin()->second.get();
    for (const auto& [timestamp, frame] : frames) {
      // (timestamp - origin) * timeBase <= numerator / denominator, in exact integers.
      const __int128 left = static_cast<__int128>(timestamp - origin) * timeBase.num * denominator;
      const __int128 right = static_cast<__int128>(numerator) * timeBase.den;
      if (left <= right) shown = frame.get();
    }
    return Scaled(*shown, width, height);
  }

 private:
  std::vector<char> Scaled(const AVFrame& shown, int width, int height) {
    kiva::qt::media::Offscreen picture;
    picture.width = width;
    picture.height = height;
    picture.rowBytes = width * 4;
    picture.pixels.assign(static_cast<std::size_t>(width * height * 4), 0);
    if (scaler.Scale(shown, true, {}, picture) != 0) return {};
    std::vector<char> bytes(picture.pixels.size());
    for (std::size_t i = 0; i < bytes.size(); i += 4) {  // A, R, G, B words to B, G, R, A
      for (std::size_t b = 0; b < 4; ++b)
        bytes[i + b] = static_cast<char>(picture.pixels[i + 3 - b]);
    }
    return bytes;
  }

  AVRational timeBase{1, 1};
  std::map<std::int64_t, ffmpeg::FramePtr> frames;
  ffmpeg::PictureScaler scaler;
};

struct SeekFixture {
  const char* file;
  // Frames at a constant rate: the plug-in counts exactly the frames there are. At irregular
  // times it counts slots of the mean duration, as well as the container tells it (Matroska
  // has no frame count: FFmpeg's estimate of the rate it is).
  bool constantRate = true;
};

class Seeking : public ::testing::TestWithParam<SeekFixture> {
 protected:
  void SetUp() override {
    path = kFixtures + "/seek/" + GetParam().file;
    file = std::make_unique<kiva::test::PlugInFile>(path);
    ASSERT_TRUE(file->IsOpen()) << path;
    reference = std::make_unique<SequentialDecode>(path);
    ASSERT_FALSE(reference->Empty());
    frames = file->FrameCount();
    if (GetParam().constantRate) {
      ASSERT_EQ(frames, reference->Count());
    }
  }

  // Frame `index` through the plug-in, against the sequential decode.
  void ExpectFrame(int index, int width, int height) {
    const auto& video = file->format.video.facts;
    const kiva::test::Answer ours = file->Frame(index, width, height);
    ASSERT_EQ(ours.status, 0) << GetParam().file << " frame " << index;
    // The plug-in shows frame n at n frame durations in the video's time scale.
    const std::vector<char> expected =
        reference->Picture(index * video.rateDenominator, video.rateNumerator, width, height);
    EXPECT_TRUE(ours.bytes == expected)
        << GetParam().file << ": frame " << index << " at " << width << "x" << height
        << " is not the picture a sequential decode shows then, "
        << reference->Identify(expected, width, height) << ", but "
        << reference->Identify(ours.bytes, width, height);
  }

  std::string path;
  std::unique_ptr<kiva::test::PlugInFile> file;
  std::unique_ptr<SequentialDecode> reference;
  int frames = 0;
};

TEST_P(Seeking, TwentyShuffledFramesAreThoseOfASequentialDecode) {
  std::vector<int> indices{0, frames - 1};
  std::mt19937 random(static_cast<unsigned>(std::hash<std::string>{}(GetParam().file)));
  std::uniform_int_distribution<int> any(1, frames - 2);
  while (indices.size() < 20) indices.push_back(any(random));
  std::shuffle(indices.begin(), indices.end(), random);
  for (const int index : indices) {
    ASSERT_NO_FATAL_FAILURE(ExpectFrame(index, 96, 54));
  }
}

TEST_P(Seeking, SteppingBackwardsFromTheEnd) {
  for (int index = frames - 1; index >= std::max(0, frames - 60); --index) {
    ASSERT_NO_FATAL_FAILURE(ExpectFrame(index, 64, 36));
  }
}

TEST_P(Seeking, ThumbnailsInterleavedWithAViewer) {
  std::mt19937 random(3);
  std::uniform_int_distribution<int> any(0, frames - 1);
  for (int thumbnail = 0; thumbnail < 10; ++thumbnail) {
    ASSERT_NO_FATAL_FAILURE(ExpectFrame(thumbnail * (frames - 1) / 9, 32, 18));
    ASSERT_NO_FATAL_FAILURE(ExpectFrame(any(random), 160, 90));
  }
}

INSTANTIATE_TEST_SUITE_P(
    EveryContainer, Seeking,
    ::testing::Values(
        // 300 frames at 25 fps, H.264 with 3 B-frames and a keyframe every 48.
        SeekFixture{"gop48-bframes.mp4"}, SeekFixture{"gop48-bframes.mov"},
        SeekFixture{"gop48-bframes.mkv"}, SeekFixture{"gop48-bframes.avi"},
        SeekFixture{"gop48-bframes.ts"}, SeekFixture{"gop48-bframes.m2ts"},
        // A keyframe every 250 (10 s).
        SeekFixture{"gop250.mp4"}, SeekFixture{"gop250.ts"},
        // Open GOPs.
        SeekFixture{"open-gop.mkv"}, SeekFixture{"open-gop.ts"},
        // A single keyframe, the first frame.
        SeekFixture{"single-keyframe.mp4"}, SeekFixture{"single-keyframe.ts"},
        // Every frame a keyframe.
        SeekFixture{"intra.avi"}, SeekFixture{"intra.mov"}, SeekFixture{"intra.ts"},
        // 240 frames at irregular times: indices count slots of the mean frame duration.
        SeekFixture{"vfr.mp4", false}, SeekFixture{"vfr.mkv", false},
        // VP9 with hidden reference frames.
        SeekFixture{"vp9.webm"},
        // MPEG-2 program streams, 400 frames, a GOP of 300.
        SeekFixture{"mpeg2.mpg"}, SeekFixture{"mpeg2.vob"}),
    [](const ::testing::TestParamInfo<SeekFixture>& info) {
      return kiva::test::TestNameFromFile(info.param.file);
    });

}  // namespace
