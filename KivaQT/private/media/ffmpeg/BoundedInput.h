// Files opened and read through FFmpeg in bounded steps, so that no open or read can run on
// for minutes over what is not media: a recording preallocated to gigabytes and stopped early
// leaves its sound followed by zeros, which FFmpeg would walk to the end looking for chunks
// (WAV) or frame headers (MP3, ADTS).
//
// The rule: every step the adapter asks of FFmpeg (opening a file and reading its header,
// finding its stream information, reading one packet, one seek) may read at most kStepBytes
// and run for at most kStepTime. The first read past either is refused as interrupted
// (AVERROR_EXIT), which FFmpeg takes as the end of the file: a header keeps what it had found,
// a scan stops at the last packet it read. A step that yields a packet has made progress, so
// a long file read packet by packet is never cut, however long the whole read takes.
#pragma once

#include "FFmpegPtr.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace kiva::qt::media::ffmpeg {

// 64 MiB is the bound on bytes: far above the largest single read of real media (a movie's
// sample tables for hours of video, cover art in a tag, a raw video frame), and walked through
// in about a second by the slowest search over zeros measured (WAV's chunk walk, 8 bytes at a
// time). 5 s bounds steps that read slowly: more than any of these takes on a busy machine.
inline constexpr std::int64_t kStepBytes = std::int64_t{64} << 20;
inline constexpr std::chrono::seconds kStepTime{5};

// Opens `path` as avformat_open_input does (with `demuxer` and `options` passed on), reading
// the file through the bounded reader. Returns FFmpeg's result; `format` is set on success.
int OpenBoundedInput(const std::string& path, const AVInputFormat* demuxer, AVDictionary** options,
                     FormatContextPtr& format);

// The steps, each with a fresh bound: FFmpeg's calls of the same names.
int FindStreamInfo(AVFormatContext* format);
// The size the file of an input opened here has now (it is read once at open for the
// demuxers); -1 for any other input, or when it cannot be learned.
std::int64_t CurrentFileSize(AVFormatContext* format);
int ReadFrame(AVFormatContext* format, AVPacket* packet);
int SeekFrame(AVFormatContext* format, int streamIndex, std::int64_t timestamp, int flags);
int SeekFile(AVFormatContext* format, int streamIndex, std::int64_t lowest, std::int64_t timestamp,
             std::int64_t highest, int flags);

}  // namespace kiva::qt::media::ffmpeg
