#include "ResampledStreamReader.h"

extern "C" {
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cstring>
#include <numeric>

namespace kiva::qt::media::ffmpeg {

namespace {

constexpr std::int64_t kInputBlock = 4096;
constexpr std::int64_t kFilterReach = 32;  // input frames the default filter looks back
constexpr std::int64_t kWidestRatio = 64;

}  // namespace

ResampledStreamReader::ResampledStreamReader(std::unique_ptr<AudioStreamReader> source,
                                             int outputRate)
    : source(std::move(source)), outputRate(outputRate) {
  const std::int64_t inputRate = this->source->SampleRate();
  const std::int64_t divisor = std::gcd(inputRate, static_cast<std::int64_t>(outputRate));
  inputPeriod = inputRate / divisor;
  outputPeriod = outputRate / divisor;
  av_channel_layout_default(&layout, this->source->Channels());
  // Channels pass through unmixed: an unspecified layout of the same count on both sides.
  layout.order = AV_CHANNEL_ORDER_UNSPEC;
}

ResampledStreamReader::~ResampledStreamReader() { av_channel_layout_uninit(&layout); }

bool ResampledStreamReader::Converts(std::int64_t fromRate, std::int64_t toRate) {
  return fromRate > 0 && toRate > 0 && fromRate <= toRate * kWidestRatio &&
         toRate <= fromRate * kWidestRatio;
}

std::int64_t ResampledStreamReader::Length() const {
  return av_rescale_rnd(source->Length(), outputRate, source->SampleRate(), AV_ROUND_UP);
}

OSErr ResampledStreamReader::Restart(std::int64_t outputStart) {
  // Enough whole periods back to cover the filter's reach (more when reducing the rate).
  const std::int64_t reach = std::max<std::int64_t>(
      kFilterReach, kFilterReach * source->SampleRate() / std::max(outputRate, 1));
  const std::int64_t periodsBack = (reach + inputPeriod - 1) / inputPeriod + 1;
  const std::int64_t period = std::max<std::int64_t>(0, outputStart / outputPeriod - periodsBack);
  SwrContext* raw = nullptr;
  if (swr_alloc_set_opts2(&raw, &layout, AV_SAMPLE_FMT_FLTP, outputRate, &layout,
                          AV_SAMPLE_FMT_FLTP, source->SampleRate(), 0, nullptr) < 0) {
    return kMemFullErr;
  }
  resampler.reset(raw);
  if (swr_init(resampler.get()) < 0) return kInvalidMovieErr;
  inputPosition = period * inputPeriod;
  nextOutput = period * outputPeriod;
  pendingFrames = 0;
  drained = false;
  started = true;
  return kNoErr;
}

OSErr ResampledStreamReader::Produce(bool& ended) {
  ended = false;
  const auto channels = static_cast<std::size_t>(source->Channels());
  const std::int64_t remaining = source->Length() - inputPosition;
  // A raise takes fewer input frames at a time, so that each turn makes about a block of output.
  const std::int64_t block = std::max<std::int64_t>(
      1, kInputBlock * std::min<std::int64_t>(source->SampleRate(), outputRate) / outputRate);
  const std::int64_t frames = std::clamp<std::int64_t>(remaining, 0, block);
  if (frames == 0 && drained) {
    ended = true;
    return kNoErr;
  }
  input.resize(channels);
  std::vector<float*> inputPlanes(channels);
  for (std::size_t c = 0; c < channels; ++c) {
    input[c].resize(static_cast<std::size_t>(frames));
    inputPlanes[c] = input[c].data();
  }
  if (frames > 0) {
    if (const OSErr error = source->Read(inputPosition, frames, inputPlanes); error != kNoErr) {
      return error;
    }
  }
  const int capacity = swr_get_out_samples(resampler.get(), static_cast<int>(frames)) + 16;
  pending.resize(channels);
  std::vector<std::uint8_t*> outputPlanes(channels);
  for (std::size_t c = 0; c < channels; ++c) {
    pending[c].resize(static_cast<std::size_t>(capacity));
    outputPlanes[c] = reinterpret_cast<std::uint8_t*>(pending[c].data());
  }
  std::vector<const std::uint8_t*> planes(channels);
  for (std::size_t c = 0; c < channels; ++c) {
    planes[c] = reinterpret_cast<const std::uint8_t*>(inputPlanes[c]);
  }
  // At the end of the input the resampler gives back what its filter still holds.
  const int produced =
      frames > 0 ? swr_convert(resampler.get(), outputPlanes.data(), capacity, planes.data(),
                               static_cast<int>(frames))
                 : swr_convert(resampler.get(), outputPlanes.data(), capacity, nullptr, 0);
  if (produced < 0) return kInvalidMovieErr;
  if (frames == 0) drained = true;
  inputPosition += frames;
  pendingStart = nextOutput;
  pendingFrames = produced;
  nextOutput += produced;
  return kNoErr;
}

OSErr ResampledStreamReader::Read(std::int64_t start, std::int64_t count,
                                  const std::vector<float*>& out) {
  for (float* channel : out) {
    if (channel != nullptr) std::fill(channel, channel + count, 0.0f);
  }
  const std::int64_t wantEnd = std::min(start + count, Length());
  if (wantEnd <= start) return kNoErr;
  const bool inPending =
      started && pendingFrames > 0 && start >= pendingStart && start < pendingStart + pendingFrames;
  if (!started || (!inPending && start != nextOutput) || start < pendingStart) {
    if (const OSErr error = Restart(start); error != kNoErr) return error;
  }
  std::int64_t cursor = start;
  while (cursor < wantEnd) {
    if (pendingFrames > 0 && cursor >= pendingStart && cursor < pendingStart + pendingFrames) {
      const std::int64_t offset = cursor - pendingStart;
      const std::int64_t frames = std::min(pendingStart + pendingFrames, wantEnd) - cursor;
      for (std::size_t c = 0; c < out.size() && c < pending.size(); ++c) {
        if (out[c] == nullptr) continue;
        std::memcpy(out[c] + (cursor - start), pending[c].data() + offset,
                    static_cast<std::size_t>(frames) * sizeof(float));
      }
      cursor += frames;
      continue;
    }
    bool ended = false;
    if (const OSErr error = Produce(ended); error != kNoErr) return error;
    if (ended) break;
  }
  return kNoErr;
}

}  // namespace kiva::qt::media::ffmpeg
