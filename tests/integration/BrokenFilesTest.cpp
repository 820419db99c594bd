// Damaged files that still open, or fail without harm: files cut short anywhere. The files the
// plug-in refuses outright, with their statuses and messages, are listed in BadInputsTest.

#include "CommandOutput.h"
#include "HostRecords.h"
#include "KivaQTInterface.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

const std::string kFixtures = KIVA_FIXTURES;
// Inputs that once made a fuzz target fail, kept as test media.
const std::string kFuzzRegressions = KIVA_FUZZ_REGRESSIONS;

class BrokenFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    directory =
        fs::path(::testing::TempDir()) /
        ("broken-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::create_directories(directory);
  }
  void TearDown() override { fs::remove_all(directory); }
  std::string Write(const std::string& name, const std::string& bytes) {
    const std::string path = (directory / name).string();
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  fs::path directory;
};

TEST_F(BrokenFiles, FileCutAnywhereNeverCrashes) {
  // MP3 and ADTS have no header to lose: a cut file opens and reads what is there.
  for (const char* name : {"mp3-cbr.mp3", "aac.aac", "flac.flac", "vorbis.ogg", "pcm.wav"}) {
    std::ifstream whole(kFixtures + "/" + name, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(whole)), std::istreambuf_iterator<char>());
    const std::string path = Write(std::string("cut-") + name, bytes.substr(0, bytes.size() / 3));
    kivahost::HostOpen open(path);
    kiva::KivaQTInterface kivaInterface;
    if (kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open) != 0) continue;
    kivahost::HostFormat format;
    ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format), 0);
    std::vector<std::vector<float>> planes(static_cast<std::size_t>(format.GetNumChannels()),
                                           std::vector<float>(4096));
    std::vector<float*> buffers;
    for (auto& plane : planes) buffers.push_back(plane.data());
    for (const std::int64_t start :
         {std::int64_t{0}, format.sampleCount / 2, format.sampleCount - 100}) {
      kivahost::HostReadSamples read(std::max<std::int64_t>(start, 0), 4096, buffers);
      const int status = kivaInterface.EntryPoint(kiva::kSelReadSamples, open.source, &read);
      EXPECT_TRUE(status == 0 || status == -9) << name << " status " << status;
    }
    kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
  }
}

TEST_F(BrokenFiles, CutOggIsAsLongAsItsFullDecode) {
  // The length comes from the last page the file still holds: exactly what a decoder gets out.
  for (const char* name : {"vorbis.ogg", "opus.opus"}) {
    std::ifstream whole(kFixtures + "/" + name, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(whole)), std::istreambuf_iterator<char>());
    const std::string path =
        Write(std::string("two-thirds-") + name, bytes.substr(0, bytes.size() * 2 / 3));
    const auto decoded =
        kiva::test::CommandFloats("ffmpeg -nostdin -v error -i '" + path + "' -f f32le -");
    ASSERT_GT(decoded.size(), 0u) << name;
    kivahost::HostOpen open(path);
    kiva::KivaQTInterface kivaInterface;
    ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open), 0) << name;
    kivahost::HostFormat format;
    ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format), 0);
    EXPECT_EQ(format.sampleCount, static_cast<std::int64_t>(decoded.size() / 2)) << name;
    EXPECT_LT(format.sampleCount, 168000) << name;
    kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
  }
}

TEST_F(BrokenFiles, VideoWhoseFramesCannotBeReadRefusesEveryFrameRequest) {
  // Its index promises two frames, but no packet of them can be read: every request fails the
  // same way, the first and all later ones.
  kivahost::HostOpen open(kFuzzRegressions + "/media_file/mp4-video-without-readable-frames");
  kiva::KivaQTInterface kivaInterface;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open), 0);
  kivahost::HostFormat format;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format), 0);
  ASSERT_EQ(format.video.facts.streamCount, 1);
  std::vector<char> pixels(16 * 16 * 4);
  for (const int index : {0, 0, 1, 0}) {
    kivahost::HostReadVideoFrame request(index, 16, 16, pixels.data());
    EXPECT_EQ(kivaInterface.EntryPoint(kiva::kSelReadVideoFrame, open.source, &request), -1);
  }
  kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
}

TEST_F(BrokenFiles, VideoWhoseDecoderCannotOpenRefusesEveryFrameRequest) {
  // A damaged sample description names a subtitle coding for the video stream: its decoder
  // refuses to open, on the first request and on every later one.
  const std::string path = kFuzzRegressions + "/media_file/mp4-video-stream-of-a-subtitle-coding";
  kivahost::HostOpen open(path);
  kiva::KivaQTInterface kivaInterface;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open), 0);
  kivahost::HostFormat format;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format), 0);
  ASSERT_EQ(format.video.facts.streamCount, 1);
  EXPECT_EQ(format.video.facts.description, "dvd_subtitle, 32x18");
  std::vector<char> pixels(16 * 16 * 4);
  for (const int index : {0, 0, 0}) {
    kivahost::HostReadVideoFrame request(index, 16, 16, pixels.data());
    EXPECT_EQ(kivaInterface.EntryPoint(kiva::kSelReadVideoFrame, open.source, &request), -1);
  }
  kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
}

TEST_F(BrokenFiles, SampleRateBeyondTwoToTheThirtyOpensWithThatRate) {
  // A damaged ALAC header declares over a thousand million frames a second.
  const std::string path = kFuzzRegressions + "/media_file/sample-rate-above-two-to-the-thirty";
  const std::string declared = kiva::test::CommandOutput(
      "ffprobe -v error -select_streams a:0 -show_entries stream=sample_rate -of csv=p=0 '" + path +
      "'");
  ASSERT_FALSE(declared.empty());
  ASSERT_GT(std::stoll(declared), std::int64_t{1} << 30);
  kivahost::HostOpen open(path);
  kiva::KivaQTInterface kivaInterface;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open), 0);
  kivahost::HostFormat format;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format), 0);
  EXPECT_EQ(format.sampleRate, std::stoll(declared));
  kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
}

}  // namespace
