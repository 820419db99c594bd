// The media port's toolbox over FFmpeg's libraries.
#pragma once

#include "../Toolbox.h"

namespace kiva::qt::media::ffmpeg {

class FFmpegToolbox final : public Toolbox {
 public:
  OSErr GetVersion(std::int32_t& response) override;
  // Routes FFmpeg's log into the host's trace.
  OSErr Start() override;
  // Gives FFmpeg's log back to its default handler.
  void Stop() override;
  OSErr NewMovieFromPath(const std::string& path, std::unique_ptr<Movie>& movie) override;
  std::string GetCompressionName(std::uint32_t formatCode) override;
  OSErr CreateMovieStorage(const std::string& path,
                           std::unique_ptr<MovieStorage>& storage) override;
  OSErr OpenAudioCompressor(std::unique_ptr<AudioCompressor>& compressor) override;
  // One importer per demuxer, then the exporters.
  std::vector<std::shared_ptr<Component>> GetComponents() override;
};

}  // namespace kiva::qt::media::ffmpeg
