// Files cut short: a recording whose writer died, or a copy that did not finish, keeps a header
// that promises more sound than follows it. The plug-in reports and delivers what the file holds,
// as sox and ffmpeg read it (both must agree), and never invents silence for the rest.

#include "CommandOutput.h"
#include "HostRecords.h"
#include "KivaQTInterface.h"
#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct CutFile {
  const char* name;  // the file's name, whose extension chooses its container
  const char* coding;
  int channels;
  const char* reader;  // the second reader, beside ffmpeg
};

void ExpectHeld(const std::string& path, int channels, const std::vector<float>& ffmpeg);

// A second reader of `path` beside ffmpeg: its samples as 32-bit float.
std::vector<float> SecondReading(const std::string& reader, const std::string& path) {
  if (reader == "sox") {
    return kiva::test::CommandFloats("sox '" + path +
                                     "' -t raw -e floating-point -b 32 - 2>/dev/null");
  }
  return kiva::test::CommandFloats("gst-launch-1.0 -q filesrc location='" + path +
                                   "' ! decodebin ! audioconvert ! audio/x-raw,format=F32LE ! "
                                   "fdsink fd=1 2>/dev/null");
}

// The plug-in reports the length ffmpeg and `reader` read (both must agree) and delivers
// ffmpeg's samples.
void ExpectHeldAsReadersReadIt(const std::string& path, int channels, const std::string& reader) {
  const auto ffmpeg =
      kiva::test::CommandFloats("ffmpeg -nostdin -v error -i '" + path + "' -f f32le -");
  ASSERT_EQ(SecondReading(reader, path).size(), ffmpeg.size())
      << reader << " and ffmpeg read different lengths";
  ExpectHeld(path, channels, ffmpeg);
}

// The plug-in reports the length of `ffmpeg` (its decode, interleaved) and delivers its samples.
void ExpectHeld(const std::string& path, int channels, const std::vector<float>& ffmpeg) {
  const auto frames = static_cast<std::int64_t>(ffmpeg.size()) / channels;
  ASSERT_GT(frames, 10000);

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
  kiva::test::ScratchDirectory scratch{"cut-short"};
  const std::filesystem::path& directory = scratch.Path();
};

TEST_P(CutShortFiles, HoldWhatIsThere) {
  const CutFile& cut = GetParam();
  const std::string path = (directory / cut.name).string();
  kiva::test::CommandOutput("ffmpeg -nostdin -v error -f lavfi -i sine=frequency=440:duration=3 " +
                            std::string("-ac ") + std::to_string(cut.channels) + " " + cut.coding +
                            " -y '" + path + "'");
  const auto whole = static_cast<std::int64_t>(fs::file_size(path));
  // Cut inside the second half, in the middle of a sample (and of a packet).
  fs::resize_file(path, static_cast<std::uintmax_t>(whole / 2 + 1));

  ExpectHeldAsReadersReadIt(path, cut.channels, cut.reader);
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
  ExpectHeldAsReadersReadIt(path, 1, "sox");
}

// A movie's index, written first, lists packets the file no longer holds. The sound held is that
// of the whole packets: ffmpeg's decode of the file cut where the packet starts (a packet cut in
// two decodes to nothing; GStreamer keeps the coder's priming here, as it does in whole movies).
TEST_F(CutShortFiles, MovieCutInsideAPacket) {
  const std::string path = (directory / "cut.m4a").string();
  const std::string whole = (directory / "whole-packets.m4a").string();
  kiva::test::CommandOutput(
      "ffmpeg -nostdin -v error -f lavfi -i sine=frequency=440:duration=3 -ac 2 -c:a aac "
      "-movflags +faststart -y '" +
      path + "'");
  std::vector<std::uintmax_t> starts;
  std::istringstream listing(kiva::test::CommandOutput(
      "ffprobe -v error -select_streams a -show_entries packet=pos -of csv=p=0 '" + path + "'"));
  // One position a line (ffprobe ends the first with a comma).
  for (std::string line; std::getline(listing, line);) {
    if (!line.empty()) starts.push_back(std::stoull(line));
  }
  ASSERT_GT(starts.size(), 100u);
  const std::uintmax_t middle = starts[starts.size() / 2];
  fs::copy_file(path, whole);
  fs::resize_file(whole, middle);
  fs::resize_file(path, middle + 100);
  ExpectHeld(path, 2,
             kiva::test::CommandFloats("ffmpeg -nostdin -v error -i '" + whole + "' -f f32le -"));
}

// Another program cuts the file while the host reads it (a recording's writer truncating and
// starting again, a copy restarted): a read that reaches past the cut fails, where silence would
// pass for sound; what is still there reads as before.
TEST_F(CutShortFiles, CutWhileBeingRead) {
  for (const char* name : {"shrinking.wav", "shrinking.flac"}) {
    SCOPED_TRACE(name);
    const std::string path = (directory / name).string();
    kiva::test::CommandOutput(
        "ffmpeg -nostdin -v error -f lavfi -i sine=frequency=440:duration=3 -ac 2 -y '" + path +
        "'");
    kivahost::HostOpen open(path);
    kiva::KivaQTInterface kivaInterface;
    ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open), 0);
    kivahost::HostFormat format;
    ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format), 0);
    ASSERT_EQ(format.sampleCount, 3 * 44100);

    constexpr std::int64_t kBlock = 4096;
    std::vector<float> left(kBlock), right(kBlock);
    std::vector<float*> buffers{left.data(), right.data()};
    const auto readAt = [&](std::int64_t start) {
      kivahost::HostReadSamples read(start, kBlock, buffers);
      return kivaInterface.EntryPoint(kiva::kSelReadSamples, open.source, &read);
    };
    EXPECT_EQ(readAt(0), 0);
    fs::resize_file(path, fs::file_size(path) / 3);
    // Well past the cut, from a seek, and on from the start across it.
    EXPECT_NE(readAt(2 * 44100), 0);
    EXPECT_EQ(readAt(0), 0);
    std::int64_t start = kBlock;
    int status = 0;
    while (status == 0 && start < format.sampleCount) {
      status = readAt(start);
      start += kBlock;
    }
    EXPECT_NE(status, 0);
    EXPECT_LT(start, format.sampleCount / 2) << "the read ends where the file was cut";
    kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Containers, CutShortFiles,
    ::testing::Values(CutFile{"cut.wav", "-c:a pcm_s16le", 2, "sox"},
                      // 5.1 in 24 bits: a frame of 18 bytes, WAVE_FORMAT_EXTENSIBLE.
                      CutFile{"cut-51.wav", "-c:a pcm_s24le", 6, "sox"},
                      CutFile{"cut.aiff", "-c:a pcm_s16be", 2, "sox"},
                      CutFile{"cut.au", "-c:a pcm_s16be", 1, "sox"},
                      CutFile{"cut.w64", "-c:a pcm_s16le", 2, "sox"},
                      // A frame cut in two is dropped whole, as decoders drop it.
                      CutFile{"cut.flac", "-c:a flac", 2, "sox"}),
    [](const auto& info) {
      std::string name = info.param.name;
      std::replace_if(
          name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
      return name;
    });

}  // namespace
