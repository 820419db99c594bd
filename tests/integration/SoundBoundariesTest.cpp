// Where a file's sound starts and ends when its container tells less than its coding: Matroska
// stores no end trim and stamps blocks in milliseconds, a movie's track may begin after an empty
// edit, and an MP3's gapless tag may sit behind bytes a tagger left. The plug-in reads such files
// as independent readers do (two of them agreeing on the sound's length), with silence before a
// sound that starts late, on the file's own clock.

#include "CommandOutput.h"
#include "HostRecords.h"
#include "KivaQTInterface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace {

const std::string kFixtures = KIVA_FIXTURES;

// The plug-in's whole reading of a file, as a host reads it: the length it reports and the
// samples of [0, length), interleaved.
struct Reading {
  std::int64_t length = -1;
  int rate = 0;
  std::vector<float> samples;
};

Reading ReadWhole(const std::string& path, int channels) {
  Reading reading;
  kivahost::HostOpen open(path);
  kiva::KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open), 0) << path;
  if (open.source == nullptr) return reading;
  kivahost::HostFormat format;
  EXPECT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format), 0);
  EXPECT_EQ(format.GetNumChannels(), channels);
  reading.length = format.sampleCount;
  reading.rate = format.sampleRate;
  const auto frames = static_cast<std::size_t>(std::max<std::int64_t>(reading.length, 0));
  std::vector<std::vector<float>> planes(static_cast<std::size_t>(channels),
                                         std::vector<float>(frames, -7.0f));
  std::vector<float*> buffers;
  for (auto& plane : planes) buffers.push_back(plane.data());
  kivahost::HostReadSamples read(0, reading.length, buffers);
  EXPECT_EQ(kivaInterface.EntryPoint(kiva::kSelReadSamples, open.source, &read), 0);
  kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
  reading.samples.resize(frames * planes.size());
  for (std::size_t i = 0; i < frames; ++i) {
    for (std::size_t c = 0; c < planes.size(); ++c)
      reading.samples[i * planes.size() + c] = planes[c][i];
  }
  return reading;
}

std::vector<float> FFmpegDecode(const std::string& path) {
  return kiva::test::CommandFloats("ffmpeg -nostdin -v error -i '" + path + "' -f f32le -");
}

std::vector<float> GStreamerDecode(const std::string& path) {
  return kiva::test::CommandFloats("gst-launch-1.0 -q filesrc location='" + path +
                                   "' ! decodebin ! audioconvert ! audio/x-raw,format=F32LE ! "
                                   "fdsink fd=1 2>/dev/null");
}

// A number ffprobe prints for the file (`entries` as its -show_entries takes them), in
// millionths.
std::int64_t ProbedMillionths(const std::string& path, const std::string& entries) {
  const std::string text = kiva::test::CommandOutput("ffprobe -v error -show_entries " + entries +
                                                     " -of csv=p=0 '" + path + "'");
  EXPECT_FALSE(text.empty()) << entries;
  return text.empty() ? -1 : std::llround(std::stod(text) * 1e6);
}

// `sound` (interleaved) lies in `reading` from frame `from` on; every other frame is silent.
void ExpectSoundAt(const Reading& reading, std::int64_t from, const std::vector<float>& sound,
                   int channels) {
  const auto offset = static_cast<std::size_t>(from * channels);
  ASSERT_LE(offset + sound.size(), reading.samples.size());
  std::int64_t silentBefore = 0;
  for (std::size_t i = 0; i < offset; ++i) silentBefore += reading.samples[i] == 0.0f;
  EXPECT_EQ(silentBefore, static_cast<std::int64_t>(offset));
  std::int64_t differing = 0;
  for (std::size_t i = 0; i < sound.size(); ++i) {
    differing += reading.samples[offset + i] != sound[i];
  }
  EXPECT_EQ(differing, 0);
  std::int64_t silentAfter = 0;
  for (std::size_t i = offset + sound.size(); i < reading.samples.size(); ++i) {
    silentAfter += reading.samples[i] == 0.0f;
  }
  EXPECT_EQ(silentAfter, static_cast<std::int64_t>(reading.samples.size() - offset - sound.size()));
}

// Vorbis and FLAC in Matroska: the sound is the whole decode of every block, the last one's
// included, whose end no millisecond stamp tells.
TEST(SoundBoundaries, MatroskaSoundEndsWithItsLastBlock) {
  for (const char* name : {"vorbis.webm", "flac.mka"}) {
    SCOPED_TRACE(name);
    const std::string path = kFixtures + "/" + name;
    const auto ffmpeg = FFmpegDecode(path);
    ASSERT_EQ(GStreamerDecode(path).size(), ffmpeg.size()) << "GStreamer and ffmpeg disagree";
    const Reading reading = ReadWhole(path, 2);
    EXPECT_EQ(reading.length, static_cast<std::int64_t>(ffmpeg.size() / 2));
    ExpectSoundAt(reading, 0, ffmpeg, 2);
  }
}

// A Matroska file's clock starts at 0: a first block stamped at 1 s is heard after a second of
// silence, as a movie's track after an empty edit.
TEST(SoundBoundaries, MatroskaSoundStampedLateStartsAtItsStamp) {
  const std::string path = kFixtures + "/flac-late.mka";
  const auto ffmpeg = FFmpegDecode(path);
  ASSERT_EQ(GStreamerDecode(path).size(), ffmpeg.size()) << "GStreamer and ffmpeg disagree";
  const std::int64_t start = ProbedMillionths(path, "stream=start_time");
  const Reading reading = ReadWhole(path, 2);
  const std::int64_t lead = start * reading.rate / 1000000;
  ASSERT_GT(lead, 0);
  EXPECT_EQ(reading.length, lead + static_cast<std::int64_t>(ffmpeg.size() / 2));
  ExpectSoundAt(reading, lead, ffmpeg, 2);
}

// A movie's only track begins with an empty edit: its length is the track's duration (the movie's,
// here) times the rate, truncated, and its sound lies where the edit list puts it.
TEST(SoundBoundaries, MovieTrackAfterAnEmptyEdit) {
  const std::string path = kFixtures + "/late-sound.mov";
  const auto ffmpeg = FFmpegDecode(path);
  ASSERT_EQ(GStreamerDecode(path).size(), ffmpeg.size()) << "GStreamer and ffmpeg disagree";
  const std::int64_t start = ProbedMillionths(path, "stream=start_time");
  const std::int64_t duration = ProbedMillionths(path, "format=duration");
  const Reading reading = ReadWhole(path, 2);
  ASSERT_EQ(reading.rate, 48000);
  const std::int64_t lead = start * reading.rate / 1000000;
  ASSERT_GT(lead, 0);
  EXPECT_EQ(reading.length, duration * reading.rate / 1000000);
  ExpectSoundAt(reading, lead, ffmpeg, 2);
}

// Bytes before an MP3's first frame hide its gapless tag from FFmpeg: the tag's frame is still
// no sound, and the encoder's delay and padding are still trimmed. The length is lame's and
// mpg123's; the samples are those of the same frames without the bytes before them, and line up
// with mpg123's decode.
TEST(SoundBoundaries, Mp3BehindBytesATaggerLeft) {
  const std::string clean = kFixtures + "/mp3-lame.mp3";
  const auto ffmpegClean = FFmpegDecode(clean);
  for (const char* name : {"mp3-junk-first.mp3", "mp3-junk-after-id3.mp3"}) {
    SCOPED_TRACE(name);
    const std::string path = kFixtures + "/" + name;
    // lame writes 16-bit frames of two channels, without a header (-t).
    const std::int64_t lameFrames =
        static_cast<std::int64_t>(
            kiva::test::CommandOutput("lame --quiet --decode -t '" + path + "' -").size()) /
        4;
    const auto mpg123 = kiva::test::CommandFloats("mpg123 -q -e f32 -s '" + path + "'");
    ASSERT_EQ(static_cast<std::int64_t>(mpg123.size() / 2), lameFrames)
        << "lame and mpg123 disagree";
    const Reading reading = ReadWhole(path, 2);
    EXPECT_EQ(reading.length, lameFrames);
    ExpectSoundAt(reading, 0, ffmpegClean, 2);
    EXPECT_EQ(reading.samples, ReadWhole(clean, 2).samples);
    ASSERT_EQ(reading.samples.size(), mpg123.size());
    double worst = 0;
    for (std::size_t i = 0; i < mpg123.size(); ++i) {
      worst = std::max(worst, std::fabs(static_cast<double>(reading.samples[i]) - mpg123[i]));
    }
    // The decoders round differently; a frame's shift would differ by a hundredth and more.
    EXPECT_LT(worst, 1e-5);
  }
}

}  // namespace
