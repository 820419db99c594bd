// Owning pointers for FFmpeg's objects; every one is freed through its own release call.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/vorbis_parser.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <memory>

namespace kiva::qt::media::ffmpeg {

// Closes an input with the file it reads (BoundedInput.cpp).
struct FormatContextDeleter {
  void operator()(AVFormatContext* context) const;
};
struct CodecContextDeleter {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameDeleter {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketDeleter {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct SwrContextDeleter {
  void operator()(SwrContext* context) const { swr_free(&context); }
};
struct IOContextDeleter {
  void operator()(AVIOContext* context) const { avio_closep(&context); }
};
struct CodecParametersDeleter {
  void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};
struct VorbisParseDeleter {
  void operator()(AVVorbisParseContext* context) const { av_vorbis_parse_free(&context); }
};

using FormatContextPtr = std::unique_ptr<AVFormatContext, FormatContextDeleter>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using SwrContextPtr = std::unique_ptr<SwrContext, SwrContextDeleter>;
using IOContextPtr = std::unique_ptr<AVIOContext, IOContextDeleter>;
using CodecParametersPtr = std::unique_ptr<AVCodecParameters, CodecParametersDeleter>;
using VorbisParsePtr = std::unique_ptr<AVVorbisParseContext, VorbisParseDeleter>;

// A packet unreferenced when the scope ends, so that every early return releases its data.
class PacketReference {
 public:
  explicit PacketReference(AVPacket* packet) : packet(packet) {}
  ~PacketReference() { av_packet_unref(packet); }
  PacketReference(const PacketReference&) = delete;
  PacketReference& operator=(const PacketReference&) = delete;

 private:
  AVPacket* packet;
};

}  // namespace kiva::qt::media::ffmpeg
