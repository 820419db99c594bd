// Several files read at the same time on several threads, as a host with more than one
// document open does: every answer must be bit for bit what the same request gave when the
// files were read one after the other, and the module-wide state that all requests share
// (the started media layer, the importers' MIME and extension lists, the export catalogue,
// the trace sites) must hold up.

#include "HostRecords.h"
#include "KivaQTInterface.h"
#include "PlugInRequests.h"
#include "QTExportCatalogue.h"
#include "QTExtensions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <latch>
#include <string>
#include <thread>
#include <vector>

namespace {

using kiva::test::Answer;
using kiva::test::CallPlugIn;
using kiva::test::PlugInFile;

namespace fs = std::filesystem;

const std::string kFixtures = KIVA_FIXTURES;

// Eight files of different containers and codecs; two with video only, one with both.
const std::vector<std::string> kFiles = {"av.mp4",     "aac-51.m4a", "mp3-vbr.mp3", "flac.flac",
                                         "vorbis.ogg", "opus.opus",  "h264.mp4",    "vp9.webm"};

constexpr std::int64_t kReadFrames = 4096;

// Every answer of one file's requests, in order: the format, audio at the start, jumps forward
// and back, across the end and past it, and frames at two sizes in no particular order.
struct Results {
  int openStatus = 0;
  std::int64_t length = 0;
  std::vector<Answer> answers;
  std::vector<std::string> refusal;  // the messages of a refused open of a missing file
  bool operator==(const Results&) const = default;
};

Results ReadEverything(const std::string& name) {
  Results results;
  {
    PlugInFile missing(kFixtures + "/absent-" + name);
    results.refusal = missing.open.reporter.Messages();
  }
  PlugInFile file(kFixtures + "/" + name);
  results.openStatus = file.openStatus;
  if (!file.IsOpen()) return results;
  results.length = file.Length();
  const std::int64_t length = file.Length();
  for (const std::int64_t start : {std::int64_t{0}, kReadFrames, length / 2, std::int64_t{1000},
                                   length - kReadFrames / 2, length + 10}) {
    if (file.Channels() > 0)
      results.answers.push_back(file.Read(std::max<std::int64_t>(start, 0), kReadFrames));
  }
  if (file.HasVideo()) {
    const int last = file.FrameCount() - 1;
    for (const int index : {0, last / 2, 3, last}) {
      results.answers.push_back(file.Frame(index, 64, 48));
      results.answers.push_back(file.Frame(index, 160, 90));
    }
  }
  return results;
}

TEST(Concurrency, EightFilesOnEightThreadsReadExactlyAsOneAfterTheOther) {
  std::vector<Results> expected;
  for (const auto& name : kFiles) {
    expected.push_back(ReadEverything(name));
    ASSERT_EQ(expected.back().openStatus, 0) << name;
    ASSERT_GE(expected.back().answers.size(), 6u) << name;
    ASSERT_EQ(expected.back().refusal.size(), 2u) << name;
    for (const auto& answer : expected.back().answers) {
      ASSERT_EQ(answer.status, 0) << name;
    }
  }

  // Two rounds, every thread released at the same moment, so that opens, reads, seeks and
  // frame requests of different files overlap.
  constexpr int kRounds = 2;
  std::vector<std::vector<Results>> seen(kFiles.size(), std::vector<Results>(kRounds));
  std::latch ready(static_cast<std::ptrdiff_t>(kFiles.size()));
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kFiles.size(); ++i) {
    threads.emplace_back([&, i] {
      ready.arrive_and_wait();
      for (int round = 0; round < kRounds; ++round) seen[i][round] = ReadEverything(kFiles[i]);
    });
  }
  for (auto& thread : threads) thread.join();

  for (std::size_t i = 0; i < kFiles.size(); ++i) {
    for (int round = 0; round < kRounds; ++round) {
      const Results& got = seen[i][round];
      EXPECT_EQ(got.openStatus, expected[i].openStatus) << kFiles[i];
      EXPECT_EQ(got.length, expected[i].length) << kFiles[i];
      EXPECT_EQ(got.refusal, expected[i].refusal) << kFiles[i];
      ASSERT_EQ(got.answers.size(), expected[i].answers.size()) << kFiles[i];
      for (std::size_t a = 0; a < got.answers.size(); ++a) {
        EXPECT_TRUE(got.answers[a] == expected[i].answers[a])
            << kFiles[i] << " round " << round << ": request " << a << " differs";
      }
    }
  }
}

// The importers' MIME and extension lists and the component registry under them are built on
// first use, which here comes from eight threads at once: all must see the same lists.
TEST(Concurrency, ImporterListsAskedFromEightThreadsAtOnceAreTheSame) {
  const std::vector<std::string> prefixes{"audio", "video"};
  std::vector<std::vector<std::string>> seen(8);
  std::latch ready(static_cast<std::ptrdiff_t>(seen.size()));
  std::vector<std::thread> threads;
  for (auto& extensions : seen) {
    threads.emplace_back([&] {
      ready.arrive_and_wait();
      kiva::qt::QueryImportExtensions(extensions, &prefixes, true);
    });
  }
  for (auto& thread : threads) thread.join();
  std::vector<std::string> alone;
  kiva::qt::QueryImportExtensions(alone, &prefixes, true);
  EXPECT_GT(alone.size(), 10u);
  for (const auto& extensions : seen) EXPECT_EQ(extensions, alone);
}

// Exports on several threads at once, uncompressed and through encoders of the catalogue (which
// every thread asks for, as export dialogs opened side by side would): each file must be byte
// for byte the file the same export wrote alone.
TEST(Concurrency, EightExportsAtOnceWriteWhatEachWritesAlone) {
  const auto planes = kiva::test::StereoTones(48000);
  const fs::path directory = fs::path(::testing::TempDir()) / "concurrent-exports";
  fs::create_directories(directory);
  const auto settingsOf = [](std::size_t i) {
    return kivahost::ToUtf16("FormatIndex:0:" + std::to_string(i % 3) + ";");
  };
  const auto read = [](const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  };
  std::vector<kiva::qt::media::ComponentDescription> catalogue;
  kiva::qt::GetExportComponentDescriptions(catalogue);
  ASSERT_GE(catalogue.size(), 3u);

  std::vector<std::string> alone;
  for (std::size_t i = 0; i < 3; ++i) {
    const fs::path path = directory / ("alone-" + std::to_string(i) + ".mov");
    ASSERT_EQ(kiva::test::ExportThroughPlugIn(path.string(), settingsOf(i), planes), 0);
    alone.push_back(read(path));
    ASSERT_GT(alone.back().size(), 1000u);
  }

  constexpr std::size_t kThreads = 8;
  std::vector<int> statuses(kThreads, -100);
  std::latch ready(kThreads);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      ready.arrive_and_wait();
      std::vector<kiva::qt::media::ComponentDescription> seen;
      kiva::qt::GetExportComponentDescriptions(seen);
      const fs::path path = directory / ("thread-" + std::to_string(i) + ".mov");
      statuses[i] = kiva::test::ExportThroughPlugIn(path.string(), settingsOf(i), planes);
    });
  }
  for (auto& thread : threads) thread.join();
  for (std::size_t i = 0; i < kThreads; ++i) {
    EXPECT_EQ(statuses[i], 0) << "thread " << i;
    EXPECT_TRUE(read(directory / ("thread-" + std::to_string(i) + ".mov")) == alone[i % 3])
        << "thread " << i << " wrote another file than the same export alone";
  }
  fs::remove_all(directory);
}

}  // namespace
