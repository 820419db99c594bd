#include "BoundedInput.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kiva::qt::media::ffmpeg {

namespace {

// As large as the buffer of FFmpeg's own file reader.
constexpr int kBufferSize = 32 * 1024;

// The file under one input context, and the bound of the step in progress. The context owns
// it (the AVIOContext's opaque) through FormatContextDeleter.
struct BoundedFile {
  int descriptor = -1;
  // Read once: WAV's demuxer asks for the size at every chunk, and FFmpeg's own file reader
  // answers each time with a system call, which made its walk over zeros ten times slower.
  std::int64_t size = -1;
  std::int64_t stepBytes = 0;
  std::chrono::steady_clock::time_point stepStart = std::chrono::steady_clock::now();
  bool stepCut = false;  // a read of this step was refused

  ~BoundedFile() {
    if (descriptor >= 0) ::close(descriptor);
  }
  void BeginStep() {
    stepBytes = 0;
    stepStart = std::chrono::steady_clock::now();
    stepCut = false;
  }
  bool StepSpent() {
    stepCut = stepCut || stepBytes > kStepBytes ||
              std::chrono::steady_clock::now() - stepStart > kStepTime;
    return stepCut;
  }
};

int ReadPart(void* opaque, std::uint8_t* buffer, int size) {
  auto& file = *static_cast<BoundedFile*>(opaque);
  if (file.StepSpent()) return AVERROR_EXIT;
  ssize_t got = 0;
  do {
    got = ::read(file.descriptor, buffer, static_cast<std::size_t>(size));
  } while (got < 0 && errno == EINTR);
  if (got < 0) return AVERROR(errno);
  if (got == 0) return AVERROR_EOF;
  file.stepBytes += got;
  return static_cast<int>(got);
}

std::int64_t SeekTo(void* opaque, std::int64_t offset, int whence) {
  auto& file = *static_cast<BoundedFile*>(opaque);
  if (whence == AVSEEK_SIZE) return file.size >= 0 ? file.size : AVERROR(ENOSYS);
  const off_t at = ::lseek(file.descriptor, offset, whence & ~AVSEEK_FORCE);
  return at < 0 ? AVERROR(errno) : at;
}

void FreeIO(AVIOContext* io) {
  if (io == nullptr) return;
  delete static_cast<BoundedFile*>(io->opaque);
  av_freep(&io->buffer);
  avio_context_free(&io);
}

// The file and step bound of an input opened here; null for any other.
BoundedFile* FileOf(AVFormatContext* format) {
  return format != nullptr ? static_cast<BoundedFile*>(format->opaque) : nullptr;
}

void BeginStep(AVFormatContext* format) {
  if (BoundedFile* file = FileOf(format)) file->BeginStep();
}

}  // namespace

// Inputs opened here are the only ones with custom I/O: theirs is freed with them.
void FormatContextDeleter::operator()(AVFormatContext* context) const {
  AVIOContext* io = (context->flags & AVFMT_FLAG_CUSTOM_IO) != 0 ? context->pb : nullptr;
  avformat_close_input(&context);
  FreeIO(io);
}

int OpenBoundedInput(const std::string& path, const AVInputFormat* demuxer, AVDictionary** options,
                     FormatContextPtr& format) {
  auto file = std::make_unique<BoundedFile>();
  file->descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file->descriptor < 0) return AVERROR(errno);
  struct stat status {};
  if (::fstat(file->descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
    file->size = status.st_size;
  }
  // A pipe or a terminal is read as a stream: no size, no seeking.
  const bool seekable = file->size >= 0;
  auto* buffer = static_cast<std::uint8_t*>(av_malloc(kBufferSize));
  if (buffer == nullptr) return AVERROR(ENOMEM);
  AVIOContext* io = avio_alloc_context(buffer, kBufferSize, 0, file.get(), ReadPart, nullptr,
                                       seekable ? SeekTo : nullptr);
  if (io == nullptr) {
    av_free(buffer);
    return AVERROR(ENOMEM);
  }
  BoundedFile* bound = file.release();  // the I/O context holds it from here
  AVFormatContext* raw = avformat_alloc_context();
  if (raw == nullptr) {
    FreeIO(io);
    return AVERROR(ENOMEM);
  }
  raw->pb = io;
  raw->flags |= AVFMT_FLAG_CUSTOM_IO;
  raw->opaque = bound;
  bound->BeginStep();
  // On failure FFmpeg frees the context but leaves custom I/O to its owner.
  if (const int result = avformat_open_input(&raw, path.c_str(), demuxer, options); result < 0) {
    FreeIO(io);
    return result;
  }
  format.reset(raw);
  return 0;
}

std::int64_t CurrentFileSize(AVFormatContext* format) {
  const BoundedFile* file = FileOf(format);
  struct stat status {};
  if (file == nullptr || ::fstat(file->descriptor, &status) != 0) return -1;
  return status.st_size;
}

int FindStreamInfo(AVFormatContext* format) {
  BeginStep(format);
  return avformat_find_stream_info(format, nullptr);
}

int ReadFrame(AVFormatContext* format, AVPacket* packet) {
  BeginStep(format);
  const int result = av_read_frame(format, packet);
  // What a parser hands over when its input is cut off is the unframed rest it held (zeros
  // taken for the start of a frame): not a packet of the file.
  if (const BoundedFile* file = FileOf(format); result >= 0 && file != nullptr && file->stepCut) {
    av_packet_unref(packet);
    return AVERROR_EXIT;
  }
  return result;
}

int SeekFrame(AVFormatContext* format, int streamIndex, std::int64_t timestamp, int flags) {
  BeginStep(format);
  return av_seek_frame(format, streamIndex, timestamp, flags);
}

int SeekFile(AVFormatContext* format, int streamIndex, std::int64_t lowest, std::int64_t timestamp,
             std::int64_t highest, int flags) {
  BeginStep(format);
  return avformat_seek_file(format, streamIndex, lowest, timestamp, highest, flags);
}

}  // namespace kiva::qt::media::ffmpeg
