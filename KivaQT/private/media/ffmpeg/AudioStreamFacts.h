// What the adapter learns about one audio stream when a file is opened: where its sample 0 is,
// how many frames it truly has, and how its decoded samples can be placed after a seek.
#pragma once

#include "FFmpegPtr.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kiva::qt::media::ffmpeg {

struct AudioStreamFacts {
  // The demuxer the file was opened with: later opens skip format probing.
  const AVInputFormat* demuxer = nullptr;
  int streamIndex = -1;
  CodecParametersPtr parameters;  // as found at open; every decoder is made from these
  AVRational timeBase{0, 1};
  int sampleRate = 0;
  int channels = 0;
  // Packet timestamps place decoded frames exactly (the time base counts whole samples of this
  // rate, and the format is not one whose timestamps drift). Otherwise positions come from an
  // index of decoded sample counts, built on the first read that needs it.
  bool exactTimestamps = false;
  std::int64_t origin = 0;  // timestamp of sample 0, in timeBase
  std::int64_t length = 0;  // frames of the stream's true length
  // Frames a decode gives past `length`, up to this (-1: none): a movie's last packet that its
  // table of durations cuts short of its track's declared end.
  std::int64_t decodedLength = -1;
  // Frames to decode ahead of a wanted position so that the decoder's state has settled.
  std::int64_t preroll = 0;
  // An MP3 whose gapless tag the demuxer missed (bytes before its first frame) hands the tag's
  // frame over as sound: that packet, at this byte position, is dropped, and the decoder is
  // told to drop `tagSkip` frames (the encoder's and decoder's delay) from the output of the
  // packet at `firstSoundPosition`. -1: nothing to drop.
  std::int64_t tagFramePosition = -1;
  std::int64_t firstSoundPosition = -1;
  std::uint32_t tagSkip = 0;
  // Ogg files joined one after the other: each part brings its own headers (Vorbis passes them
  // to the decoder among the packets) and counts its timestamps from 0 again, so positions come
  // from decoded counts and a seek enters a part at its start.
  bool chained = false;
  // Where each part of a chain ends, in frames from the stream's start (empty: not known): each
  // part is decoded on its own, and what its decoder gives past its part's end is dropped.
  std::vector<std::int64_t> partEnds;
  // The file's size when it was opened (-1: not a file): a file found shorter later was cut
  // while it was being read.
  std::int64_t fileSize = -1;
};

// A packet that carries a coding's headers inside a chained Ogg stream (Vorbis), where a new
// part begins. `opensPart` when the packet is the first of a part: its identification header,
// or (Opus, whose headers the demuxer reads itself) the packet marked with the part's pre-skip,
// as the stream's very first packet is too.
bool IsChainHeader(const AVPacket& packet, bool& opensPart);

// Linear PCM of any sample format.
bool IsPcm(AVCodecID id);

// Demuxes only stream `index` of `format`; the others are dropped unread (audio and video
// readers alike).
void KeepOnlyStream(AVFormatContext* format, int index);

// Facts of every decodable audio stream of `format`, which must have been opened with stream
// information. Formats that do not declare an exact length are scanned packet by packet once
// (no decoding); the scan leaves `format` positioned at its end.
std::vector<AudioStreamFacts> StudyAudioStreams(AVFormatContext* format);

// A decoder for a stream, opened with the options that keep its output reproducible; from
// `parameters` where given (a chained part's own headers), else from those found at open.
CodecContextPtr OpenAudioDecoder(const AudioStreamFacts& facts,
                                 const AVCodecParameters* parameters = nullptr);

}  // namespace kiva::qt::media::ffmpeg
