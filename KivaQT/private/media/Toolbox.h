// The module-wide face of the media layer: its version and its start and stop. The plug-in's
// logic reaches the media layer only through the port objects in this directory; the FFmpeg
// adapter implements them for the product and a scriptable fake for the tests.
#pragma once

#include "AudioCompressor.h"
#include "Component.h"
#include "MediaStatus.h"
#include "Movie.h"
#include "MovieStorage.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kiva::qt::media {

class Toolbox {
 public:
  virtual ~Toolbox() = default;

  // The media layer's packed version, major << 16 | minor << 8 | micro.
  virtual OSErr GetVersion(std::int32_t& response) = 0;
  // Makes the media layer ready for use; 0 on success.
  virtual OSErr Start() = 0;
  // Releases what Start set up. Safe to call without a Start before it.
  virtual void Stop() = 0;

  // Opens the movie in the file at `path` (UTF-8). Errors: kFileNotFoundErr, kPermissionErr,
  // kIOErr, kMemFullErr, kInvalidMovieErr.
  virtual OSErr NewMovieFromPath(const std::string& path, std::unique_ptr<Movie>& movie) = 0;

  // Creates the file at `path` (UTF-8) for a new movie, replacing any file there.
  virtual OSErr CreateMovieStorage(const std::string& path,
                                   std::unique_ptr<MovieStorage>& storage) = 0;

  // A new standard audio compressor.
  virtual OSErr OpenAudioCompressor(std::unique_ptr<AudioCompressor>& compressor) = 0;

  // The name of a coding by its four-character code ("" when unknown).
  virtual std::string GetCompressionName(std::uint32_t formatCode) = 0;

  // Every installed component, in the media layer's own order.
  virtual std::vector<std::shared_ptr<Component>> GetComponents() = 0;

  // The installed components that answer `search`, in the media layer's order.
  std::vector<std::shared_ptr<Component>> FindComponents(const ComponentDescription& search);
};

// The oldest media layer the plug-in works with (FFmpeg 5: libavformat 59).
inline constexpr std::int32_t kMinimumMediaLayerVersion = 59 << 16;

// The toolbox of this build (defined by the adapter the plug-in is linked with).
Toolbox& DefaultToolbox();

}  // namespace kiva::qt::media
