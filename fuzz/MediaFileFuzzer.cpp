// Fuzzes the reading road with whole files: the input is written to a file and a host's usual
// requests follow (open, format, audio at the start, middle, end and past the end, a few video
// frames at small sizes, close). Whatever the bytes, every request must come back with one of
// the answers the plug-in documents, and in a file of one audio stream, audio past the reported
// length must be silence.

#include "FuzzHost.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace kiva;
using kiva::fuzz::Call;
using kiva::fuzz::Check;

constexpr std::int64_t kReadFrames = 64;

// One file per process, so that parallel fuzzing jobs never share one.
const std::string& InputPath() {
  static const std::string path = [] {
    std::string name = "/tmp/kivaqt-media-fuzz-" + std::to_string(getpid());
    std::atexit([] { std::remove(InputPath().c_str()); });
    return name;
  }();
  return path;
}

bool WriteInput(const std::uint8_t* data, std::size_t size) {
  std::FILE* file = std::fopen(InputPath().c_str(), "wb");
  if (file == nullptr) return false;
  // An empty input may come without any buffer at all (a replay of an empty file).
  const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
  return std::fclose(file) == 0 && written;
}

// The reported length counts every stream in its own rate and the longest wins, while the audio
// comes at the last stream's rate: with streams of different rates, audio may go on past the
// reported length. The description names the stream count when there are several.
bool HasSeveralStreams(const kivahost::HostOpen& open) {
  return open.description.find(" streams)") != std::string::npos;
}

void ReadAudio(void* handle, const kivahost::HostFormat& format, bool silenceAfterLength) {
  std::vector<std::vector<float>> planes(format.labels.size(), std::vector<float>(kReadFrames));
  std::vector<float*> buffers;
  for (auto& plane : planes) buffers.push_back(plane.data());
  const std::int64_t length = format.sampleCount;
  for (const std::int64_t start :
       {std::int64_t{0}, length / 2, length - kReadFrames / 2, length + 1000}) {
    if (start < 0) continue;
    for (auto& plane : planes) std::fill(plane.begin(), plane.end(), 1.0f);
    kivahost::HostReadSamples read(start, kReadFrames, buffers);
    const int status = Call(kSelReadSamples, handle, &read);
    Check(status == kKivaSuccess || status == kKivaReadAudioFailed);
    if (status != kKivaSuccess) continue;
    Check(read.framesRead == kReadFrames);
    if (!silenceAfterLength) continue;
    // Past the reported length there is nothing but silence.
    for (const auto& plane : planes) {
      for (std::int64_t f = std::max<std::int64_t>(length - start, 0); f < kReadFrames; ++f) {
        Check(plane[static_cast<std::size_t>(f)] == 0.0f);
      }
    }
  }
}

void ReadFrames(void* handle, const kivahost::VideoStreamFacts& video) {
  struct Size {
    int width;
    int height;
  };
  const int last = std::max(video.frameCount - 1, 0);
  for (const Size size : {Size{16, 16}, Size{64, 36}, Size{1, 1}}) {
    for (const int index : {0, last / 2, last}) {
      std::vector<char> pixels(static_cast<std::size_t>(size.width * size.height * 4));
      kivahost::HostReadVideoFrame request(index, size.width, size.height, pixels.data());
      const int status = Call(kSelReadVideoFrame, handle, &request);
      // A stream of no size has no picture to give; any other gives a frame or fails plainly.
      if (std::int64_t{video.width} * video.height == 0) {
        Check(status == kKivaNoVideo);
      } else {
        Check(status == kKivaSuccess || status == kKivaGeneralError);
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool started = (fuzz::StartPlugIn(), true);
  (void)started;
  if (!WriteInput(data, size)) return 0;

  kivahost::HostOpen open(InputPath());
  const int opened = Call(kSelOpenForRead, nullptr, &open);
  Check(opened == kKivaSuccess || opened == kKivaGeneralError || opened == kKivaCannotOpen);
  if (opened != kKivaSuccess) return 0;
  Check(open.source != nullptr);

  kivahost::HostFormat format;
  Check(Call(kSelGetFormat, open.source, &format) == kKivaSuccess);
  Check(format.sampleCount >= 0);
  ReadAudio(open.source, format, !HasSeveralStreams(open));
  if (format.video.facts.streamCount > 0) ReadFrames(open.source, format.video.facts);
  Check(Call(kSelCloseForRead, open.source, nullptr) == kKivaSuccess);
  return 0;
}
