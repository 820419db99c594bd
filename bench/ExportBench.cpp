// Export through the plug-in, measured against the ffmpeg command in the same run, on the same
// 16-bit stereo input and the same disk:
//   pcm DIR SECONDS   uncompressed export vs `ffmpeg -f s16le -i - -c:a pcm_s16le out.mov`
//   aac DIR SECONDS   AAC export (the catalogue's AAC entry) vs `ffmpeg -f s16le -i - -c:a aac`
// The ffmpeg command is fed from memory through a pipe; its time includes starting the process,
// as a user of the command pays it. Runs alternate, five of each; medians are printed.
// The plug-in's entry point is called in-process: the compressor catalogue is built when the
// export settings dialog runs, and the benchmark builds it directly instead of showing a dialog.

#include "HostRecords.h"
#include "KivaQTInterface.h"
#include "QTExportCatalogue.h"
#include "Timing.h"
#include "media/Toolbox.h"

#include <kiva/KivaInterfaceTemplate.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace {

using bench::Clock;
using bench::Median;
constexpr int kRate = 44100;
constexpr std::int64_t kBlock = 65536;

// Two channels of a music-like signal with a little noise, as 16-bit samples.
std::vector<std::vector<std::int16_t>> MakeInput(std::int64_t frames) {
  std::vector<std::vector<std::int16_t>> planes(2, std::vector<std::int16_t>(frames));
  std::uint32_t noise = 12345;
  for (std::int64_t f = 0; f < frames; ++f) {
    const double t = static_cast<double>(f) / kRate;
    for (int c = 0; c < 2; ++c) {
      noise = noise * 1664525u + 1013904223u;
      const double base = c == 0 ? 220.0 : 330.0;
      const double x = 0.3 * std::sin(2 * M_PI * base * t) +
                       0.1 * std::sin(2 * M_PI * 3.01 * base * t) +
                       0.02 * (static_cast<double>(noise >> 8) / 16777216.0 - 0.5);
      planes[static_cast<std::size_t>(c)][static_cast<std::size_t>(f)] =
          static_cast<std::int16_t>(std::lround(x * 32767));
    }
  }
  return planes;
}

// One export through KivaInterface, in blocks as a host writes; returns seconds.
double ExportThroughPlugIn(kiva::KivaQTInterface& plugIn,
                           const std::vector<std::vector<std::int16_t>>& planes,
                           const std::string& settings, const std::string& path) {
  const auto frames = static_cast<std::int64_t>(planes[0].size());
  kivahost::HostFormat format;
  format.SetNumChannels(2);
  format.SetChannelLabel(0, 100);
  format.SetChannelLabel(1, 101);
  format.sampleRate = kRate;
  format.sampleType = 20;
  format.sampleCount = frames;
  format.privateSettings = kivahost::ToUtf16(settings);
  const auto started = Clock::now();
  kivahost::HostWriteStart start(path, format);
  if (plugIn.EntryPoint(kiva::kSelWriteStart, nullptr, &start) != 0) {
    std::cerr << "export_bench: cannot start the export to " << path << '\n';
    std::exit(1);
  }
  for (std::int64_t position = 0; position < frames; position += kBlock) {
    const std::int64_t count = std::min(kBlock, frames - position);
    auto* left = const_cast<std::int16_t*>(planes[0].data() + position);
    auto* right = const_cast<std::int16_t*>(planes[1].data() + position);
    kivahost::HostWriteSamples samples(position, count, {left, right}, format);
    if (plugIn.EntryPoint(kiva::kSelWriteSamples, start.handle, &samples) != 0) {
      std::cerr << "export_bench: writing failed\n";
      std::exit(1);
    }
  }
  kivahost::HostFinishWrite finish(format);
  if (plugIn.EntryPoint(kiva::kSelFinishWrite, start.handle, &finish) != 0) {
    std::cerr << "export_bench: finishing failed\n";
    std::exit(1);
  }
  return bench::Seconds(started);
}

// The same data given to the ffmpeg command through its standard input; returns seconds.
double ExportWithFFmpeg(const std::vector<std::int16_t>& interleaved, const std::string& codec,
                        const std::string& path) {
  const std::string command = "ffmpeg -nostdin -y -v error -f s16le -ar " + std::to_string(kRate) +
                              " -ac 2 -i - -c:a " + codec + " '" + path + "'";
  const auto started = Clock::now();
  FILE* pipe = popen(command.c_str(), "w");
  if (pipe == nullptr) std::exit(1);
  std::fwrite(interleaved.data(), sizeof(std::int16_t), interleaved.size(), pipe);
  if (pclose(pipe) != 0) {
    std::cerr << "export_bench: " << command << " failed\n";
    std::exit(1);
  }
  return bench::Seconds(started);
}

void Compare(kiva::KivaQTInterface& plugIn, const std::string& name, const std::string& settings,
             const std::string& codec, const std::string& directory, double seconds) {
  const auto frames = static_cast<std::int64_t>(seconds * kRate);
  const auto planes = MakeInput(frames);
  std::vector<std::int16_t> interleaved(static_cast<std::size_t>(frames * 2));
  for (std::size_t f = 0; f < planes[0].size(); ++f) {
    interleaved[2 * f] = planes[0][f];
    interleaved[2 * f + 1] = planes[1][f];
  }
  const std::string ours = directory + "/export-bench-plugin.mov";
  const std::string theirs = directory + "/export-bench-ffmpeg.mov";
  std::vector<double> plugInTimes;
  std::vector<double> ffmpegTimes;
  for (int run = 0; run < 5; ++run) {
    plugInTimes.push_back(ExportThroughPlugIn(plugIn, planes, settings, ours));
    ffmpegTimes.push_back(ExportWithFFmpeg(interleaved, codec, theirs));
  }
  const double mine = Median(plugInTimes);
  const double peer = Median(ffmpegTimes);
  const double mebibytes = static_cast<double>(frames) * 4 / (1024.0 * 1024.0);
  std::printf("%-34s %10s %10s %12s %12s %8s\n", (name + " export (median of 5)").c_str(),
              "plug-in s", "ffmpeg s", "plug-in MiB/s", "ffmpeg MiB/s", "speed");
  std::printf("%-34s %10.3f %10.3f %12.1f %12.1f %7.0f%%\n",
              (std::to_string(static_cast<int>(seconds)) + " s of 16-bit stereo 44.1 kHz").c_str(),
              mine, peer, mebibytes / mine, mebibytes / peer, 100 * peer / mine);
  std::printf("%-34s %10lld %10lld bytes written\n", "",
              static_cast<long long>(std::filesystem::file_size(ours)),
              static_cast<long long>(std::filesystem::file_size(theirs)));
  std::filesystem::remove(ours);
  std::filesystem::remove(theirs);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: export_bench pcm|aac DIRECTORY SECONDS\n";
    return 2;
  }
  kiva::KivaQTInterface plugIn;
  // The media layer set up as the plug-in's start-up does (its log then goes to the trace).
  if (kiva::qt::media::DefaultToolbox().Start() != kiva::qt::media::kNoErr) return 1;
  std::vector<kiva::qt::media::ComponentDescription> catalogue;
  kiva::qt::GetExportComponentDescriptions(catalogue);
  const std::string mode = argv[1];
  const double seconds = std::stod(argv[3]);
  // Catalogue entry 0 is uncompressed PCM, entry 1 AAC.
  if (mode == "pcm") {
    Compare(plugIn, "PCM", "FormatIndex:0:0;", "pcm_s16le", argv[2], seconds);
  } else if (mode == "aac") {
    Compare(plugIn, "AAC", "FormatIndex:0:1;", "aac", argv[2], seconds);
  } else {
    std::cerr << "usage: export_bench pcm|aac DIRECTORY SECONDS\n";
    return 2;
  }
  kiva::qt::media::DefaultToolbox().Stop();
  return 0;
}
