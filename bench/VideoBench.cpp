// Video frames through the plug-in, measured against the ffmpeg command in the same run:
//   sequential FILE   every frame in order at 640x360: frames per second
//   random FILE       single frames at random times: median and 99th percentile latency
//   first FILE        one frame in a new process: `kivahost frame` against `ffmpeg -ss`
//   scrub FILE        a timeline in one process: 200 thumbnails at 160x90 at evenly spaced
//                     indices, interleaved with 50 random 1280x720 frames; beside ffmpeg's own
//                     thumbnail pass (select + scale) over the same file
// The plug-in is loaded from its bundle the way a host loads it.

#include "OpenedFile.h"
#include "PlugIn.h"
#include "Timing.h"

#include <orb/app/App.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace {

using bench::Clock;
using bench::Percentile;
using bench::Seconds;

const std::string kScale = "scale=640:360:flags=bicubic+accurate_rnd+full_chroma_int";

double Command(const std::string& command) {
  const auto start = Clock::now();
  if (std::system(command.c_str()) != 0) std::cerr << "failed: " << command << '\n';
  return Seconds(start);
}

void Sequential(const kivahost::PlugIn& plugIn, const std::string& path) {
  std::vector<double> ours;
  std::vector<double> theirs;
  int frames = 0;
  for (int round = 0; round < 7; ++round) {
    {
      kivahost::OpenedFile file(plugIn, path);
      frames = file.Format().video.facts.frameCount;
      std::vector<std::uint8_t> pixels;
      const auto start = Clock::now();
      for (int i = 0; i < frames; ++i) file.ReadFrame(i, 640, 360, pixels);
      ours.push_back(frames / Seconds(start));
    }
    theirs.push_back(frames / Command("ffmpeg -nostdin -v error -i '" + path + "' -vf " + kScale +
                                      " -pix_fmt bgra -f null -"));
  }
  const double oursRate = Percentile(ours, 0.5);
  const double theirRate = Percentile(theirs, 0.5);
  std::printf(
      "sequential %d frames at 640x360 (median of 7): plug-in %.1f fps, ffmpeg %.1f fps, "
      "ratio %.2f\n",
      frames, oursRate, theirRate, oursRate / theirRate);
}

void Random(const kivahost::PlugIn& plugIn, const std::string& path) {
  kivahost::OpenedFile file(plugIn, path);
  const auto& video = file.Format().video.facts;
  std::mt19937 random(11);
  std::uniform_int_distribution<int> frame(0, video.frameCount - 1);
  std::vector<std::uint8_t> pixels;
  file.ReadFrame(0, 640, 360, pixels);  // the picture is set up once, as a host's view is
  std::vector<double> ours;
  for (int i = 0; i < 100; ++i) {
    const int index = frame(random);
    const auto start = Clock::now();
    file.ReadFrame(index, 640, 360, pixels);
    ours.push_back(1000 * Seconds(start));
  }
  std::vector<double> theirs;
  for (int i = 0; i < 20; ++i) {
    const double time = frame(random) / video.frameRate;
    theirs.push_back(1000 *
                     Command("ffmpeg -nostdin -v error -ss " + std::to_string(time) + " -i '" +
                             path + "' -frames:v 1 -vf " + kScale + " -pix_fmt bgra -f null -"));
  }
  std::printf(
      "random single frames at 640x360: plug-in median %.1f ms, p99 %.1f ms (100 frames); "
      "ffmpeg -ss median %.1f ms, p99 %.1f ms (20 frames); median ratio %.2f\n",
      Percentile(ours, 0.5), Percentile(ours, 0.99), Percentile(theirs, 0.5),
      Percentile(theirs, 0.99), Percentile(ours, 0.5) / Percentile(theirs, 0.5));
}

void First(const kivahost::PlugIn& plugIn, const std::string& path) {
  int frames = 0;
  double rate = 0;
  {
    kivahost::OpenedFile file(plugIn, path);
    frames = file.Format().video.facts.frameCount;
    rate = file.Format().video.facts.frameRate;
  }
  std::mt19937 random(17);
  std::uniform_int_distribution<int> frame(0, frames - 1);
  std::vector<double> ours;
  std::vector<double> theirs;
  const std::string scale = "scale=640:360:flags=bicubic+accurate_rnd+full_chroma_int";
  // Both read from the page cache, and take turns going first.
  Command("cat '" + path + "' >/dev/null");
  for (int i = 0; i < 31; ++i) {
    const int index = frame(random);
    const auto runOurs = [&] {
      ours.push_back(1000 * Command(std::string(KIVAHOST) + " frame '" + path + "' --index " +
                                    std::to_string(index) +
                                    " --size 640x360 -o /tmp/video-bench-ours.png >/dev/null"));
    };
    const auto runTheirs = [&] {
      theirs.push_back(1000 *
                       Command("ffmpeg -nostdin -v error -y -ss " + std::to_string(index / rate) +
                               " -i '" + path + "' -frames:v 1 -vf " + scale +
                               " /tmp/video-bench-theirs.png"));
    };
    if (i % 2 == 0) {
      runOurs();
      runTheirs();
    } else {
      runTheirs();
      runOurs();
    }
  }
  std::printf(
      "first frame in a new process (31 random indices of %d, PNG at 640x360): kivahost frame "
      "median %.0f ms, ffmpeg -ss (accurate) median %.0f ms, ratio %.2f\n",
      frames, Percentile(ours, 0.5), Percentile(theirs, 0.5),
      Percentile(ours, 0.5) / Percentile(theirs, 0.5));
}

void Scrub(const kivahost::PlugIn& plugIn, const std::string& path) {
  kivahost::OpenedFile file(plugIn, path);
  const int frames = file.Format().video.facts.frameCount;
  std::mt19937 random(23);
  std::uniform_int_distribution<int> frame(0, frames - 1);
  std::vector<std::uint8_t> pixels;
  std::vector<double> thumbnails;
  std::vector<double> viewer;
  const auto start = Clock::now();
  for (int i = 0; i < 200; ++i) {
    auto at = Clock::now();
    file.ReadFrame(static_cast<int>(static_cast<std::int64_t>(i) * (frames - 1) / 199), 160, 90,
                   pixels);
    thumbnails.push_back(1000 * Seconds(at));
    if (i % 4 == 3) {
      at = Clock::now();
      file.ReadFrame(frame(random), 1280, 720, pixels);
      viewer.push_back(1000 * Seconds(at));
    }
  }
  const double total = Seconds(start);
  std::vector<double> all = thumbnails;
  all.insert(all.end(), viewer.begin(), viewer.end());
  const int step = frames / 200;
  const double pass =
      Command("ffmpeg -nostdin -v error -i '" + path + "' -vf \"select=not(mod(n\\," +
              std::to_string(step) + ")),scale=160:90\" -fps_mode passthrough " +
              "-pix_fmt bgra -f null -");
  std::printf(
      "scrub of %d frames: 200 thumbnails 160x90 median %.1f ms p99 %.1f ms; 50 random 1280x720 "
      "median %.1f ms p99 %.1f ms; all 250 median %.1f ms p99 %.1f ms, %.1f s in all; ffmpeg "
      "select+scale pass for 200 thumbnails %.1f s (%.1f ms per thumbnail)\n",
      frames, Percentile(thumbnails, 0.5), Percentile(thumbnails, 0.99), Percentile(viewer, 0.5),
      Percentile(viewer, 0.99), Percentile(all, 0.5), Percentile(all, 0.99), total, pass,
      1000 * pass / 200);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: video_bench sequential|random|first|scrub FILE\n";
    return 2;
  }
  orb::app::App app;
  const kivahost::PlugIn plugIn(KIVAQT_BUNDLE);
  const std::string mode = argv[1];
  if (mode == "sequential") Sequential(plugIn, argv[2]);
  if (mode == "random") Random(plugIn, argv[2]);
  if (mode == "first") First(plugIn, argv[2]);
  if (mode == "scrub") Scrub(plugIn, argv[2]);
  return 0;
}
