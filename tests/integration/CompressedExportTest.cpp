// Compressed exports: every compressed catalogue entry makes a movie that ffprobe and an
// independent QuickTime reader (GStreamer) accept, whose decoded length is exactly the frames
// written and whose sound is the input's.

#include "CommandOutput.h"
#include "HostRecords.h"
#include "KivaQTInterface.h"
#include "QTExportCatalogue.h"
#include "QTExtensions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <memory>

namespace {

// A music-like test signal: a few partials with a slow vibrato, per channel.
float Music(int channel, std::int64_t f) {
  const double t = static_cast<double>(f) / 44100.0;
  const double base = (channel == 0 ? 220.0 : 330.0) * (1.0 + 0.003 * std::sin(2 * M_PI * 5 * t));
  return static_cast<float>(0.3 * std::sin(2 * M_PI * base * t) +
                            0.15 * std::sin(2 * M_PI * 2 * base * t) +
                            0.07 * std::sin(2 * M_PI * 3 * base * t));
}

// GStreamer's discoverer reports errors in its text, not its exit status, so the text is parsed:
// a QuickTime container with one audio stream of the expected duration, in seconds.
double GStreamerDuration(const std::string& path, std::string& report) {
  report = kiva::test::CommandOutput("gst-discoverer-1.0 '" + path + "' 2>&1");
  if (report.find("container #0: Quicktime") == std::string::npos) return -1;
  if (report.find("audio #") == std::string::npos) return -1;
  const auto at = report.find("Duration: ");
  int hours = 0;
  int minutes = 0;
  double seconds = 0;
  if (at == std::string::npos ||
      std::sscanf(report.c_str() + at, "Duration: %d:%d:%lf", &hours, &minutes, &seconds) != 3)
    return -1;
  return hours * 3600.0 + minutes * 60.0 + seconds;
}

class CompressedExport : public ::testing::TestWithParam<int> {};

TEST_P(CompressedExport, LengthAndSoundSurvive) {
  std::vector<kiva::qt::media::ComponentDescription> catalogue;
  kiva::qt::GetExportComponentDescriptions(catalogue);
  const int index = GetParam();
  ASSERT_LT(static_cast<std::size_t>(index), catalogue.size());
  const std::string name = kiva::qt::ExtensionFromSubType(
      catalogue[static_cast<std::size_t>(index)].componentSubType, false);
  const std::string path = ::testing::TempDir() + "/compressed-" + name + ".mov";
  const std::int64_t frames = 480123 / 4;
  kivahost::HostFormat format;
  format.SetNumChannels(2);
  format.SetChannelLabel(0, 100);
  format.SetChannelLabel(1, 101);
  format.sampleRate = 44100;
  format.sampleType = 20;
  format.sampleCount = frames;
  format.privateSettings = u"FormatIndex:0:" + kivahost::ToUtf16(std::to_string(index)) + u";";
  std::vector<std::vector<std::int16_t>> channels(
      2, std::vector<std::int16_t>(static_cast<std::size_t>(frames)));
  for (int c = 0; c < 2; ++c) {
    for (std::int64_t f = 0; f < frames; ++f) {
      channels[static_cast<std::size_t>(c)][static_cast<std::size_t>(f)] =
          static_cast<std::int16_t>(std::lround(Music(c, f) * 32767));
    }
  }
  kiva::KivaQTInterface kivaInterface;
  kivahost::HostWriteStart start(path, format);
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelWriteStart, nullptr, &start), 0) << name;
  for (std::int64_t position = 0; position < frames; position += 5000) {
    const std::int64_t count = std::min<std::int64_t>(5000, frames - position);
    kivahost::HostWriteSamples block(
        position, count, {channels[0].data() + position, channels[1].data() + position}, format);
    ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelWriteSamples, start.handle, &block), 0) << name;
  }
  kivahost::HostFinishWrite finish(format);
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelFinishWrite, start.handle, &finish), 0) << name;

  // The file's own length, as ffprobe reads it from the movie.
  std::unique_ptr<FILE, int (*)(FILE*)> probe(
      popen(("ffprobe -v error -select_streams a:0 -show_entries stream=duration_ts -of csv=p=0 '" +
             path + "'")
                .c_str(),
            "r"),
      pclose);
  ASSERT_TRUE(probe);
  long long declared = -1;
  ASSERT_EQ(std::fscanf(probe.get(), "%lld", &declared), 1) << name;
  EXPECT_EQ(declared, frames) << name;
  // FFmpeg's own decode starts where the movie says and has at least every frame written.
  EXPECT_GE(static_cast<std::int64_t>(
                kiva::test::CommandFloats("ffmpeg -nostdin -v error -i '" + path + "' -f f32le -")
                    .size()),
            frames * 2)
      << name;

  // An independent QuickTime reader accepts the file and agrees on its length.
  std::string report;
  EXPECT_NEAR(GStreamerDuration(path, report), static_cast<double>(frames) / 44100.0, 1e-3)
      << name << "\n"
      << report;

  // Read back through the plug-in: exactly the frames written, sounding like the input.
  kivahost::HostOpen open(path);
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open), 0) << name;
  kivahost::HostFormat read;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &read), 0);
  EXPECT_EQ(read.sampleCount, frames) << name;
  std::vector<std::vector<float>> planes(2, std::vector<float>(static_cast<std::size_t>(frames)));
  kivahost::HostReadSamples readSamples(0, frames, {planes[0].data(), planes[1].data()});
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelReadSamples, open.source, &readSamples), 0);
  kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
  double signal = 0;
  double noise = 0;
  for (std::int64_t f = 0; f < frames; ++f) {
    for (int c = 0; c < 2; ++c) {
      const double in =
          channels[static_cast<std::size_t>(c)][static_cast<std::size_t>(f)] / 32768.0;
      const double out = planes[static_cast<std::size_t>(c)][static_cast<std::size_t>(f)];
      signal += in * in;
      noise += (in - out) * (in - out);
    }
  }
  const double snr = 10 * std::log10(signal / std::max(noise, 1e-20));
  std::printf("%s: SNR %.1f dB\n", name.c_str(), snr);
  EXPECT_GT(snr, 20.0) << name;
  // Apple Lossless gives back exactly the 16-bit samples it was given.
  if (name == "alac") {
    EXPECT_EQ(noise, 0.0);
  }
}

INSTANTIATE_TEST_SUITE_P(Catalogue, CompressedExport, ::testing::Range(1, 8));

}  // namespace
