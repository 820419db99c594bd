// Long use in one process: many opens, reads and closes of one file, and many exports, must
// leave memory and file descriptors where they were once the process had warmed up. The
// figures are printed so that a run can be quoted.

#include "PlugInRequests.h"
#include "QTExportCatalogue.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

const std::string kFixtures = KIVA_FIXTURES;

constexpr int kReadCycles = 1000;
constexpr int kExports = 200;
constexpr int kWarmUpCycles = 50;
constexpr int kWarmUpExports = 10;

// Resident memory in KiB, from the kernel's own account of this process.
long ResidentKiB() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
  }
  return -1;
}

long OpenDescriptors() {
  long count = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

// AddressSanitizer keeps freed memory in quarantine (up to 256 MiB) and so grows the resident
// set on purpose; there its leak checker, run at exit, is the judge of leaks instead.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kResidentSetIsMeaningful = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kResidentSetIsMeaningful = false;
#else
constexpr bool kResidentSetIsMeaningful = true;
#endif
#else
constexpr bool kResidentSetIsMeaningful = true;
#endif

// Allowed growth of the resident set after warm-up. A source holds a demuxer with its 32 KiB
// I/O buffer, decoder contexts and an extraction buffer; an export holds a muxer, an encoder
// and its staging buffers. Losing any one of those per cycle grows the set by 32 KiB or more
// per cycle: over 1,000 cycles at least 31 MiB, over 200 exports at least 6 MiB. 4 MiB leaves
// room for what the allocator keeps cached (arenas and freed pages not yet returned) while
// still catching a leak of one such object per cycle, or of 4 KiB per read cycle.
constexpr long kToleranceKiB = 4 * 1024;

void OpenReadClose(const std::string& path) {
  kiva::test::PlugInFile file(path);
  ASSERT_TRUE(file.IsOpen());
  const std::int64_t length = file.Length();
  for (const std::int64_t start : {std::int64_t{0}, length / 2, length - 100}) {
    const kiva::test::Answer answer = file.Read(start, 1024);
    ASSERT_EQ(answer.status, 0);
  }
  ASSERT_EQ(file.Frame(3, 32, 24).status, 0);
}

void ExportAndRemove(const fs::path& directory, int index,
                     const std::vector<std::vector<std::int16_t>>& planes) {
  const fs::path path = directory / ("export-" + std::to_string(index) + ".mov");
  // Uncompressed and AAC in turn: the muxer alone, and the muxer with an encoder.
  const std::u16string settings = index % 2 == 0 ? u"FormatIndex:0:0;" : u"FormatIndex:0:1;";
  ASSERT_EQ(kiva::test::ExportThroughPlugIn(path.string(), settings, planes), 0);
  ASSERT_GT(fs::file_size(path), 1000u);
  fs::remove(path);
}

TEST(Resources, ThousandReadCyclesAndTwoHundredExportsLeaveMemoryAndDescriptorsFlat) {
  const std::string path = kFixtures + "/av.mp4";
  const fs::path directory = fs::path(::testing::TempDir()) / "resource-exports";
  fs::create_directories(directory);
  const auto planes = kiva::test::StereoTones(24000);
  std::vector<kiva::qt::media::ComponentDescription> catalogue;
  kiva::qt::GetExportComponentDescriptions(catalogue);
  ASSERT_GE(catalogue.size(), 2u);

  for (int i = 0; i < kWarmUpCycles; ++i) ASSERT_NO_FATAL_FAILURE(OpenReadClose(path));
  for (int i = 0; i < kWarmUpExports; ++i) {
    ASSERT_NO_FATAL_FAILURE(ExportAndRemove(directory, i, planes));
  }
  const long residentBefore = ResidentKiB();
  const long descriptorsBefore = OpenDescriptors();

  for (int i = 0; i < kReadCycles; ++i) ASSERT_NO_FATAL_FAILURE(OpenReadClose(path));
  const long residentAfterReads = ResidentKiB();
  for (int i = 0; i < kExports; ++i) ASSERT_NO_FATAL_FAILURE(ExportAndRemove(directory, i, planes));
  const long residentAfter = ResidentKiB();
  const long descriptorsAfter = OpenDescriptors();
  fs::remove_all(directory);

  std::printf("resources: %d open/read/close cycles of %s, %d exports\n", kReadCycles, path.c_str(),
              kExports);
  std::printf(
      "resources: VmRSS after warm-up %ld KiB, after the reads %ld KiB, at the end %ld "
      "KiB (growth %ld KiB, tolerance %ld KiB%s)\n",
      residentBefore, residentAfterReads, residentAfter, residentAfter - residentBefore,
      kToleranceKiB, kResidentSetIsMeaningful ? "" : ", not checked under ASan");
  std::printf("resources: open descriptors %ld before, %ld after\n", descriptorsBefore,
              descriptorsAfter);

  ASSERT_GT(residentBefore, 0);
  EXPECT_EQ(descriptorsAfter, descriptorsBefore);
  if (kResidentSetIsMeaningful) {
    EXPECT_LE(residentAfterReads - residentBefore, kToleranceKiB);
    EXPECT_LE(residentAfter - residentBefore, kToleranceKiB);
  }
}

}  // namespace
