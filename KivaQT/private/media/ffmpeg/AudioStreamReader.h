// Sample-accurate reading of one audio stream at its own rate, as float per channel.
//
// Sample 0 is the first sample a freshly opened decoder gives in a sequential decode. A read
// that continues where the last one ended decodes on; any other read seeks back far enough for
// the codec's pre-roll, decodes forward with a fresh decoder and drops what lies before the
// wanted position, which it finds from the frame timestamps where they count samples exactly,
// and otherwise from an index of decoded sample counts made by one full decode the first time
// it is needed.
#pragma once

#include "AudioStreamFacts.h"
#include "FFmpegPtr.h"

#include "../MediaStatus.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace kiva::qt::media::ffmpeg {

class AudioStreamReader {
 public:
  // `facts` must outlive the reader.
  AudioStreamReader(std::string path, const AudioStreamFacts& facts);
  ~AudioStreamReader();
  AudioStreamReader(const AudioStreamReader&) = delete;
  AudioStreamReader& operator=(const AudioStreamReader&) = delete;

  int Channels() const { return facts.channels; }
  int SampleRate() const { return facts.sampleRate; }
  std::int64_t Length() const { return facts.length; }

  // Writes frames [start, start + count) of each channel to out[c][0 .. count); null entries
  // are skipped. Frames the stream does not have are zeros.
  OSErr Read(std::int64_t start, std::int64_t count, const std::vector<float*>& out);

 private:
  // Packets are recognised by their byte position and, as several packets can share one (Ogg
  // pages), by their order among the packets at that position.
  struct PacketKey {
    std::int64_t position = -1;
    std::int64_t ordinal = 0;
    bool operator==(const PacketKey&) const = default;
  };
  struct PacketKeyHash {
    std::size_t operator()(const PacketKey& key) const {
      return std::hash<std::int64_t>()(key.position * 1031 + key.ordinal);
    }
  };
  struct IndexEntry {
    PacketKey key;  // key.position is -1 when unknown
    std::int64_t timestamp = AV_NOPTS_VALUE;
    std::int64_t end = 0;  // decoded frames up to and including this packet
    std::size_t part = 0;  // of a chained stream, counted from 0
    bool header = false;   // a chained part's headers, which produce no frames
    std::int64_t cut = 0;  // frames of its output past its part's end, dropped
  };

  OSErr Open();
  OSErr ResetDecoder();
  OSErr Restart();
  OSErr SeekTo(std::int64_t start, std::int64_t extraPreroll);
  // Positions a chained stream's demuxer at the start of `part`, with a fresh decoder.
  OSErr EnterPart(std::size_t part);
  // Starts decoding a chain's `part` at its first packet. A part sounds as its own file would
  // only with a decoder of its own: one that runs on from the part before joins the two parts'
  // blocks, and keeps its state across the join. The running decoder is drained (its last
  // frames still come out, before the new part's), and a fresh one made from the part's
  // headers.
  OSErr BeginPart(std::size_t part);
  // Receives the next decoded frame into `frame`, from the part being drained first; `part` is
  // the part it belongs to.
  int ReceiveFrame(std::size_t& part);
  // How many of `frames` decoded frames at `position` of a chain's `part` lie before the
  // part's end (all of them elsewhere).
  std::int64_t FramesWithinPart(std::size_t part, std::int64_t position, std::int64_t frames) const;
  // Decodes the next frame into `frame` at `framePosition`. `ended` when there is no more.
  OSErr DecodeNext(bool& ended);
  // Sends the next packet of the stream to the decoder (or the drain request at the end).
  OSErr ReadPacket();
  // Whether a packet of the stream is sound to decode (an MP3's tag frame is not); marks the
  // samples the decoder is to drop where the demuxer did not.
  bool Admit(AVPacket& read) const;
  // Converts a decoded frame to float into one plane per channel (null: not wanted).
  OSErr Convert(const AVFrame& decoded, const std::vector<float*>& planes);
  // Converts a decoded frame into `pending`.
  OSErr Keep(const AVFrame& decoded);
  OSErr BuildIndex();
  // Whether the file is smaller now than when it was opened.
  bool Shrunk() const;
  std::int64_t FramePosition(const AVFrame& decoded) const;

  std::string path;
  const AudioStreamFacts& facts;
  FormatContextPtr format;
  CodecContextPtr decoder;
  CodecContextPtr finishing;  // a chain's previous part's decoder, being drained
  std::size_t finishingPart = 0;
  std::size_t decoderPart = 0;   // the chain's part `decoder` decodes
  bool decoderHasSound = false;  // it has been given sound, not only headers
  SwrContextPtr converter;
  AVChannelLayout converterLayout{};
  int converterFormat = -1;
  PacketPtr packet;
  FramePtr frame;

  std::vector<std::vector<float>> pending;  // decoded, not yet consumed
  std::int64_t pendingStart = 0;
  std::int64_t pendingFrames = 0;
  bool positioned = false;  // pending/next positions are known
  std::int64_t nextFramePosition = 0;
  std::int64_t framePosition = 0;           // of the frame last decoded
  std::vector<std::vector<float>> scratch;  // for channels nobody wants
  // Per-frame pointer lists (destinations of a conversion), kept so that small frames
  // (Vorbis, Opus) allocate nothing.
  std::vector<std::uint8_t*> convertTargets;
  std::vector<float*> directPlanes;
  std::int64_t discardBefore = AV_NOPTS_VALUE;
  bool inputEnded = false;
  bool decoderDrained = false;

  // Index of decoded counts, for streams whose timestamps do not place frames exactly.
  std::vector<IndexEntry> index;
  // The key of a packet just read; packets must be passed in reading order.
  PacketKey KeyOf(const AVPacket& read);
  std::unordered_map<PacketKey, std::size_t, PacketKeyHash> indexByKey;
  std::vector<std::size_t> partStarts;  // index entry where each part of a chain begins
  PacketKey lastKey;  // of the packet read last, to number packets sharing a position
  bool indexBuilt = false;
  std::size_t firstIndexPacket = 0;   // index entries before this one are dropped undecoded
  std::int64_t lastPacketIndex = -1;  // index entry of the packet last sent to the decoder
};

}  // namespace kiva::qt::media::ffmpeg
