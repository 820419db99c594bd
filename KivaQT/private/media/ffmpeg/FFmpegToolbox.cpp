#include "FFmpegToolbox.h"

#include "FFmpegAudioCompressor.h"
#include "FFmpegExporter.h"
#include "FFmpegFormatCodes.h"
#include "FFmpegImporter.h"
#include "FFmpegMovie.h"
#include "FFmpegMovieStorage.h"
#include "MimeDatabase.h"

#include "../../Trace.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include <array>
#include <cstring>

namespace kiva::qt::media::ffmpeg {

namespace {

// FFmpeg's severities on the host's trace levels: errors show at 3, warnings at 4, information
// at 5 (the plug-in's own level), chatter above.
int TraceLevelFor(int ffmpegLevel) {
  if (ffmpegLevel <= AV_LOG_ERROR) return 3;
  if (ffmpegLevel <= AV_LOG_WARNING) return 4;
  if (ffmpegLevel <= AV_LOG_INFO) return 5;
  return 6;
}

// Called by FFmpeg from any of its threads; the trace facility is thread-safe.
void LogToTrace(void* context, int ffmpegLevel, const char* format, va_list arguments) {
  if (ffmpegLevel > av_log_get_level()) return;
  static std::array<TraceSite, 4> sites{TraceSite(3), TraceSite(4), TraceSite(5), TraceSite(6)};
  TraceSite& site = sites[static_cast<std::size_t>(TraceLevelFor(ffmpegLevel) - 3)];
  if (!site.Enabled()) return;
  char line[1024];
  int printPrefix = 1;
  av_log_format_line2(context, ffmpegLevel, format, arguments, line, sizeof line, &printPrefix);
  // FFmpeg ends most lines with a newline of its own; the trace adds one.
  std::size_t length = std::strlen(line);
  while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r')) line[--length] = 0;
  if (length == 0) return;
  char message[1100];
  std::snprintf(message, sizeof message, "FFmpeg: %s", line);
  WriteTraceLine(site.Level(), message);
}

}  // namespace

OSErr FFmpegToolbox::GetVersion(std::int32_t& response) {
  response = static_cast<std::int32_t>(avformat_version());
  return kNoErr;
}

OSErr FFmpegToolbox::Start() {
  av_log_set_callback(LogToTrace);
  return kNoErr;
}

void FFmpegToolbox::Stop() { av_log_set_callback(av_log_default_callback); }

OSErr FFmpegToolbox::NewMovieFromPath(const std::string& path, std::unique_ptr<Movie>& movie) {
  return FFmpegMovie::Open(path, movie);
}

OSErr FFmpegToolbox::CreateMovieStorage(const std::string& path,
                                        std::unique_ptr<MovieStorage>& storage) {
  return FFmpegMovieStorage::Create(path, storage);
}

OSErr FFmpegToolbox::OpenAudioCompressor(std::unique_ptr<AudioCompressor>& compressor) {
  compressor = std::make_unique<FFmpegAudioCompressor>();
  return kNoErr;
}

std::string FFmpegToolbox::GetCompressionName(std::uint32_t formatCode) {
  return CompressionNameOf(formatCode);
}

std::vector<std::shared_ptr<Component>> FFmpegToolbox::GetComponents() {
  // The linked libraries' formats never change while the module is loaded.
  static const std::vector<std::shared_ptr<Component>> components = [] {
    std::vector<std::shared_ptr<Component>> all = MakeImporters(MimeDatabase::System());
    for (auto& exporter : MakeExporters()) all.push_back(std::move(exporter));
    return all;
  }();
  return components;
}

}  // namespace kiva::qt::media::ffmpeg

namespace kiva::qt::media {

Toolbox& DefaultToolbox() {
  static ffmpeg::FFmpegToolbox toolbox;
  return toolbox;
}

}  // namespace kiva::qt::media
