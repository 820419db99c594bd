#include "FFmpegAudioExtraction.h"

#include <algorithm>

namespace kiva::qt::media::ffmpeg {

AudioStreamBasicDescription ExtractionFormat(int channels, int rate) {
  AudioStreamBasicDescription format;
  format.mSampleRate = rate;
  format.mFormatID = kAudioFormatLinearPCM;
  format.mFormatFlags =
      kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked | kAudioFormatFlagIsNonInterleaved;
  format.mBytesPerPacket = 4;
  format.mFramesPerPacket = 1;
  format.mBytesPerFrame = 4;
  format.mChannelsPerFrame = static_cast<std::uint32_t>(channels);
  format.mBitsPerChannel = 32;
  return format;
}

namespace {

int TotalChannels(const std::vector<TimelineTrack>& tracks) {
  int channels = 0;
  for (const auto& track : tracks) channels += track.facts->channels;
  return channels;
}

}  // namespace

FFmpegAudioExtraction::FFmpegAudioExtraction(
    const std::string& path, std::shared_ptr<const std::vector<AudioStreamFacts>> facts,
    const std::vector<TimelineTrack>& tracks, int outputRate)
    : AudioExtraction(ExtractionFormat(TotalChannels(tracks), outputRate)),
      facts(std::move(facts)) {
  std::size_t channel = 0;
  for (const auto& track : tracks) {
    Placed entry;
    auto native = std::make_unique<AudioStreamReader>(path, *track.facts);
    if (track.facts->sampleRate == outputRate) {
      entry.length = native->Length();
      entry.offset = track.offset;
      entry.native = std::move(native);
    } else {
      entry.resampled = std::make_unique<ResampledStreamReader>(std::move(native), outputRate);
      entry.length = entry.resampled->Length();
      entry.offset =
          av_rescale_rnd(track.offset, outputRate, track.facts->sampleRate, AV_ROUND_NEAR_INF);
    }
    entry.firstChannel = channel;
    entry.channels = static_cast<std::size_t>(track.facts->channels);
    channel += entry.channels;
    length = std::max(length, entry.offset + entry.length);
    placed.push_back(std::move(entry));
  }
}

OSErr FFmpegAudioExtraction::ReadFrames(std::int64_t start, std::int64_t frames,
                                        const std::vector<float*>& channels) {
  for (auto& track : placed) {
    const std::int64_t from = std::max(start, track.offset);
    const std::int64_t to = std::min(start + frames, track.offset + track.length);
    std::vector<float*> destinations(track.channels, nullptr);
    for (std::size_t c = 0; c < track.channels; ++c) {
      float* channel = channels[track.firstChannel + c];
      if (channel == nullptr) continue;
      // Silence wherever this track has no media (the reader fills the rest).
      if (to <= from) {
        std::fill(channel, channel + frames, 0.0f);
        continue;
      }
      std::fill(channel, channel + (from - start), 0.0f);
      std::fill(channel + (to - start), channel + frames, 0.0f);
      destinations[c] = channel + (from - start);
    }
    if (to <= from ||
        std::all_of(destinations.begin(), destinations.end(), [](float* p) { return !p; })) {
      continue;
    }
    const OSErr error = track.native
                            ? track.native->Read(from - track.offset, to - from, destinations)
                            : track.resampled->Read(from - track.offset, to - from, destinations);
    if (error != kNoErr) return error;
  }
  return kNoErr;
}

}  // namespace kiva::qt::media::ffmpeg
