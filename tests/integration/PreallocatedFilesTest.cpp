// Recordings preallocated to gigabytes and stopped early: a short file followed by 20 GiB of
// zeros (sparse, so it costs no disk). The plug-in opens and reads each within a few of its
// read bounds, at the short file's length and with its samples, as ffmpeg decodes them.

#include "CommandOutput.h"
#include "HostRecords.h"
#include "KivaQTInterface.h"
#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::uintmax_t kPreallocated = std::uintmax_t{20} << 30;
// Each open or read is bounded by a few steps of at most 5 s; a file read through to its
// zeros took minutes.
constexpr auto kAtMost = std::chrono::seconds(20);

class PreallocatedFiles : public ::testing::TestWithParam<const char*> {
 protected:
  kiva::test::ScratchDirectory scratch{"preallocated"};
  const std::filesystem::path& directory = scratch.Path();
};

TEST_P(PreallocatedFiles, ReadAsTheShortFileAlone) {
  const std::string codingOptions = GetParam();
  const std::string extension = codingOptions.find("mp3") != std::string::npos ? "mp3" : "wav";
  const std::string shortFile = (directory / ("short." + extension)).string();
  const std::string longFile = (directory / ("preallocated." + extension)).string();
  // An MP3 without a gapless tag: its length is found by counting its frames.
  kiva::test::CommandOutput(
      "ffmpeg -nostdin -v error -f lavfi -i sine=frequency=440:duration=1.5 "
      "-ac 1 " +
      codingOptions + " -y '" + shortFile + "'");
  const auto decoded =
      kiva::test::CommandFloats("ffmpeg -nostdin -v error -i '" + shortFile + "' -f f32le -");
  ASSERT_GT(decoded.size(), 40000u);
  fs::copy_file(shortFile, longFile);
  fs::resize_file(longFile, kPreallocated);

  kivahost::HostOpen open(longFile);
  kiva::KivaQTInterface kivaInterface;
  auto started = Clock::now();
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open), 0);
  EXPECT_LT(Clock::now() - started, kAtMost);
  kivahost::HostFormat format;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format), 0);
  const auto length = static_cast<std::int64_t>(decoded.size());
  EXPECT_EQ(format.sampleCount, length);

  // From the start to past the end, then the last frames again after a seek.
  std::vector<float> samples(decoded.size() + 4096, -2.0f);
  started = Clock::now();
  kivahost::HostReadSamples whole(0, static_cast<std::int64_t>(samples.size()), {samples.data()});
  EXPECT_EQ(kivaInterface.EntryPoint(kiva::kSelReadSamples, open.source, &whole), 0);
  EXPECT_LT(Clock::now() - started, kAtMost);
  EXPECT_TRUE(std::equal(decoded.begin(), decoded.end(), samples.begin()));
  EXPECT_TRUE(std::all_of(samples.begin() + length, samples.end(), [](float v) { return v == 0; }));

  std::vector<float> tail(1000, -2.0f);
  started = Clock::now();
  kivahost::HostReadSamples last(length - 500, 1000, {tail.data()});
  EXPECT_EQ(kivaInterface.EntryPoint(kiva::kSelReadSamples, open.source, &last), 0);
  EXPECT_LT(Clock::now() - started, kAtMost);
  EXPECT_TRUE(std::equal(decoded.end() - 500, decoded.end(), tail.begin()));
  EXPECT_TRUE(std::all_of(tail.begin() + 500, tail.end(), [](float v) { return v == 0; }));
  kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Codings, PreallocatedFiles,
                         ::testing::Values("-c:a pcm_s16le",
                                           "-c:a libmp3lame -b:a 128k -write_xing 0 "
                                           "-id3v2_version 0"),
                         [](const auto& info) { return info.index == 0 ? "Wav" : "Mp3"; });

}  // namespace
