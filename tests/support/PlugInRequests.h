// A file read through the plug-in's entry point the way a host reads it, request by request,
// with every answer kept: the reliability tests repeat the same requests under other
// conditions (other threads, many times over) and compare or count.
#pragma once

#include "HostRecords.h"
#include "KivaQTInterface.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace kiva::test {

// One request as the bundle's KivaInterface serves it: a fresh interface object per call.
inline int CallPlugIn(int selector, void* handle, void* record) {
  KivaQTInterface kivaInterface;
  return kivaInterface.EntryPoint(selector, handle, record);
}

// What one request returned: its status and the bytes it wrote (audio planes one after the
// other, or a frame's pixels).
struct Answer {
  int status = 0;
  std::int64_t framesRead = 0;
  std::vector<char> bytes;
  bool operator==(const Answer&) const = default;
};

class PlugInFile {
 public:
  explicit PlugInFile(const std::string& path) : open(path) {
    openStatus = CallPlugIn(kSelOpenForRead, nullptr, &open);
    if (openStatus == kKivaSuccess) {
      formatStatus = CallPlugIn(kSelGetFormat, open.source, &format);
    }
  }
  ~PlugInFile() {
    if (openStatus == kKivaSuccess) CallPlugIn(kSelCloseForRead, open.source, nullptr);
  }
  PlugInFile(const PlugInFile&) = delete;
  PlugInFile& operator=(const PlugInFile&) = delete;

  bool IsOpen() const { return openStatus == kKivaSuccess && formatStatus == kKivaSuccess; }
  std::int32_t Channels() const { return static_cast<std::int32_t>(format.labels.size()); }
  std::int64_t Length() const { return format.sampleCount; }
  bool HasVideo() const { return format.video.facts.streamCount > 0; }
  int FrameCount() const { return format.video.facts.frameCount; }

  // Frames [start, start + frames) of every channel; the buffers start out filled with a value
  // no decoder gives here, so that a frame left unwritten shows.
  Answer Read(std::int64_t start, std::int64_t frames) {
    std::vector<std::vector<float>> planes(
        static_cast<std::size_t>(Channels()),
        std::vector<float>(static_cast<std::size_t>(frames), -7.0f));
    std::vector<float*> buffers;
    for (auto& plane : planes) buffers.push_back(plane.data());
    kivahost::HostReadSamples read(start, frames, buffers);
    Answer answer;
    answer.status = CallPlugIn(kSelReadSamples, open.source, &read);
    answer.framesRead = read.framesRead;
    for (const auto& plane : planes) {
      const auto* first = reinterpret_cast<const char*>(plane.data());
      answer.bytes.insert(answer.bytes.end(), first, first + plane.size() * sizeof(float));
    }
    return answer;
  }

  // Frame `index` at width x height (B, G, R, A bytes, rows packed).
  Answer Frame(int index, int width, int height) {
    Answer answer;
    answer.bytes.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4, 0);
    kivahost::HostReadVideoFrame request(index, width, height, answer.bytes.data());
    answer.status = CallPlugIn(kSelReadVideoFrame, open.source, &request);
    return answer;
  }

  kivahost::HostOpen open;
  kivahost::HostFormat format;
  int openStatus = -100;
  int formatStatus = -100;
};

// The format of an export of 16-bit stereo (left, right) at `rate`, `frames` long.
inline void DescribeStereoExport(kivahost::HostFormat& format, std::int32_t rate,
                                 std::int64_t frames) {
  format.SetNumChannels(2);
  format.SetChannelLabel(0, 100);
  format.SetChannelLabel(1, 101);
  format.sampleRate = rate;
  format.sampleType = 20;  // 16-bit
  format.sampleCount = frames;
}

// One export of 16-bit stereo through WriteStart, WriteSamples in blocks and FinishWrite, as a
// host writes one; `settings` picks the catalogue entry ("FormatIndex:0:<n>;"). Returns the
// first status that is not success, or 0.
inline int ExportThroughPlugIn(const std::string& path, const std::u16string& settings,
                               const std::vector<std::vector<std::int16_t>>& planes,
                               std::int64_t block = 4096) {
  const auto frames = static_cast<std::int64_t>(planes[0].size());
  kivahost::HostFormat format;
  DescribeStereoExport(format, 48000, frames);
  format.privateSettings = settings;
  kivahost::HostWriteStart start(path, format);
  if (const int status = CallPlugIn(kSelWriteStart, nullptr, &start); status != kKivaSuccess) {
    return status;
  }
  int result = kKivaSuccess;
  for (std::int64_t position = 0; position < frames && result == kKivaSuccess; position += block) {
    const std::int64_t count = std::min(block, frames - position);
    kivahost::HostWriteSamples samples(position, count,
                                       {const_cast<std::int16_t*>(planes[0].data() + position),
                                        const_cast<std::int16_t*>(planes[1].data() + position)},
                                       format);
    result = CallPlugIn(kSelWriteSamples, start.handle, &samples);
  }
  kivahost::HostFinishWrite finish(format);
  const int finished = CallPlugIn(kSelFinishWrite, start.handle, &finish);
  return result != kKivaSuccess ? result : finished;
}

// Two channels of different tones, `frames` long.
inline std::vector<std::vector<std::int16_t>> StereoTones(std::int64_t frames) {
  std::vector<std::vector<std::int16_t>> planes(
      2, std::vector<std::int16_t>(static_cast<std::size_t>(frames)));
  for (std::size_t f = 0; f < planes[0].size(); ++f) {
    planes[0][f] = static_cast<std::int16_t>((f * 97) % 20000 - 10000);
    planes[1][f] = static_cast<std::int16_t>((f * 31) % 16000 - 8000);
  }
  return planes;
}

}  // namespace kiva::test
