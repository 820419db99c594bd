// Uncompressed exports through the plug-in, read back through the plug-in and by the ffmpeg
// command: every sample type and channel count comes back exactly, with its channel labels.

#include "CommandOutput.h"
#include "HostRecords.h"
#include "KivaQTInterface.h"
#include "PlugInRequests.h"
#include "QTExportCatalogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>

namespace {

namespace fs = std::filesystem;

int BytesOf(int code) { return code == 10 ? 1 : code == 20 ? 2 : code == 30 ? 3 : 4; }

// Channel c's sample f in the host's format, and the float a reader must give back for it.
struct Signal {
  int code;
  std::vector<std::uint8_t> bytes;  // one channel
  std::vector<float> expected;
};

Signal MakeSignal(int code, int channel, std::int64_t frames) {
  Signal signal{code, {}, {}};
  std::mt19937 random(static_cast<unsigned>(1000 + channel));
  for (std::int64_t f = 0; f < frames; ++f) {
    const double shape = 0.8 * std::sin(0.001 * (channel + 1) * static_cast<double>(f));
    switch (code) {
      case 10: {
        const auto value = static_cast<std::uint8_t>(128 + std::lround(shape * 127));
        signal.bytes.push_back(value);
        signal.expected.push_back((static_cast<int>(value) - 128) / 128.0f);
        break;
      }
      case 20: {
        const auto value = static_cast<std::int16_t>(std::lround(shape * 32767) +
                                                     static_cast<int>(random() % 3) - 1);
        const auto* p = reinterpret_cast<const std::uint8_t*>(&value);
        signal.bytes.insert(signal.bytes.end(), p, p + 2);
        signal.expected.push_back(value / 32768.0f);
        break;
      }
      case 30: {
        const std::int32_t value = static_cast<std::int32_t>(std::lround(shape * 8388607));
        signal.bytes.push_back(static_cast<std::uint8_t>(value));
        signal.bytes.push_back(static_cast<std::uint8_t>(value >> 8));
        signal.bytes.push_back(static_cast<std::uint8_t>(value >> 16));
        signal.expected.push_back(static_cast<float>(value) / 8388608.0f);
        break;
      }
      default: {
        const auto value = static_cast<float>(shape) + static_cast<float>(random() % 1000) * 1e-6f;
        const auto* p = reinterpret_cast<const std::uint8_t*>(&value);
        signal.bytes.insert(signal.bytes.end(), p, p + 4);
        signal.expected.push_back(value);
      }
    }
  }
  return signal;
}

struct Case {
  int code;
  std::vector<std::uint32_t> labels;    // host labels given
  std::vector<std::uint32_t> readBack;  // host labels reported when read back
};

class PcmExport : public ::testing::TestWithParam<Case> {};

TEST_P(PcmExport, ReadsBackExactly) {
  const Case& c = GetParam();
  const int channels = static_cast<int>(c.labels.size());
  const std::int64_t frames = 48000 + 123;
  const std::string path = ::testing::TempDir() + "/export-" + std::to_string(c.code) + "-" +
                           std::to_string(channels) + ".mov";
  std::ofstream(path) << "an older file that the export replaces";

  kivahost::HostFormat format;
  format.SetNumChannels(channels);
  for (int ch = 0; ch < channels; ++ch)
    format.SetChannelLabel(ch, c.labels[static_cast<std::size_t>(ch)]);
  format.sampleRate = 48000;
  format.sampleType = c.code;
  format.sampleCount = frames;
  format.privateSettings = u"FormatIndex:0:0;";

  std::vector<Signal> signals;
  for (int ch = 0; ch < channels; ++ch) signals.push_back(MakeSignal(c.code, ch, frames));

  kiva::KivaQTInterface kivaInterface;
  kivahost::HostWriteStart start(path, format);
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelWriteStart, nullptr, &start), 0);
  ASSERT_NE(start.handle, nullptr);
  std::mt19937 random(3);
  std::uniform_int_distribution<std::int64_t> size(1, 7000);
  const int bytes = BytesOf(c.code);
  for (std::int64_t position = 0; position < frames;) {
    const std::int64_t count = std::min(size(random), frames - position);
    std::vector<void*> buffers;
    for (auto& signal : signals) buffers.push_back(signal.bytes.data() + position * bytes);
    kivahost::HostWriteSamples samples(position, count, buffers, format);
    ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelWriteSamples, start.handle, &samples), 0);
    position += count;
  }
  kivahost::HostFinishWrite finish(format);
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelFinishWrite, start.handle, &finish), 0);

  // Back through the plug-in.
  kivahost::HostOpen open(path);
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open), 0);
  kivahost::HostFormat read;
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &read), 0);
  EXPECT_EQ(read.sampleCount, frames);
  EXPECT_EQ(read.sampleRate, 48000);
  EXPECT_EQ(read.labels, c.readBack);
  EXPECT_EQ(read.formatID, "AudioMov");
  std::vector<std::vector<float>> planes(static_cast<std::size_t>(channels),
                                         std::vector<float>(static_cast<std::size_t>(frames)));
  std::vector<float*> pointers;
  for (auto& plane : planes) pointers.push_back(plane.data());
  kivahost::HostReadSamples readSamples(0, frames, pointers);
  ASSERT_EQ(kivaInterface.EntryPoint(kiva::kSelReadSamples, open.source, &readSamples), 0);
  kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
  for (int ch = 0; ch < channels; ++ch) {
    EXPECT_TRUE(planes[static_cast<std::size_t>(ch)] ==
                signals[static_cast<std::size_t>(ch)].expected)
        << "channel " << ch;
  }

  // And by the ffmpeg command.
  const std::vector<float> interleaved =
      kiva::test::CommandFloats("ffmpeg -nostdin -v error -i '" + path + "' -f f32le -");
  const std::size_t got = interleaved.size();
  ASSERT_EQ(got, static_cast<std::size_t>(frames * channels));
  std::size_t mismatches = 0;
  for (std::int64_t f = 0; f < frames; ++f) {
    for (int ch = 0; ch < channels; ++ch) {
      mismatches += interleaved[static_cast<std::size_t>(f * channels + ch)] !=
                    signals[static_cast<std::size_t>(ch)].expected[static_cast<std::size_t>(f)];
    }
  }
  EXPECT_EQ(mismatches, 0u);

  // And by GStreamer, whose QuickTime demuxer reads the sample description its own way.
  const std::vector<float> decoded = kiva::test::CommandFloats(
      "gst-launch-1.0 -q filesrc location='" + path +
      "' ! qtdemux ! audioconvert ! audio/x-raw,format=F32LE,layout=interleaved ! fdsink fd=1");
  ASSERT_EQ(decoded.size(), static_cast<std::size_t>(frames * channels));
  mismatches = 0;
  for (std::int64_t f = 0; f < frames; ++f) {
    for (int ch = 0; ch < channels; ++ch) {
      mismatches += decoded[static_cast<std::size_t>(f * channels + ch)] !=
                    signals[static_cast<std::size_t>(ch)].expected[static_cast<std::size_t>(f)];
    }
  }
  EXPECT_EQ(mismatches, 0u) << "GStreamer";
  fs::remove(path);
}

std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const int code : {10, 20, 30, 40}) {
    cases.push_back({code, {100}, {0}});  // written as mono, read as its one Discrete channel
    cases.push_back({code, {100, 101}, {100, 101}});
    cases.push_back({code, {100, 101, 102, 103, 104, 105}, {100, 101, 102, 103, 104, 105}});
    cases.push_back(
        {code, {100, 101, 102, 103, 104, 105, 109, 110}, {100, 101, 102, 103, 104, 105, 109, 110}});
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(SampleTypesAndChannels, PcmExport, ::testing::ValuesIn(Cases()),
                         [](const ::testing::TestParamInfo<Case>& info) {
                           return "type" + std::to_string(info.param.code) + "_" +
                                  std::to_string(info.param.labels.size()) + "ch";
                         });

int StartExport(const std::string& path, std::vector<std::string>& messages, void*& handle,
                kivahost::HostFormat& format) {
  format.SetNumChannels(2);
  format.SetChannelLabel(0, 100);
  format.SetChannelLabel(1, 101);
  format.sampleRate = 44100;
  format.sampleType = 20;
  format.sampleCount = 44100;
  kivahost::HostWriteStart start(path, format);
  kiva::KivaQTInterface kivaInterface;
  const int status = kivaInterface.EntryPoint(kiva::kSelWriteStart, nullptr, &start);
  messages = start.reporter.Messages();
  handle = start.handle;
  return status;
}

TEST(ExportFailures, MissingDirectory) {
  std::vector<std::string> messages;
  void* handle = nullptr;
  kivahost::HostFormat format;
  EXPECT_EQ(StartExport("/nonexistent-kivaqt-dir/x.mov", messages, handle, format), -1);
  EXPECT_EQ(handle, nullptr);
  EXPECT_THAT(messages,
              ::testing::ElementsAre("Error 0 creating file /nonexistent-kivaqt-dir/x.mov.  "
                                     "The destination may be full or no longer available."));
}

TEST(ExportFailures, DirectoryThatTakesNoFiles) {
  std::vector<std::string> messages;
  void* handle = nullptr;
  kivahost::HostFormat format;
  EXPECT_EQ(StartExport("/proc/self/kivaqt.mov", messages, handle, format), -1);
  EXPECT_THAT(messages, ::testing::ElementsAre("Error 0 creating file /proc/self/kivaqt.mov.  The "
                                               "destination may be full or no longer available."));
}

TEST(ExportFailures, FullDevice) {
  std::vector<std::string> messages;
  void* handle = nullptr;
  kivahost::HostFormat format;
  ASSERT_EQ(StartExport("/dev/full", messages, handle, format), 0);
  kiva::KivaQTInterface kivaInterface;
  std::vector<std::int16_t> samples(44100, 1000);
  int written = 0;
  for (std::int64_t position = 0; position < 44100; position += 4410) {
    kivahost::HostWriteSamples block(
        position, 4410, {samples.data() + position, samples.data() + position}, format);
    written = kivaInterface.EntryPoint(kiva::kSelWriteSamples, handle, &block);
    if (written != 0) break;
  }
  kivahost::HostFinishWrite finish(format);
  const int finished = kivaInterface.EntryPoint(kiva::kSelFinishWrite, handle, &finish);
  // The full disk shows when data is flushed: as a failed block (-10) or a failed finish (-1).
  EXPECT_TRUE(written == -10 || finished == -1) << written << " " << finished;
}

}  // namespace

namespace {

// A session finished before any samples came: the movie still has its one sound track, empty,
// which ffmpeg finds and the plug-in opens again; for PCM and for a compressed format alike.
class EmptyExport : public ::testing::TestWithParam<const char16_t*> {};

TEST_P(EmptyExport, HasItsOneSoundTrack) {
  std::vector<kiva::qt::media::ComponentDescription> catalogue;
  kiva::qt::GetExportComponentDescriptions(catalogue);  // what the settings dialog does first
  // One file per format index (the settings' last digit): each case may run in its own
  // process at the same time.
  const std::string path =
      ::testing::TempDir() + "/empty-export-" + static_cast<char>(GetParam()[14]) + ".mov";
  kivahost::HostFormat format;
  kiva::test::DescribeStereoExport(format, 48000, 48000);  // the host expected a second
  format.privateSettings = GetParam();
  kivahost::HostWriteStart start(path, format);
  ASSERT_EQ(kiva::test::CallPlugIn(kiva::kSelWriteStart, nullptr, &start), 0);
  kivahost::HostFinishWrite finish(format);
  ASSERT_EQ(kiva::test::CallPlugIn(kiva::kSelFinishWrite, start.handle, &finish), 0);

  const std::string streams = kiva::test::CommandOutput(
      "ffprobe -v error -show_entries stream=codec_type -of csv=p=0 '" + path + "'");
  EXPECT_EQ(streams, "audio\n");
  kiva::test::PlugInFile reopened(path);
  EXPECT_TRUE(reopened.IsOpen());
  EXPECT_EQ(reopened.Channels(), 2);
  EXPECT_EQ(reopened.Length(), 0);
  std::filesystem::remove(path);
}

INSTANTIATE_TEST_SUITE_P(PcmAndAac, EmptyExport,
                         ::testing::Values(u"FormatIndex:0:0;", u"FormatIndex:0:1;"));

}  // namespace
