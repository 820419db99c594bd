// Reading real files through the plug-in: lengths, labels, sequential decode against the
// ffmpeg command's own decode, and random reads against the sequential decode.

#include "CommandOutput.h"
#include "FixtureName.h"
#include "HostRecords.h"
#include "KivaQTInterface.h"
#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using Channels = std::vector<std::vector<float>>;

const std::string kFixtures = KIVA_FIXTURES;

// The interface as a host drives it, in this process.
class OpenedSource {
 public:
  explicit OpenedSource(const std::string& path) : open(path) {
    status = kivaInterface.EntryPoint(kiva::kSelOpenForRead, nullptr, &open);
    if (status == 0) {
      EXPECT_EQ(kivaInterface.EntryPoint(kiva::kSelGetFormat, open.source, &format), 0);
    }
  }
  ~OpenedSource() {
    if (status == 0) kivaInterface.EntryPoint(kiva::kSelCloseForRead, open.source, nullptr);
  }
  int Read(std::int64_t start, std::int64_t frames, Channels& out) {
    std::vector<float*> buffers;
    for (auto& channel : out) {
      channel.assign(static_cast<std::size_t>(frames), -7.0f);
      buffers.push_back(channel.data());
    }
    kivahost::HostReadSamples read(start, frames, buffers);
    const int result = kivaInterface.EntryPoint(kiva::kSelReadSamples, open.source, &read);
    EXPECT_EQ(read.framesRead, result == 0 ? frames : 0);
    return result;
  }

  kiva::KivaQTInterface kivaInterface;
  kivahost::HostOpen open;
  kivahost::HostFormat format;
  int status = -100;
};

// The ffmpeg command's float decode of one audio track, one vector per channel.
Channels ReferenceDecode(const std::string& path, int track, int channels,
                         const std::string& decoderOptions) {
  const std::string command = "ffmpeg -nostdin -v error " + decoderOptions + " -i '" + path +
                              "' -map 0:a:" + std::to_string(track) + " -f f32le -";
  const std::vector<float> interleaved = kiva::test::CommandFloats(command);
  Channels out(static_cast<std::size_t>(channels));
  for (std::size_t i = 0; i < interleaved.size(); ++i) {
    out[i % static_cast<std::size_t>(channels)].push_back(interleaved[i]);
  }
  return out;
}

struct Fixture {
  const char* file;
  int channels;
  int rate;
  // The true length; 0: whatever the ffmpeg command's full decode yields (files that declare
  // no length).
  std::int64_t length;
  std::vector<std::uint32_t> labels;
  double randomTolerance = 0;           // random reads against the sequential decode
  const char* decoderOptions = "";      // for the ffmpeg command's decode
  std::vector<int> tracks = {0};        // tracks whose channels the ffmpeg command can check
  std::vector<int> trackChannels = {};  // channels per track (default: all in one track)
};

std::vector<Fixture> Fixtures() {
  const std::vector<std::uint32_t> lr{100, 101};
  const std::vector<std::uint32_t> surround{100, 101, 102, 103, 104, 105};
  return {
      {"pcm8.mov", 2, 48000, 168000, lr},
      {"pcm16.mov", 2, 48000, 168000, lr},
      {"pcm24.mov", 2, 48000, 168000, lr},
      {"pcmf32.mov", 2, 48000, 168000, lr},
      {"pcm.wav", 2, 48000, 168000, {0, 0}},
      {"pcm.aiff", 2, 48000, 168000, {0, 0}},
      {"aac-mono.m4a", 1, 48000, 168000, {0}},  // a Mono layout: one Discrete channel
      // 33,339 frames: 756 ms in the movie's scale of 1000, which its decoder rounds up.
      {"aac-mono-44k.m4a", 1, 44100, 33339, {0}},
      {"aac-stereo.m4a", 2, 48000, 168000, lr},
      {"aac-51.m4a", 6, 48000, 168000, surround},
      {"aac.aac", 2, 48000, 0, lr},
      {"mp3-cbr.mp3", 2, 48000, 168000, lr},
      {"mp3-vbr.mp3", 2, 48000, 168000, lr},
      {"mp3-cbr-noxing.mp3", 2, 48000, 0, lr},
      {"mp3-vbr-noxing.mp3", 2, 48000, 0, lr},
      {"mp3-cover.mp3", 2, 48000, 168000, lr},
      {"flac.flac", 2, 48000, 168000, lr},
      {"alac.m4a", 2, 48000, 168000, lr},
      {"vorbis.ogg", 2, 48000, 168000, lr},
      {"opus.opus", 2, 48000, 168000, lr, 1e-4},
      // Speex's decoder state never settles to what a decode from the start has: a decode
      // that begins one packet late still differs by up to 0.004 a second later.
      {"speex.spx", 1, 16000, 40000, {0}, 1e-2},
      // Two Vorbis files joined, of 22,222 and 54,321 frames, and two Opus files of 30,000 and
      // 50,000: the ffmpeg command runs one decoder across the join, which its parts' own
      // decoders do not (the sound of chains is checked below).
      {"chained.ogg", 2, 44100, 76543, lr, 0, "", {}},
      {"chained.opus", 2, 48000, 80000, lr, 1e-4, "", {}},
      {"opus.webm", 2, 48000, 168000, lr, 1e-4},
      {"ac3-51.ac3", 6, 48000, 0, surround, 0, "-cons_noisegen 1"},
      {"ac3-44k.ac3", 2, 44100, 0, lr, 0, "-cons_noisegen 1"},
      {"ac3-cut.ac3", 2, 44100, 0, lr, 0, "-cons_noisegen 1"},
      {"ac3-junk.ac3", 2, 44100, 0, lr, 0, "-cons_noisegen 1"},
      {"aac.mka", 2, 48000, 0, lr},
      {"mp3.mka", 2, 48000, 0, lr},
      {"aac-30s.mka", 1, 48000, 0, {0}},
      {"aac-gap.mka", 2, 48000, 0, lr},
      {"vorbis.webm", 2, 48000, 0, lr},
      {"flac.mka", 2, 48000, 0, lr},
      // Sound that starts after silence, and MP3 frames behind junk, are not where the ffmpeg
      // command's decode puts them (other readers check them); here, how they are read.
      {"flac-late.mka", 2, 48000, 48000 + 100001, lr, 0, "", {}},
      {"late-sound.mov", 2, 48000, 124032, lr, 0, "", {}},  // 2584 ms at 48 kHz
      {"mp3-junk-first.mp3", 2, 44100, 54321, lr, 0, "", {}},
      {"mp3-junk-after-id3.mp3", 2, 44100, 54321, lr, 0, "", {}},
      {"av.mp4", 2, 48000, 168000, lr},
      {"two-tracks.mov", 4, 48000, 120000, {100, 101, 100, 101}, 0, "", {0, 1}, {2, 2}},
      // The 44.1 kHz track is resampled to the movie's rate: only the second is FFmpeg's own.
      {"two-rates.mov", 4, 48000, 168000, {100, 101, 100, 101}, 0, "", {1}, {2, 2}},
      // Mono tracks at rates 64 times apart, the widest mixed: 8 kHz raised to 512 kHz, and
      // 512 kHz lowered to 8 kHz.
      {"rates-64-apart-raised.mov", 2, 512000, 51200, {0, 0}, 0, "", {1}, {1, 1}},
      {"rates-64-apart-lowered.mov", 2, 8000, 8000, {0, 0}, 0, "", {1}, {1, 1}},
  };
}

void PrintTo(const Fixture& fixture, std::ostream* out) { *out << fixture.file; }

class AudioReading : public ::testing::TestWithParam<Fixture> {};

TEST_P(AudioReading, FormatLengthAndLabels) {
  const Fixture& fixture = GetParam();
  OpenedSource source(kFixtures + "/" + fixture.file);
  ASSERT_EQ(source.status, 0) << fixture.file;
  EXPECT_EQ(source.format.GetNumChannels(), fixture.channels);
  EXPECT_EQ(source.format.sampleRate, fixture.rate);
  EXPECT_EQ(source.format.sampleType, 40);
  EXPECT_EQ(source.format.labels, fixture.labels);
  std::int64_t expected = fixture.length;
  if (expected == 0) {
    expected =
        static_cast<std::int64_t>(ReferenceDecode(kFixtures + "/" + fixture.file, 0,
                                                  fixture.channels, fixture.decoderOptions)[0]
                                      .size());
  }
  EXPECT_EQ(source.format.sampleCount, expected);
}

// The whole file read front to back in blocks of varying size.
Channels SequentialRead(OpenedSource& source, std::mt19937& random) {
  const std::int64_t length = source.format.sampleCount;
  Channels whole(static_cast<std::size_t>(source.format.GetNumChannels()));
  Channels block(whole.size());
  std::uniform_int_distribution<std::int64_t> size(1, 9000);
  for (std::int64_t position = 0; position < length;) {
    const std::int64_t frames = std::min(size(random), length - position);
    EXPECT_EQ(source.Read(position, frames, block), 0);
    for (std::size_t c = 0; c < whole.size(); ++c) {
      whole[c].insert(whole[c].end(), block[c].begin(), block[c].end());
    }
    position += frames;
  }
  return whole;
}

TEST_P(AudioReading, SequentialDecodeIsTheFFmpegCommandsDecode) {
  const Fixture& fixture = GetParam();
  const std::string path = kFixtures + "/" + fixture.file;
  OpenedSource source(path);
  ASSERT_EQ(source.status, 0);
  std::mt19937 random(1234);
  const Channels whole = SequentialRead(source, random);
  std::vector<int> trackChannels = fixture.trackChannels;
  if (trackChannels.empty()) trackChannels = {fixture.channels};
  for (const int track : fixture.tracks) {
    int first = 0;
    for (int t = 0; t < track; ++t) first += trackChannels[static_cast<std::size_t>(t)];
    const Channels reference = ReferenceDecode(
        path, track, trackChannels[static_cast<std::size_t>(track)], fixture.decoderOptions);
    for (std::size_t c = 0; c < reference.size(); ++c) {
      const auto& ours = whole[static_cast<std::size_t>(first) + c];
      const std::size_t common = std::min(ours.size(), reference[c].size());
      ASSERT_GT(common, 0u);
      std::size_t mismatches = 0;
      for (std::size_t i = 0; i < common; ++i) mismatches += ours[i] != reference[c][i];
      EXPECT_EQ(mismatches, 0u) << fixture.file << " track " << track << " channel " << c;
      // Past FFmpeg's own end there is nothing; past ours, FFmpeg may still have padding.
      EXPECT_LE(ours.size(), reference[c].size()) << fixture.file;
    }
  }
}

TEST_P(AudioReading, RandomReadsMatchTheSequentialDecode) {
  const Fixture& fixture = GetParam();
  OpenedSource sequential(kFixtures + "/" + fixture.file);
  ASSERT_EQ(sequential.status, 0);
  std::mt19937 random(99);
  const Channels whole = SequentialRead(sequential, random);
  const std::int64_t length = sequential.format.sampleCount;

  // Positions that matter (the start, one in, the end) and random ones, in shuffled order.
  std::vector<std::pair<std::int64_t, std::int64_t>> reads{
      {0, 4096}, {1, 4096}, {length - 4096, 4096}, {length - 100, 500}, {length + 10, 64}};
  std::uniform_int_distribution<std::int64_t> position(0, length - 1);
  std::uniform_int_distribution<std::int64_t> size(1, 20000);
  for (int i = 0; i < 40; ++i) reads.emplace_back(position(random), size(random));
  std::shuffle(reads.begin(), reads.end(), random);

  OpenedSource source(kFixtures + "/" + fixture.file);
  Channels block(whole.size());
  for (const auto& [start, frames] : reads) {
    ASSERT_EQ(source.Read(start, frames, block), 0) << fixture.file << " at " << start;
    for (std::size_t c = 0; c < whole.size(); ++c) {
      double worst = 0;
      for (std::int64_t i = 0; i < frames; ++i) {
        const std::int64_t at = start + i;
        const float expected = at < length ? whole[c][static_cast<std::size_t>(at)] : 0.0f;
        worst = std::max(
            worst,
            std::fabs(static_cast<double>(block[c][static_cast<std::size_t>(i)]) - expected));
      }
      EXPECT_LE(worst, fixture.randomTolerance) << fixture.file << " channel " << c << " read ["
                                                << start << ", " << start + frames << ")";
    }
  }
}

float Peak(const std::vector<float>& channel) {
  float peak = 0;
  for (const float sample : channel) peak = std::max(peak, std::abs(sample));
  return peak;
}

// Each track's length is counted in its own rate and the longest count is reported, while the
// audio comes at the last track's rate: a longer first track of a lower rate goes on sounding
// past the reported length, up to its own end at the reported rate.
TEST(AudioReadingOfTracks, LongerFirstTrackAtALowerRateIsCountedInItsOwnRate) {
  OpenedSource source(kFixtures + "/longer-first-at-lower-rate.mov");
  ASSERT_EQ(source.status, 0);
  EXPECT_EQ(source.format.sampleRate, 48000);
  // 2.5 s at 44.1 kHz outcounts 1 s at 48 kHz.
  EXPECT_EQ(source.format.sampleCount, 110250);

  Channels out(4);
  ASSERT_EQ(source.Read(110250, 1024, out), 0);
  EXPECT_GT(Peak(out[0]), 0.2f);
  EXPECT_GT(Peak(out[1]), 0.2f);
  EXPECT_EQ(Peak(out[2]), 0.0f);
  EXPECT_EQ(Peak(out[3]), 0.0f);

  // 2.5 s at 48 kHz: the first track's end.
  ASSERT_EQ(source.Read(120000 - 512, 1024, out), 0);
  EXPECT_GT(Peak({out[0].begin(), out[0].begin() + 512}), 0.2f);
  for (const auto& channel : out) EXPECT_EQ(Peak({channel.begin() + 512, channel.end()}), 0.0f);
}

// A movie's track lasts what the movie declares for it: the late track's edit list holds an
// empty edit of 478 ms (half a second less the coder's 1024 priming samples, in whole
// milliseconds) and 4022 ms of sound, 4500 in the movie's time scale of 1000, so 4.5 s at
// 48 kHz; the end of the decoded sound (0.478 s + 193,024 samples) would give 32 fewer.
TEST(AudioReadingOfTracks, ALateTrackLastsWhatTheMovieDeclares) {
  OpenedSource source(kFixtures + "/late-track.mov");
  ASSERT_EQ(source.status, 0);
  EXPECT_EQ(source.format.sampleRate, 48000);
  EXPECT_EQ(source.format.sampleCount, 216000);
}

// Tracks whose rates lie further apart than the converter goes (its filter would grow with the
// ratio) open and describe themselves, but their audio cannot be read.
TEST(AudioReadingOfTracks, RatesFurtherApartThanSixtyFourTimesCannotBeRead) {
  OpenedSource source(kFixtures + "/rates-65-apart.mov");
  ASSERT_EQ(source.status, 0);
  EXPECT_EQ(source.format.GetNumChannels(), 2);
  EXPECT_EQ(source.format.sampleRate, 8000);
  Channels out(2);
  EXPECT_EQ(source.Read(0, 800, out), kiva::kKivaReadAudioFailed);
}

// Interleaved float samples as GStreamer decodes the file. Its decoding bin links the first
// part of a chained Ogg file only: for a chain this is the first part.
std::vector<float> GStreamerDecode(const std::string& path) {
  return kiva::test::CommandFloats("gst-launch-1.0 -q filesrc location='" + path +
                                   "' ! decodebin ! audioconvert ! audio/x-raw,format=F32LE ! "
                                   "fdsink fd=1 2>/dev/null");
}

// Speex in Ogg, 2.5 s at 16 kHz: the coder's delay, which Ogg places before the first granule,
// is part of the sound both ffmpeg and GStreamer give.
TEST(AudioReadingOfOgg, SpeexLastsWhatFFmpegAndGStreamerDecode) {
  const std::string path = kFixtures + "/speex.spx";
  const std::int64_t made = 40000;
  ASSERT_EQ(static_cast<std::int64_t>(ReferenceDecode(path, 0, 1, "")[0].size()), made);
  ASSERT_EQ(static_cast<std::int64_t>(GStreamerDecode(path).size()), made);
  OpenedSource source(path);
  ASSERT_EQ(source.status, 0);
  EXPECT_EQ(source.format.sampleRate, 16000);
  EXPECT_EQ(source.format.sampleCount, made);
}

// The whole length GStreamer's discoverer gives, in frames at `rate`.
std::int64_t GStreamerLength(const std::string& path, int rate) {
  const std::string report = kiva::test::CommandOutput("gst-discoverer-1.0 '" + path + "' 2>&1");
  const std::size_t at = report.find("Duration: ");
  int hours = 0;
  int minutes = 0;
  double seconds = 0;
  if (at == std::string::npos ||
      std::sscanf(report.c_str() + at, "Duration: %d:%d:%lf", &hours, &minutes, &seconds) != 3) {
    return -1;
  }
  return std::llround((hours * 3600.0 + minutes * 60.0 + seconds) * rate);
}

// The length of a chained file as a reader other than ffmpeg gives it, in stereo frames at
// `rate`: Opus's reference decoder for Opus (GStreamer keeps the pre-skip of every part after
// the first), GStreamer's discoverer for the rest.
std::int64_t ChainLengthBesideFFmpeg(const std::string& path, int rate) {
  if (path.ends_with(".opus")) {
    return static_cast<std::int64_t>(kiva::test::CommandFloats("opusdec --quiet --rate " +
                                                               std::to_string(rate) + " --float '" +
                                                               path + "' - 2>/dev/null")
                                         .size() /
                                     2);
  }
  return GStreamerLength(path, rate);
}

// Interleaved samples to one vector per channel.
Channels Deinterleave(const std::vector<float>& interleaved, std::size_t channels) {
  Channels out(channels);
  for (std::size_t i = 0; i < interleaved.size(); ++i) out[i % channels].push_back(interleaved[i]);
  return out;
}

// The parts of a chained Ogg file, each as a file of its own: a part begins at a page that
// opens a stream (flag 2 in the byte after the capture pattern and the version) after one that
// does not.
std::vector<std::string> CutOggParts(const std::string& path, const std::filesystem::path& into) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::vector<std::size_t> starts;
  bool previousOpened = false;
  for (std::size_t at = 0; at + 27 <= bytes.size() && bytes.compare(at, 4, "OggS") == 0;) {
    const bool opens = (bytes[at + 5] & 2) != 0;
    if (opens && (starts.empty() || !previousOpened)) starts.push_back(at);
    previousOpened = opens;
    const auto segments = static_cast<unsigned char>(bytes[at + 26]);
    std::size_t body = 0;
    for (std::size_t i = 0; i < segments && at + 27 + i < bytes.size(); ++i) {
      body += static_cast<unsigned char>(bytes[at + 27 + i]);
    }
    at += 27 + segments + body;
  }
  std::vector<std::string> parts;
  for (std::size_t p = 0; p < starts.size(); ++p) {
    const std::size_t end = p + 1 < starts.size() ? starts[p + 1] : bytes.size();
    parts.push_back((into / ("part-" + std::to_string(p) + ".ogg")).string());
    std::ofstream(parts.back(), std::ios::binary) << bytes.substr(starts[p], end - starts[p]);
  }
  return parts;
}

// libvorbis' decode of each part of a chained Vorbis file on its own (oggdec, 16-bit), one
// after the other; `parts` of them at most.
Channels OggdecPartsDecode(const std::string& path, std::size_t channels,
                           std::size_t parts = 1000) {
  std::vector<float> interleaved;
  const kiva::test::ScratchDirectory scratch{"chain-parts"};
  const std::vector<std::string> files = CutOggParts(path, scratch.Path());
  for (std::size_t p = 0; p < std::min(parts, files.size()); ++p) {
    const std::string bytes =
        kiva::test::CommandOutput("oggdec --quiet --raw -o - '" + files[p] + "' 2>/dev/null");
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
      const auto value = static_cast<std::int16_t>(static_cast<unsigned char>(bytes[i]) |
                                                   static_cast<unsigned char>(bytes[i + 1]) << 8);
      interleaved.push_back(static_cast<float>(value) / 32768.0f);
    }
  }
  return Deinterleave(interleaved, channels);
}

// The ffmpeg command's decode of each part of a chained file on its own, one after the other.
Channels FFmpegPartsDecode(const std::string& path, int channels) {
  Channels out(static_cast<std::size_t>(channels));
  const kiva::test::ScratchDirectory scratch{"chain-parts"};
  for (const std::string& part : CutOggParts(path, scratch.Path())) {
    const Channels decoded = ReferenceDecode(part, 0, channels, "");
    for (std::size_t c = 0; c < out.size(); ++c) {
      out[c].insert(out[c].end(), decoded[c].begin(), decoded[c].end());
    }
  }
  return out;
}

// Opus's reference decoder, which gives every part of a chain from its own headers.
Channels OpusdecDecode(const std::string& path, std::size_t channels) {
  return Deinterleave(kiva::test::CommandFloats("opusdec --quiet --rate 48000 --float '" + path +
                                                "' - 2>/dev/null"),
                      channels);
}

// The plug-in's samples at [start, start + frames) against `reference` (per channel), with
// zeros past the reported length.
void ExpectSamples(OpenedSource& source, const Channels& reference, std::int64_t start,
                   std::int64_t frames, double tolerance = 0) {
  const std::int64_t length = source.format.sampleCount;
  Channels block(reference.size());
  ASSERT_EQ(source.Read(start, frames, block), 0) << "at " << start;
  std::int64_t mismatches = 0;
  for (std::size_t c = 0; c < reference.size(); ++c) {
    for (std::int64_t i = 0; i < frames; ++i) {
      const std::int64_t at = start + i;
      const float expected = at < length ? reference[c].at(static_cast<std::size_t>(at)) : 0.0f;
      mismatches += std::fabs(block[c][static_cast<std::size_t>(i)] - expected) > tolerance;
    }
  }
  EXPECT_EQ(mismatches, 0) << "read [" << start << ", " << start + frames << ")";
}

// Two Vorbis files joined, of 22,222 and 54,321 frames, and two Opus files of 30,000 and
// 50,000: the whole chain, in the length both readers give.
TEST(AudioReadingOfOgg, ChainedPartsLastWhatFFmpegAndGStreamerRead) {
  const std::vector<std::tuple<std::string, int, std::int64_t>> chains{
      {"chained.ogg", 44100, 22222 + 54321}, {"chained.opus", 48000, 30000 + 50000}};
  for (const auto& [file, rate, made] : chains) {
    const std::string path = kFixtures + "/" + file;
    ASSERT_EQ(static_cast<std::int64_t>(ReferenceDecode(path, 0, 2, "")[0].size()), made) << file;
    ASSERT_EQ(ChainLengthBesideFFmpeg(path, rate), made) << file;
    OpenedSource source(path);
    ASSERT_EQ(source.status, 0) << file;
    EXPECT_EQ(source.format.sampleRate, rate) << file;
    EXPECT_EQ(source.format.sampleCount, made) << file;
  }
}

// FFmpeg's Opus decoder and the reference decoder differ by up to 1.9e-4 near the end of the
// first part even when it is decoded on its own, by either program; elsewhere by 1e-6. So the
// Opus chain is also held to FFmpeg's decode of each part on its own, exactly.
constexpr double kOpusTolerance = 2e-4;

struct Chain {
  const char* file;
  Channels reference;
  double tolerance;
  std::int64_t join;  // where the second part begins
};

// The chains with the references they are held to.
std::vector<Chain> Chains() {
  const std::string opus = kFixtures + "/chained-tones.opus";
  return {{"chained.ogg", OggdecPartsDecode(kFixtures + "/chained.ogg", 2), 1.5 / 32768, 22222},
          {"chained-tones.opus", OpusdecDecode(opus, 2), kOpusTolerance, 30000},
          {"chained-tones.opus", FFmpegPartsDecode(opus, 2), 0, 30000}};
}

// Each part of a chain sounds as its own decoder gives it (for Vorbis, libvorbis' decode of
// the part cut out of the chain; for Opus, its reference decoder, which starts every part
// afresh with its own headers and pre-skip, and the ffmpeg command's decode of each part cut
// out), up to and across the join, in a read front to back.
TEST(AudioReadingOfOgg, ChainedPartsSoundAsTheirOwnDecodersGiveThem) {
  for (const Chain& chain : Chains()) {
    OpenedSource source(kFixtures + "/" + chain.file);
    ASSERT_EQ(source.status, 0) << chain.file;
    ASSERT_EQ(source.format.sampleCount, static_cast<std::int64_t>(chain.reference[0].size()))
        << chain.file;
    std::mt19937 random(7);
    const Channels whole = SequentialRead(source, random);
    for (std::size_t c = 0; c < whole.size(); ++c) {
      double worst = 0;
      std::size_t worstAt = 0;
      for (std::size_t i = 0; i < whole[c].size(); ++i) {
        const double difference = std::fabs(whole[c][i] - chain.reference[c][i]);
        if (difference > worst) {
          worst = difference;
          worstAt = i;
        }
      }
      EXPECT_LE(worst, chain.tolerance) << chain.file << " channel " << c << " at " << worstAt;
    }
  }
}

// Reads in an order that jumps back and forth between the parts give the same sound: inside
// the second part, across the join, at the end and again at the start.
TEST(AudioReadingOfOgg, ReadsInsideAChainSoundAsThePartsOwnDecoders) {
  for (const Chain& chain : Chains()) {
    SCOPED_TRACE(chain.file);
    OpenedSource source(kFixtures + "/" + chain.file);
    ASSERT_EQ(source.status, 0);
    const std::int64_t length = static_cast<std::int64_t>(chain.reference[0].size());
    ASSERT_EQ(source.format.sampleCount, length);
    const std::int64_t join = chain.join;
    const std::vector<std::pair<std::int64_t, std::int64_t>> reads{{join + 27778, 4096},
                                                                   {join + 10, 3000},
                                                                   {join + 7778, 1},
                                                                   {join - 1222, 2500},
                                                                   {length - 543, 1000},
                                                                   {5000, 7000},
                                                                   {join - 300, 20000},
                                                                   {join - 122, 300},
                                                                   {0, 1024},
                                                                   {join + 9000, 1},
                                                                   {join + 9001, 12000},
                                                                   {join - 128, 128},
                                                                   {join, 1},
                                                                   {length - 16543, 16543}};
    for (const auto& [start, frames] : reads) {
      ExpectSamples(source, chain.reference, start, frames, chain.tolerance);
    }
  }
}

// A chain whose second part changes the rate or the channel count: the first part's sound,
// 22,222 frames as made and as GStreamer and libvorbis decode it, then nothing (never the later
// parts at a wrong rate or with their channels misplaced).
TEST(AudioReadingOfOgg, AChainEndsWhereAPartChangesRateOrChannels) {
  const std::int64_t made = 22222;
  for (const std::string file : {"chained-rates.ogg", "chained-channels.ogg"}) {
    const std::string path = kFixtures + "/" + file;
    ASSERT_EQ(static_cast<std::int64_t>(GStreamerDecode(path).size()), made * 2) << file;
    OpenedSource source(path);
    ASSERT_EQ(source.status, 0) << file;
    EXPECT_EQ(source.format.GetNumChannels(), 2) << file;
    EXPECT_EQ(source.format.sampleRate, 44100) << file;
    EXPECT_EQ(source.format.sampleCount, made) << file;
    const Channels reference = OggdecPartsDecode(path, 2, 1);
    ASSERT_EQ(static_cast<std::int64_t>(reference[0].size()), made) << file;
    ExpectSamples(source, reference, 0, made + 5000, 1.5 / 32768);
    ExpectSamples(source, reference, 20000, 4000, 1.5 / 32768);
    ExpectSamples(source, reference, 100, 1000, 1.5 / 32768);
  }
}

INSTANTIATE_TEST_SUITE_P(Fixtures, AudioReading, ::testing::ValuesIn(Fixtures()),
                         [](const ::testing::TestParamInfo<Fixture>& info) {
                           return kiva::test::TestNameFromFile(info.param.file);
                         });

}  // namespace
