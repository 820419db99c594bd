// Files cut short: a recording whose writer died, or a copy that did not finish, keeps a header
// that promises more sound than follows it. The plug-in reports and delivers what the file holds,
// as sox and ffmpeg read it (both must agree), and never invents silence for the rest.

#include "CommandOutput.h"
#include "HostRecords.h"
#include "KivaQTInterface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <stdlib.h>

namespace {

namespace fs = std::filesystem;

struct CutFile {
  const char* name;  // the file's name, whose extension chooses its container
  const char* coding;
  int channels;
};

// The plug-in reports the length sox and ffmpeg read (both must agree) and delivers ffmpeg's
// samples.
void ExpectHeldAsReadersReadIt(const std::string& path, int channels) {
  const auto ffmpeg =
      kiva::test::CommandFloats("ffmpeg -nostdin -v error -i '" + path + "' -f f32le -");
  const auto sox =
      kiva::test::CommandFloats("sox '" + path + "' -t raw -e floating-point -b 32 - 2>/dev/null");
  const auto frames = static_cast<std::int64_t>(ffmpeg.size()) / channels;
  ASSERT_GT(frames, 10000);
  ASSERT_EQ(static_cast<std::int64_t>(sox.size()) / channels, frames)
      << "sox and ffmpeg read different lengths";

  kivahost::HostOpen open(path);
  kiva::KivaQTInterface kivaInterface;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open), 0);
  kivahost::HostFormat format;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format), 0);
  EXPECT_EQ(format.sampleCount, frames);

  std::vector<std::vector<float>> planes(static_cast<std::size_t>(channels),
                                         std::vector<float>(static_cast<std::size_t>(frames)));
  std::vector<float*> buffers;
  for (auto& plane : planes) buffers.push_back(plane.data());
  kivahost::HostReadSamples read(0, frames, buffers);
  EXPECT_EQ(kivaInterface.EntryPoint(kiva::kSelReadSamples, open.source, &read), 0);
  EXPECT_EQ(read.framesRead, frames);
  std::int64_t differing = 0;
  for (std::int64_t i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      differing += planes[static_cast<std::size_t>(c)][static_cast<std::size_t>(i)] !=
                   ffmpeg[static_cast<std::size_t>(i * channels + c)];
    }
  }
  EXPECT_EQ(differing, 0);
  kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
}

class CutShortFiles : public ::testing::TestWithParam<CutFile> {
 protected:
  void SetUp() override {
    std::string pattern = (fs::path(::testing::TempDir()) / "cut-short-XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    directory = pattern;
  }
  void TearDown() override {
    if (!directory.empty()) fs::remove_all(directory);
  }
  fs::path directory;
};

TEST_P(CutShortFiles, HoldWhatIsThere) {
  const CutFile& cut = GetParam();
  const std::string path = (directory / cut.name).string();
  kiva::test::CommandOutput("ffmpeg -nostdin -v error -f lavfi -i sine=frequency=440:duration=3 " +
                            std::string("-ac ") + std::to_string(cut.channels) + " " + cut.coding +
                            " -y '" + path + "'");
  const auto whole = static_cast<std::int64_t>(fs::file_size(path));
  // Cut inside the second half, in the middle of a sample.
  fs::resize_file(path, static_cast<std::uintmax_t>(whole / 2 + 1));

  ExpectHeldAsReadersReadIt(path, cut.channels);
}

// A FLAC whose STREAMINFO claims 2^36 - 1 samples (a writer that never came back to fill in the
// count) for 1.5 s of sound: the sound, not hours of silence.
TEST_F(CutShortFiles, FlacPromisingMoreThanItHolds) {
  const std::string path = (directory / "promising.flac").string();
  kiva::test::CommandOutput(
      "ffmpeg -nostdin -v error -f lavfi -i sine=frequency=440:duration=1.5 -y '" + path + "'");
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  // The sample count: the low 4 bits of byte 21 and bytes 22 to 25 of the file.
  file.seekg(21);
  const int byte = file.get();
  file.seekp(21);
  file.put(static_cast<char>(byte | 0x0F));
  file.write("\xff\xff\xff\xff", 4);
  file.close();
  ASSERT_EQ(kiva::test::CommandOutput("ffprobe -v error -show_entries stream=duration_ts -of "
                                      "csv=p=0 '" +
                                      path + "'"),
            "68719476735\n");
  ExpectHeldAsReadersReadIt(path, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Containers, CutShortFiles,
    ::testing::Values(CutFile{"cut.wav", "-c:a pcm_s16le", 2},
                      // 5.1 in 24 bits: a frame of 18 bytes, WAVE_FORMAT_EXTENSIBLE.
                      CutFile{"cut-51.wav", "-c:a pcm_s24le", 6},
                      CutFile{"cut.aiff", "-c:a pcm_s16be", 2},
                      CutFile{"cut.au", "-c:a pcm_s16be", 1},
                      CutFile{"cut.w64", "-c:a pcm_s16le", 2},
                      // A frame cut in two is dropped whole, as decoders drop it.
                      CutFile{"cut.flac", "-c:a flac", 2}),
    [](const auto& info) {
      std::string name = info.param.name;
      std::replace_if(
          name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
      return name;
    });

}  // namespace
