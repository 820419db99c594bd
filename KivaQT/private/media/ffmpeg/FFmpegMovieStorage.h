// A movie written by FFmpeg's mov muxer (QuickTime files). The stream is described by the
// media's sound format; the header goes out with the first samples (or at the end of an empty
// movie), and the movie's time scale is the sample rate so that its edit list is exact.
#pragma once

#include "FFmpegPtr.h"

#include "../MovieStorage.h"

#include <string>

namespace kiva::qt::media::ffmpeg {

class FFmpegMovieStorage final : public MovieStorage {
 public:
  static OSErr Create(const std::string& path, std::unique_ptr<MovieStorage>& storage);
  ~FFmpegMovieStorage() override;

  OSErr NewSoundTrack() override;
  OSErr NewSoundMedia(std::int32_t timeScale, const SoundFormat& format) override;
  OSErr BeginMediaEdits() override { return kNoErr; }
  OSErr AddMediaSample(const void* data, std::size_t size, std::int64_t durationPerSample,
                       const SoundFormat& format, std::int64_t samples) override;
  OSErr EndMediaEdits() override { return kNoErr; }
  std::int64_t GetMediaDuration() const override { return mediaDuration; }
  OSErr InsertMediaIntoTrack(std::int64_t, std::int64_t, std::int64_t, std::int32_t) override {
    return kNoErr;  // the muxer writes the track's edit from the media
  }
  OSErr AddMovieToStorage() override;
  OSErr Close() override;

 private:
  FFmpegMovieStorage() = default;
  OSErr WriteHeader(bool noSamples = false);

  std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> output{
      nullptr, [](AVFormatContext* context) { avformat_free_context(context); }};
  std::string path;
  AVStream* stream = nullptr;
  SoundFormat format;
  std::int64_t movieAtom = -1;  // where the trailer began the movie header
  std::int32_t timeScale = 0;
  bool headerWritten = false;
  bool trailerWritten = false;
  std::int64_t mediaDuration = 0;
  PacketPtr packet{av_packet_alloc()};
};

// The FFmpeg coding that stores samples described by `description` ('lpcm' by its flags and
// bits, otherwise by format code); AV_CODEC_ID_NONE when there is none.
AVCodecID CodecFor(const AudioStreamBasicDescription& description);

}  // namespace kiva::qt::media::ffmpeg
