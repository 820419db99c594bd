// Files that cannot be read: the status and the messages the host gets, and no crash.

#include "CommandOutput.h"
#include "HostRecords.h"
#include "KivaQTInterface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

namespace {

namespace fs = std::filesystem;

const std::string kFixtures = KIVA_FIXTURES;
const std::string kGeneralOpen = "General error attempting to open file using KivaQT plug-in.";
const std::string kInvalid =
    "KivaQT plug-in could not open the file.  Code: -2048.  This may indicate that the file is "
    "invalid, or uses a codec that is not installed or licensed.";

struct Outcome {
  int status = 0;
  std::vector<std::string> messages;
};

Outcome OpenThroughThePlugIn(const std::string& path) {
  kivahost::HostOpen open(path);
  kiva::KivaQTInterface kivaInterface;
  Outcome outcome;
  outcome.status = kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open);
  outcome.messages = open.reporter.Messages();
  if (outcome.status == 0) kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
  return outcome;
}

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

TEST_F(BrokenFiles, ZeroByteFile) {
  const Outcome outcome = OpenThroughThePlugIn(Write("empty.mov", ""));
  EXPECT_EQ(outcome.status, -1);
  EXPECT_THAT(outcome.messages, ::testing::ElementsAre(kGeneralOpen, kInvalid));
}

TEST_F(BrokenFiles, TextFile) {
  const Outcome outcome =
      OpenThroughThePlugIn(Write("notes.mp3", "These are notes, not sound.\nSecond line.\n"));
  EXPECT_EQ(outcome.status, -1);
  EXPECT_THAT(outcome.messages, ::testing::ElementsAre(kGeneralOpen, kInvalid));
}

TEST_F(BrokenFiles, TextFileThatFFmpegWouldShowAsAsciiArt) {
  const Outcome outcome = OpenThroughThePlugIn(Write("readme.txt", "Plain text.\n"));
  EXPECT_EQ(outcome.status, -1);
  EXPECT_THAT(outcome.messages, ::testing::ElementsAre(kGeneralOpen, kInvalid));
}

TEST_F(BrokenFiles, RandomBytes) {
  std::mt19937 random(7);
  std::string bytes(64 * 1024, '\0');
  for (auto& byte : bytes) byte = static_cast<char>(random() & 0xFF);
  const Outcome outcome = OpenThroughThePlugIn(Write("noise.wav", bytes));
  EXPECT_EQ(outcome.status, -1);
  EXPECT_THAT(outcome.messages, ::testing::ElementsAre(kGeneralOpen, kInvalid));
}

TEST_F(BrokenFiles, TruncatedMp4) {
  std::ifstream whole(kFixtures + "/av.mp4", std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(whole)), std::istreambuf_iterator<char>());
  ASSERT_GT(bytes.size(), 4096u);
  // The movie header sits at the end of the file: a file cut short has none.
  const Outcome outcome = OpenThroughThePlugIn(Write("cut.mp4", bytes.substr(0, bytes.size() / 2)));
  EXPECT_EQ(outcome.status, -1);
  EXPECT_THAT(outcome.messages, ::testing::ElementsAre(kGeneralOpen, kInvalid));
}

TEST_F(BrokenFiles, MissingFile) {
  const Outcome outcome = OpenThroughThePlugIn((directory / "absent.mov").string());
  EXPECT_EQ(outcome.status, -1);
  EXPECT_THAT(
      outcome.messages,
      ::testing::ElementsAre(kGeneralOpen, "KivaQT plug-in could not open the file.  Code: -43"));
}

TEST_F(BrokenFiles, DirectoryInsteadOfAFile) {
  fs::create_directories(directory / "folder.mov");
  const Outcome outcome = OpenThroughThePlugIn((directory / "folder.mov").string());
  EXPECT_EQ(outcome.status, -1);
  ASSERT_EQ(outcome.messages.size(), 2u);
  EXPECT_EQ(outcome.messages[0], kGeneralOpen);
}

// A QuickTime file whose movie has no tracks at all.
std::string MovieWithoutTracks() {
  const auto be32 = [](std::uint32_t v) {
    return std::string{static_cast<char>(v >> 24), static_cast<char>(v >> 16),
                       static_cast<char>(v >> 8), static_cast<char>(v)};
  };
  const auto box = [&](const std::string& type, const std::string& payload) {
    return be32(static_cast<std::uint32_t>(8 + payload.size())) + type + payload;
  };
  std::string mvhd = be32(0) + be32(0) + be32(0) + be32(600) + be32(0) + be32(0x10000) +
                     std::string("\x01\x00", 2) + std::string(10, '\0');
  for (const std::uint32_t m : {0x10000u, 0u, 0u, 0u, 0x10000u, 0u, 0u, 0u, 0x40000000u}) {
    mvhd += be32(m);
  }
  mvhd += std::string(24, '\0') + be32(1);
  return box("ftyp", "qt  " + be32(0x200) + "qt  ") + box("moov", box("mvhd", mvhd));
}

TEST_F(BrokenFiles, MovieWithoutTracksIsNoContent) {
  const Outcome outcome = OpenThroughThePlugIn(Write("empty-movie.mov", MovieWithoutTracks()));
  EXPECT_EQ(outcome.status, -4);
  EXPECT_THAT(outcome.messages,
              ::testing::ElementsAre("No audio or video was found in this QuickTime file."));
}

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

}  // namespace
