// Audio reading through the plug-in, measured against FFmpeg's own tools in the same run:
//   sequential FILE...   plug-in read vs a plain libav decode loop vs `ffmpeg -f f32le`
//   random FILE...       1000 random reads of 4096 frames: median and 99th percentile
//   open FILE...         open + GetFormat vs ffprobe
//   memory FILE          resident memory while reading the whole file
// The plug-in is loaded from its bundle the way a host loads it.

#include "OpenedFile.h"
#include "PlugIn.h"
#include "Timing.h"

#include <orb/app/App.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace {

using bench::Clock;
using bench::Median;
using bench::Percentile;
using bench::Seconds;

// Reads the whole file through the plug-in in blocks, as a host plays it.
std::int64_t ReadThroughPlugIn(const kivahost::PlugIn& plugIn, const std::string& path) {
  const kivahost::OpenedFile file(plugIn, path);
  const std::size_t channels = file.Format().labels.size();
  constexpr std::int64_t kBlock = 65536;
  std::vector<std::vector<float>> planes(channels, std::vector<float>(kBlock));
  std::vector<float*> buffers;
  for (auto& plane : planes) buffers.push_back(plane.data());
  std::int64_t total = 0;
  for (std::int64_t position = 0; position < file.Format().sampleCount; position += kBlock) {
    std::int64_t read = 0;
    if (file.Read(position, kBlock, buffers, read) != 0) break;
    total += std::min(kBlock, file.Format().sampleCount - position);
  }
  return total;
}

// The plain libav loop: demux, decode, convert to planar float. Nothing else.
std::int64_t ReadWithLibav(const std::string& path) {
  AVFormatContext* format = nullptr;
  if (avformat_open_input(&format, path.c_str(), nullptr, nullptr) < 0) return -1;
  avformat_find_stream_info(format, nullptr);
  const int stream = av_find_best_stream(format, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  const AVCodec* codec = avcodec_find_decoder(format->streams[stream]->codecpar->codec_id);
  AVCodecContext* decoder = avcodec_alloc_context3(codec);
  avcodec_parameters_to_context(decoder, format->streams[stream]->codecpar);
  decoder->pkt_timebase = format->streams[stream]->time_base;
  avcodec_open2(decoder, codec, nullptr);
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  SwrContext* converter = nullptr;
  std::vector<std::vector<float>> planes;
  std::int64_t total = 0;
  const auto drain = [&] {
    while (avcodec_receive_frame(decoder, frame) == 0) {
      if (converter == nullptr) {
        swr_alloc_set_opts2(&converter, &frame->ch_layout, AV_SAMPLE_FMT_FLTP, frame->sample_rate,
                            &frame->ch_layout, static_cast<AVSampleFormat>(frame->format),
                            frame->sample_rate, 0, nullptr);
        swr_init(converter);
        planes.resize(static_cast<std::size_t>(frame->ch_layout.nb_channels));
      }
      std::vector<std::uint8_t*> out;
      for (auto& plane : planes) {
        plane.resize(static_cast<std::size_t>(frame->nb_samples));
        out.push_back(reinterpret_cast<std::uint8_t*>(plane.data()));
      }
      total +=
          swr_convert(converter, out.data(), frame->nb_samples,
                      const_cast<const std::uint8_t**>(frame->extended_data), frame->nb_samples);
      av_frame_unref(frame);
    }
  };
  while (av_read_frame(format, packet) >= 0) {
    if (packet->stream_index == stream) {
      avcodec_send_packet(decoder, packet);
      drain();
    }
    av_packet_unref(packet);
  }
  avcodec_send_packet(decoder, nullptr);
  drain();
  swr_free(&converter);
  av_frame_free(&frame);
  av_packet_free(&packet);
  avcodec_free_context(&decoder);
  avformat_close_input(&format);
  return total;
}

double TimeCommand(const std::string& command) {
  const auto start = Clock::now();
  if (std::system(command.c_str()) != 0) std::cerr << "failed: " << command << '\n';
  return Seconds(start);
}

template <class Work>
double MedianTime(int runs, Work work) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    const auto start = Clock::now();
    work();
    times.push_back(Seconds(start));
  }
  return Median(times);
}

void Sequential(const kivahost::PlugIn& plugIn, const std::vector<std::string>& files) {
  std::printf("%-28s %12s %12s %12s %10s %10s\n", "sequential read (median of 5)", "plug-in s",
              "libav s", "ffmpeg s", "vs libav", "vs ffmpeg");
  for (const auto& path : files) {
    // The three take turns, so that a slow moment of the machine hits all of them alike.
    std::vector<double> oursTimes, libavTimes, commandTimes;
    for (int round = 0; round < 5; ++round) {
      oursTimes.push_back(MedianTime(1, [&] { ReadThroughPlugIn(plugIn, path); }));
      libavTimes.push_back(MedianTime(1, [&] { ReadWithLibav(path); }));
      commandTimes.push_back(MedianTime(1, [&] {
        TimeCommand("ffmpeg -nostdin -v error -i '" + path + "' -map 0:a:0 -f f32le -y /dev/null");
      }));
    }
    const double ours = Median(oursTimes);
    const double libav = Median(libavTimes);
    const double command = Median(commandTimes);
    std::printf("%-28s %12.3f %12.3f %12.3f %9.2fx %9.2fx\n",
                path.substr(path.find_last_of('/') + 1).c_str(), ours, libav, command, ours / libav,
                ours / command);
  }
}

void Random(const kivahost::PlugIn& plugIn, const std::vector<std::string>& files) {
  std::printf("%-28s %12s %12s %12s\n", "random 4096-frame reads", "median ms", "p99 ms", "max ms");
  for (const auto& path : files) {
    const kivahost::OpenedFile file(plugIn, path);
    const std::size_t channels = file.Format().labels.size();
    std::vector<std::vector<float>> planes(channels, std::vector<float>(4096));
    std::vector<float*> buffers;
    for (auto& plane : planes) buffers.push_back(plane.data());
    std::mt19937_64 random(42);
    std::uniform_int_distribution<std::int64_t> position(0, file.Format().sampleCount - 4096);
    std::vector<double> times;
    for (int i = 0; i < 1000; ++i) {
      const std::int64_t start = position(random);
      std::int64_t read = 0;
      const auto begin = Clock::now();
      file.Read(start, 4096, buffers, read);
      times.push_back(1000 * Seconds(begin));
    }
    std::printf("%-28s %12.3f %12.3f %12.3f\n", path.substr(path.find_last_of('/') + 1).c_str(),
                Median(times), Percentile(times, 0.99), Percentile(times, 1.0));
  }
}

void Open(const kivahost::PlugIn& plugIn, const std::vector<std::string>& files) {
  std::printf("%-28s %12s %12s %12s %10s\n", "open + GetFormat (median 15)", "plug-in ms",
              "ffprobe", "ffprobe ms", "ratio");
  for (const auto& path : files) {
    const bool scans = path.ends_with(".mp3") || path.ends_with(".aac");
    const std::string probe = scans ? "-count_packets -show_streams" : "-show_streams";
    const double ours = 1000 * MedianTime(15, [&] { kivahost::OpenedFile file(plugIn, path); });
    const double theirs =
        1000 * MedianTime(15, [&] {
          TimeCommand("ffprobe -v error " + probe + " '" + path + "' > /dev/null");
        });
    std::printf("%-28s %12.2f %12s %12.2f %9.2fx\n",
                path.substr(path.find_last_of('/') + 1).c_str(), ours,
                scans ? "-count_pkts" : "-show_strm", theirs, ours / theirs);
  }
}

long ResidentKiB(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind(field, 0) == 0) return std::atol(line.c_str() + std::strlen(field));
  }
  return -1;
}

void Memory(const kivahost::PlugIn& plugIn, const std::string& path) {
  const kivahost::OpenedFile file(plugIn, path);
  const std::size_t channels = file.Format().labels.size();
  constexpr std::int64_t kBlock = 65536;
  std::vector<std::vector<float>> planes(channels, std::vector<float>(kBlock));
  std::vector<float*> buffers;
  for (auto& plane : planes) buffers.push_back(plane.data());
  const std::int64_t length = file.Format().sampleCount;
  std::printf("resident memory reading %s (%lld frames)\n", path.c_str(),
              static_cast<long long>(length));
  std::printf("  after open: %ld KiB\n", ResidentKiB("VmRSS:"));
  int nextTenth = 1;
  for (std::int64_t position = 0; position < length; position += kBlock) {
    std::int64_t read = 0;
    file.Read(position, kBlock, buffers, read);
    if (position * 10 >= nextTenth * length) {
      std::printf("  at %d0%%: %ld KiB\n", nextTenth, ResidentKiB("VmRSS:"));
      ++nextTenth;
    }
  }
  std::printf("  peak: %ld KiB\n", ResidentKiB("VmHWM:"));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: audio_bench sequential|random|open|memory FILE...\n";
    return 2;
  }
  orb::app::App app;
  const kivahost::PlugIn plugIn(KIVAQT_BUNDLE);
  const std::string mode = argv[1];
  const std::vector<std::string> files(argv + 2, argv + argc);
  if (mode == "sequential") Sequential(plugIn, files);
  if (mode == "random") Random(plugIn, files);
  if (mode == "open") Open(plugIn, files);
  if (mode == "memory") Memory(plugIn, files.front());
  return 0;
}
