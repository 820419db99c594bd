// Every input the plug-in refuses, in two tables: files it cannot read, and calls it turns
// down. Each row gives the status and the messages the request's error reporter receives. The
// unit tests of the entry point additionally prove, with strict mocks, that a refused call
// touches nothing on its record (EntryPointTest); these rows go through the real media layer
// and the host's own records.

#include "HostRecords.h"
#include "KivaQTInterface.h"
#include "PlugInRequests.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using kiva::test::CallPlugIn;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Messages = std::vector<std::string>;

const std::string kFixtures = KIVA_FIXTURES;
const std::string kGeneralOpen = "General error attempting to open file using KivaQT plug-in.";
const std::string kInvalid =
    "KivaQT plug-in could not open the file.  Code: -2048.  This may indicate that the file is "
    "invalid, or uses a codec that is not installed or licensed.";
const std::string kCouldNotOpen = "KivaQT plug-in could not open the file.  Code: ";

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

void WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string RandomBytes() {
  std::mt19937 random(7);
  std::string bytes(64 * 1024, '\0');
  for (auto& byte : bytes) byte = static_cast<char>(random() & 0xFF);
  return bytes;
}

std::string Le16(std::uint16_t v) { return {static_cast<char>(v), static_cast<char>(v >> 8)}; }
std::string Le32(std::uint32_t v) { return Le16(static_cast<std::uint16_t>(v)) + Le16(v >> 16); }
std::string Be32(std::uint32_t v) {
  return {static_cast<char>(v >> 24), static_cast<char>(v >> 16), static_cast<char>(v >> 8),
          static_cast<char>(v)};
}
std::string Be64(std::uint64_t v) { return Be32(static_cast<std::uint32_t>(v >> 32)) + Be32(v); }

// A QuickTime file whose movie has no tracks at all.
std::string MovieWithoutTracks() {
  const auto box = [&](const std::string& type, const std::string& payload) {
    return Be32(static_cast<std::uint32_t>(8 + payload.size())) + type + payload;
  };
  std::string mvhd = Be32(0) + Be32(0) + Be32(0) + Be32(600) + Be32(0) + Be32(0x10000) +
                     std::string("\x01\x00", 2) + std::string(10, '\0');
  for (const std::uint32_t m : {0x10000u, 0u, 0u, 0u, 0x10000u, 0u, 0u, 0u, 0x40000000u}) {
    mvhd += Be32(m);
  }
  mvhd += std::string(24, '\0') + Be32(1);
  return box("ftyp", "qt  " + Be32(0x200) + "qt  ") + box("moov", box("mvhd", mvhd));
}

// 16-bit PCM WAV of silence, 100 frames at 8 kHz, of any channel count.
std::string WavWithChannels(std::uint16_t channels) {
  const std::uint16_t block = static_cast<std::uint16_t>(2 * channels);
  const std::string format =
      Le16(1) + Le16(channels) + Le32(8000) + Le32(8000u * block) + Le16(block) + Le16(16);
  const std::string data(100u * block, '\0');
  const std::string body = "WAVEfmt " + Le32(static_cast<std::uint32_t>(format.size())) + format +
                           "data" + Le32(static_cast<std::uint32_t>(data.size())) + data;
  return "RIFF" + Le32(static_cast<std::uint32_t>(body.size())) + body;
}

// A Core Audio file of 16-bit PCM whose description declares 2^28 channels (a channel field of
// 32 bits) over a few bytes of data.
std::string CafWithHugeChannelCount() {
  std::string description = Be64(0x40E5888000000000);  // 44100.0
  description += "lpcm" + Be32(2) + Be32(2) + Be32(1) + Be32(1u << 28) + Be32(16);
  const std::string data = Be32(0) + std::string(64, '\0');
  return std::string("caff") + Be32(0x00010000).substr(0, 2) + std::string(2, '\0') + "desc" +
         Be64(description.size()) + description + "data" + Be64(data.size()) + data;
}

// Each row runs in a directory of its own, named after it and removed afterwards. Rows print as
// their names.
template <class Row>
class InScratchDirectory : public ::testing::TestWithParam<Row> {
 protected:
  void SetUp() override {
    directory = fs::path(::testing::TempDir()) / ("bad-inputs-" + this->GetParam().name);
    fs::create_directories(directory);
  }
  void TearDown() override { fs::remove_all(directory); }
  fs::path directory;
};

// ---- Files the plug-in cannot read --------------------------------------------------------

struct BadFile {
  std::string name;
  // Puts the file (or whatever stands at the path) into the directory; returns the path.
  std::function<fs::path(const fs::path& directory)> make;
  int status;
  ::testing::Matcher<const Messages&> messages;
};

void PrintTo(const BadFile& row, std::ostream* out) { *out << row.name; }

fs::path WithBytes(const fs::path& directory, const std::string& name, const std::string& bytes) {
  WriteFile(directory / name, bytes);
  return directory / name;
}

std::vector<BadFile> BadFiles() {
  return {
      {"ZeroBytes", [](const fs::path& d) { return WithBytes(d, "empty.mov", ""); }, -1,
       ElementsAre(kGeneralOpen, kInvalid)},
      {"TextFile",
       [](const fs::path& d) {
         return WithBytes(d, "notes.mp3", "These are notes, not sound.\nSecond line.\n");
       },
       -1, ElementsAre(kGeneralOpen, kInvalid)},
      // FFmpeg would show a .txt file as ASCII art video; the plug-in must not.
      {"TextFileNamedTxt",
       [](const fs::path& d) { return WithBytes(d, "readme.txt", "Plain text.\n"); }, -1,
       ElementsAre(kGeneralOpen, kInvalid)},
      {"RandomBytes", [](const fs::path& d) { return WithBytes(d, "noise.wav", RandomBytes()); },
       -1, ElementsAre(kGeneralOpen, kInvalid)},
      // The movie header sits at the end of the file: a file cut short has none.
      {"TruncatedMp4",
       [](const fs::path& d) {
         const std::string whole = Contents(kFixtures + "/av.mp4");
         return WithBytes(d, "cut.mp4", whole.substr(0, whole.size() / 2));
       },
       -1, ElementsAre(kGeneralOpen, kInvalid)},
      {"MovWithNoTracks",
       [](const fs::path& d) { return WithBytes(d, "empty-movie.mov", MovieWithoutTracks()); }, -4,
       ElementsAre("No audio or video was found in this QuickTime file.")},
      // The sample converter takes at most 64 channels; a declared count beyond that is not
      // audio that can be read, and must not size anything (2^28 labels take gigabytes).
      {"MoreChannelsThanTheConverterTakes",
       [](const fs::path& d) { return WithBytes(d, "wide.wav", WavWithChannels(65)); }, -1,
       ElementsAre(kGeneralOpen, kInvalid)},
      {"BillionsOfChannelsDeclared",
       [](const fs::path& d) { return WithBytes(d, "huge.caf", CafWithHugeChannelCount()); }, -1,
       ElementsAre(kGeneralOpen, kInvalid)},
      {"MissingFile", [](const fs::path& d) { return d / "absent.mov"; }, -1,
       ElementsAre(kGeneralOpen, kCouldNotOpen + "-43")},
      {"DirectoryInsteadOfAFile",
       [](const fs::path& d) {
         fs::create_directories(d / "folder.mov");
         return d / "folder.mov";
       },
       -1, ElementsAre(kGeneralOpen, StartsWith(kCouldNotOpen))},
  };
}

class RefusedFile : public InScratchDirectory<BadFile> {};

TEST_P(RefusedFile, OpenAnswersItsStatusAndMessages) {
  const BadFile& row = GetParam();
  kivahost::HostOpen open(row.make(directory).string());
  const int status = CallPlugIn(kiva::kSelOpenForRead, nullptr, &open);
  if (status == 0) CallPlugIn(kiva::kSelCloseForRead, open.source, nullptr);
  EXPECT_EQ(status, row.status);
  EXPECT_EQ(open.source, nullptr);
  EXPECT_THAT(open.reporter.Messages(), row.messages);
}

// The other side of the channel limit: as many channels as the converter takes are read, all
// of them.
TEST(BadInputsBoundary, AsManyChannelsAsTheConverterTakesAreRead) {
  const fs::path directory = fs::path(::testing::TempDir()) / "bad-inputs-64-channels";
  fs::create_directories(directory);
  const fs::path path = WithBytes(directory, "wide.wav", WavWithChannels(64));
  {
    kiva::test::PlugInFile file(path.string());
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Channels(), 64);
    EXPECT_EQ(file.Length(), 100);
    const kiva::test::Answer answer = file.Read(0, 100);
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.framesRead, 100);
    EXPECT_EQ(answer.bytes, std::vector<char>(64u * 100 * sizeof(float), '\0'));
  }
  fs::remove_all(directory);
}

INSTANTIATE_TEST_SUITE_P(BadInputs, RefusedFile, ::testing::ValuesIn(BadFiles()),
                         [](const auto& info) { return info.param.name; });

// ---- Calls the plug-in turns down ---------------------------------------------------------

// What a refused call may use: an audio-only file, a file with video, and an export session of
// 16-bit stereo that has received nothing yet.
class Handles {
 public:
  explicit Handles(const fs::path& directory)
      : audio(kFixtures + "/pcm.wav"),
        video(kFixtures + "/av.mp4"),
        exportPath((directory / "refused.mov").string()) {
    kiva::test::DescribeStereoExport(format, 48000, 48000);
    kivahost::HostWriteStart start(exportPath, format);
    startStatus = CallPlugIn(kiva::kSelWriteStart, nullptr, &start);
    session = start.handle;
  }
  ~Handles() {
    kivahost::HostFinishWrite finish(format);
    if (session != nullptr) CallPlugIn(kiva::kSelFinishWrite, session, &finish);
  }
  bool Ready() const { return audio.IsOpen() && video.IsOpen() && startStatus == 0; }

  kiva::test::PlugInFile audio;
  kiva::test::PlugInFile video;
  std::string exportPath;
  kivahost::HostFormat format;  // the session's own format
  int startStatus = -100;
  void* session = nullptr;
};

struct Outcome {
  int status = -100;
  Messages messages;  // what the record's reporter got; empty for records without one
};

struct RefusedCallRow {
  std::string name;
  std::function<Outcome(Handles&, const fs::path& directory)> call;
  int status;
  ::testing::Matcher<const Messages&> messages;
};

void PrintTo(const RefusedCallRow& row, std::ostream* out) { *out << row.name; }

// The selector's own kind of record, filled with harmless values, for the argument checks.
Outcome CallWithRecord(int selector, void* handle) {
  switch (selector) {
    case kiva::kSelGetFormat:
    case kiva::kSelGetDefaultExportSettings: {
      kivahost::HostFormat format;
      return {CallPlugIn(selector, handle, &format), format.reporter.Messages()};
    }
    case kiva::kSelReadSamples: {
      std::vector<float> plane(16);
      kivahost::HostReadSamples read(0, 16, {plane.data(), plane.data()});
      return {CallPlugIn(selector, handle, &read), {}};
    }
    case kiva::kSelReadSamplesRaw: {
      kivahost::HostReadSamplesRaw raw(0, 16);
      return {CallPlugIn(selector, handle, &raw), {}};
    }
    case kiva::kSelReadVideoFrame: {
      std::vector<char> pixels(16 * 16 * 4);
      kivahost::HostReadVideoFrame frame(0, 16, 16, pixels.data());
      return {CallPlugIn(selector, handle, &frame), {}};
    }
    case kiva::kSelReadMetadata: {
      kivahost::HostReadMetadata metadata;
      return {CallPlugIn(selector, handle, &metadata), {}};
    }
    case kiva::kSelWriteSamples: {
      kivahost::HostFormat format;
      format.sampleType = 20;
      std::vector<std::int16_t> plane(16);
      kivahost::HostWriteSamples samples(0, 16, {plane.data(), plane.data()}, format);
      return {CallPlugIn(selector, handle, &samples), samples.reporter.Messages()};
    }
    case kiva::kSelFinishWrite: {
      kivahost::HostFormat format;
      kivahost::HostFinishWrite finish(format);
      return {CallPlugIn(selector, handle, &finish), finish.reporter.Messages()};
    }
    default:
      return {CallPlugIn(selector, handle, nullptr), {}};
  }
}

// One block for the session, 16-bit unless another sample type is given.
Outcome WriteBlock(Handles& handles, std::int64_t start, std::int64_t frames, bool rightIsNull,
                   std::int32_t sampleType = 20) {
  kivahost::HostFormat format;
  format.sampleType = sampleType;
  std::vector<std::int16_t> plane(16);
  kivahost::HostWriteSamples samples(start, frames,
                                     {plane.data(), rightIsNull ? nullptr : plane.data()}, format);
  return {CallPlugIn(kiva::kSelWriteSamples, handles.session, &samples),
          samples.reporter.Messages()};
}

Outcome Frame(kiva::test::PlugInFile& file, int width, int height, bool withBuffer = true) {
  std::vector<char> pixels(static_cast<std::size_t>(std::min(width, 16)) *
                           static_cast<std::size_t>(std::min(height, 16)) * 4);
  // The host's buffer for a refused size is never written: the size is checked first.
  kivahost::HostReadVideoFrame request(0, width, height, withBuffer ? pixels.data() : nullptr);
  return {CallPlugIn(kiva::kSelReadVideoFrame, file.open.source, &request), {}};
}

Outcome StartExport(const std::string& path, std::int64_t frames, std::int32_t sampleType) {
  kivahost::HostFormat format;
  format.SetNumChannels(2);
  format.sampleRate = 48000;
  format.sampleType = sampleType;
  format.sampleCount = frames;
  kivahost::HostWriteStart start(path, format);
  const int status = CallPlugIn(kiva::kSelWriteStart, nullptr, &start);
  if (status == 0) {
    kivahost::HostFinishWrite finish(format);
    CallPlugIn(kiva::kSelFinishWrite, start.handle, &finish);
  }
  return {status, start.reporter.Messages()};
}

std::vector<RefusedCallRow> RefusedCalls() {
  std::vector<RefusedCallRow> rows;
  // Unknown selectors, 15 (the hole in the numbering) and negative ones: -2, whatever the
  // handle and record.
  const std::vector<std::pair<int, std::string>> unknown = {
      {15, "15"}, {19, "19"}, {100, "100"}, {-1, "Minus1"}, {INT_MIN, "IntMin"}};
  for (const auto& [selector, name] : unknown) {
    rows.push_back({"UnknownSelector" + name,
                    [selector](Handles& h, const fs::path&) {
                      kivahost::HostFormat format;
                      return Outcome{CallPlugIn(selector, h.audio.open.source, &format),
                                     format.reporter.Messages()};
                    },
                    -2, IsEmpty()});
  }
  // Null records: -6, except FinishWrite, whose argument check answers -1.
  for (const int selector :
       {kiva::kSelGetKivaInfo, kiva::kSelPreOpenForRead, kiva::kSelRunImportSettingsDialog,
        kiva::kSelOpenForRead, kiva::kSelGetFormat, kiva::kSelReadSamples, kiva::kSelReadSamplesRaw,
        kiva::kSelReadVideoFrame, kiva::kSelReadMetadata, kiva::kSelGetDefaultExportSettings,
        kiva::kSelGetExportSettingsInfo, kiva::kSelRunExportSettingsDialog, kiva::kSelWriteStart,
        kiva::kSelWriteSamples, kiva::kSelFinishWrite}) {
    const bool writes = selector == kiva::kSelWriteSamples || selector == kiva::kSelFinishWrite;
    rows.push_back({"NullRecordForSelector" + std::to_string(selector),
                    [selector, writes](Handles& h, const fs::path&) {
                      return Outcome{
                          CallPlugIn(selector, writes ? h.session : h.video.open.source, nullptr),
                          {}};
                    },
                    selector == kiva::kSelFinishWrite ? -1 : -6, IsEmpty()});
  }
  // Null handles where a selector needs one: -6, except FinishWrite (-1).
  for (const int selector :
       {kiva::kSelGetFormat, kiva::kSelReadSamples, kiva::kSelReadSamplesRaw,
        kiva::kSelReadVideoFrame, kiva::kSelReadMetadata, kiva::kSelCloseForRead,
        kiva::kSelWriteSamples, kiva::kSelFinishWrite}) {
    rows.push_back(
        {"NullHandleForSelector" + std::to_string(selector),
         [selector](Handles&, const fs::path&) { return CallWithRecord(selector, nullptr); },
         selector == kiva::kSelFinishWrite ? -1 : -6, IsEmpty()});
  }
  // Export blocks must continue the stream exactly and fit the session.
  rows.push_back({"WriteBlockThatSkipsAhead",
                  [](Handles& h, const fs::path&) { return WriteBlock(h, 100, 16, false); }, -6,
                  IsEmpty()});
  rows.push_back({"WriteBlockThatRewrites",
                  [](Handles& h, const fs::path&) {
                    const Outcome first = WriteBlock(h, 0, 16, false);
                    if (first.status != 0) return first;
                    return WriteBlock(h, 0, 16, false);
                  },
                  -6, IsEmpty()});
  rows.push_back({"WriteBlockWithANullChannelBuffer",
                  [](Handles& h, const fs::path&) { return WriteBlock(h, 0, 16, true); }, -6,
                  IsEmpty()});
  rows.push_back(
      {"WriteBlockOfMoreThan32BitsOfFrames",
       [](Handles& h, const fs::path&) { return WriteBlock(h, 0, std::int64_t{1} << 32, false); },
       -6, IsEmpty()});
  rows.push_back(
      {"WriteBlockOfTwoGiB",
       [](Handles& h, const fs::path&) { return WriteBlock(h, 0, std::int64_t{1} << 29, false); },
       -6, IsEmpty()});
  rows.push_back({"WriteBlockInAnotherSampleType",
                  [](Handles& h, const fs::path&) { return WriteBlock(h, 0, 16, false, 40); }, -6,
                  IsEmpty()});
  // Video frames: sizes over 4000 either way, no destination, no video at all.
  rows.push_back({"FrameWiderThan4000",
                  [](Handles& h, const fs::path&) { return Frame(h.video, 4001, 10); }, -6,
                  IsEmpty()});
  rows.push_back({"FrameTallerThan4000",
                  [](Handles& h, const fs::path&) { return Frame(h.video, 10, 4001); }, -6,
                  IsEmpty()});
  rows.push_back({"FrameWithoutADestination",
                  [](Handles& h, const fs::path&) { return Frame(h.video, 16, 16, false); }, -6,
                  IsEmpty()});
  rows.push_back({"FrameOfAFileWithoutVideo",
                  [](Handles& h, const fs::path&) { return Frame(h.audio, 16, 16); }, -5,
                  IsEmpty()});
  // Exports that cannot start.
  rows.push_back(
      {"ExportOfZeroFrames",
       [](Handles&, const fs::path& d) { return StartExport((d / "zero.mov").string(), 0, 20); },
       -1, ElementsAre("Error: QuickTime does not support files of zero length.")});
  rows.push_back(
      {"ExportInAnUnknownSampleType",
       [](Handles&, const fs::path& d) { return StartExport((d / "odd.mov").string(), 100, 25); },
       -1, IsEmpty()});
  rows.push_back(
      {"ExportIntoAMissingDirectory",
       [](Handles&, const fs::path&) { return StartExport("/nonexistent-kivaqt/x.mov", 100, 20); },
       -1,
       ElementsAre("Error 0 creating file /nonexistent-kivaqt/x.mov.  The destination "
                   "may be full or no longer available.")});
  return rows;
}

class RefusedCall : public InScratchDirectory<RefusedCallRow> {};

TEST_P(RefusedCall, AnswersItsStatusAndMessages) {
  const RefusedCallRow& row = GetParam();
  Handles handles(directory);
  ASSERT_TRUE(handles.Ready());
  const Outcome outcome = row.call(handles, directory);
  EXPECT_EQ(outcome.status, row.status);
  EXPECT_THAT(outcome.messages, row.messages);
}

INSTANTIATE_TEST_SUITE_P(BadInputs, RefusedCall, ::testing::ValuesIn(RefusedCalls()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
