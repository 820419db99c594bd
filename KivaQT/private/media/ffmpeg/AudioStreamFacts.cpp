#include "AudioStreamFacts.h"

#include "BoundedInput.h"

extern "C" {
#include <libavcodec/ac3_parser.h>
#include <libavcodec/vorbis_parser.h>
#include <libavutil/crc.h>
#include <libavutil/intreadwrite.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>
#include <utility>

namespace kiva::qt::media::ffmpeg {

bool IsPcm(AVCodecID id) { return id >= AV_CODEC_ID_PCM_S16LE && id < AV_CODEC_ID_ADPCM_IMA_QT; }

void KeepOnlyStream(AVFormatContext* format, int index) {
  for (unsigned i = 0; i < format->nb_streams; ++i) {
    format->streams[i]->discard = static_cast<int>(i) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  }
}

namespace {

bool IsLossless(AVCodecID id) {
  return IsPcm(id) || id == AV_CODEC_ID_FLAC || id == AV_CODEC_ID_ALAC ||
         id == AV_CODEC_ID_WAVPACK || id == AV_CODEC_ID_TTA || id == AV_CODEC_ID_APE ||
         id == AV_CODEC_ID_TAK || id == AV_CODEC_ID_MLP || id == AV_CODEC_ID_TRUEHD;
}

// Frames to decode before a wanted position so that the output there equals a sequential
// decode (measured per codec): none for packets that stand alone, one packet of transform
// overlap for AAC, AC-3 and Vorbis, the bit reservoir's reach for MP3, and a second for codecs
// whose state only converges over time (Opus) or that were not measured.
std::int64_t PrerollFor(const AVCodecParameters& parameters) {
  const std::int64_t second = parameters.sample_rate;
  switch (parameters.codec_id) {
    case AV_CODEC_ID_AAC:
      return 2 * 1024;
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
      return 2 * 1536;
    case AV_CODEC_ID_MP3:
      return 32 * 1152;
    case AV_CODEC_ID_MP2:
      return 2 * 1152;
    case AV_CODEC_ID_VORBIS:
      return 2 * 2048;
    default:
      return IsLossless(parameters.codec_id) ? 0 : second;
  }
}

bool IsMovFamily(const AVFormatContext* format) {
  return std::strncmp(format->iformat->name, "mov,", 4) == 0;
}

// Containers whose declared length is the exact decoded length: the edit list of a movie, and
// the sample count of a lossless stream in a container that counts in samples.
bool DeclaresExactLength(const AVFormatContext* format, const AVStream* stream,
                         const AudioStreamFacts& facts) {
  if (stream->duration == AV_NOPTS_VALUE || stream->duration <= 0 || !facts.exactTimestamps) {
    return false;
  }
  if (IsMovFamily(format)) return true;
  const char* name = format->iformat->name;
  const bool countsSamples = std::strcmp(name, "wav") == 0 || std::strcmp(name, "w64") == 0 ||
                             std::strcmp(name, "aiff") == 0 || std::strcmp(name, "caf") == 0 ||
                             std::strcmp(name, "flac") == 0 || std::strcmp(name, "au") == 0;
  return countsSamples && IsLossless(facts.parameters->codec_id);
}

// The size of the file `format` reads, -1 when it has none (a stream).
std::int64_t FileSize(const AVFormatContext* format) {
  return format->pb != nullptr ? avio_size(format->pb) : -1;
}

// The bytes of one PCM frame of `stream`, 0 when it is no byte-aligned PCM.
std::int64_t PcmFrameBytes(const AVStream* stream) {
  const int bits = av_get_bits_per_sample(stream->codecpar->codec_id);
  if (bits <= 0 || bits % 8 != 0) return 0;
  return static_cast<std::int64_t>(bits / 8) * stream->codecpar->ch_layout.nb_channels;
}

// The whole frames of PCM a file really holds after its first sample, when its header promises
// more: a recording whose writer died, or a copy that did not finish, keeps the header written
// first. -1 when the stream is no PCM or the file's size or data cannot be learned.
std::int64_t HeldPcmFrames(const AVFormatContext* format, const AVStream* stream) {
  const std::int64_t frameBytes = PcmFrameBytes(stream);
  const std::int64_t size = FileSize(format);
  // A movie interleaves its tracks: its index tells instead.
  if (IsMovFamily(format) || frameBytes <= 0 || size <= 0) return -1;
  // Where the sound starts is the demuxer's own knowledge: the first packet's place.
  FormatContextPtr again;
  if (OpenBoundedInput(format->url, format->iformat, nullptr, again) < 0) return -1;
  const PacketPtr packet(av_packet_alloc());
  if (!packet) return -1;
  while (ReadFrame(again.get(), packet.get()) >= 0) {
    const bool ours = packet->stream_index == stream->index;
    const std::int64_t start = packet->pos;
    av_packet_unref(packet.get());
    if (!ours) continue;
    return start >= 0 && start <= size ? (size - start) / frameBytes : -1;
  }
  return -1;
}

// Where the last whole FLAC frame ends, in the stream's time base, when the file ends before the
// length its STREAMINFO states: a file cut short, or a header that promises more (a writer that
// never came back to fill it in). Frames carry their own sample numbers, so the tail alone tells
// it; a frame cut in two fails its CRC and counts for nothing, as decoders drop it. -1 when the
// stream is not FLAC or its tail cannot be read.
std::int64_t FlacEnd(const AVFormatContext* format, const AVStream* stream) {
  if (stream->codecpar->codec_id != AV_CODEC_ID_FLAC ||
      std::strcmp(format->iformat->name, "flac") != 0) {
    return -1;
  }
  const std::int64_t size = FileSize(format);
  if (size <= 0) return -1;
  FormatContextPtr again;
  if (OpenBoundedInput(format->url, format->iformat, nullptr, again) < 0) return -1;
  // Farther back than the largest frame a FLAC encoder makes.
  constexpr std::int64_t kTail = 1 << 20;
  if (size > kTail &&
      SeekFile(again.get(), -1, 0, size - kTail, size - kTail, AVSEEK_FLAG_BYTE) < 0) {
    return -1;
  }
  const PacketPtr packet(av_packet_alloc());
  if (!packet) return -1;
  const AVCRC* crc = av_crc_get_table(AV_CRC_16_ANSI);
  std::int64_t end = -1;
  while (ReadFrame(again.get(), packet.get()) >= 0) {
    if (packet->pts != AV_NOPTS_VALUE && packet->duration > 0 && packet->size > 2 &&
        av_crc(crc, 0, packet->data, static_cast<std::size_t>(packet->size)) == 0) {
      end = std::max(end, packet->pts + packet->duration);
    }
    av_packet_unref(packet.get());
  }
  return end;
}

std::int64_t ToSamples(std::int64_t value, AVRational timeBase, int sampleRate) {
  return av_rescale_q_rnd(value, timeBase, AVRational{1, sampleRate},
                          static_cast<AVRounding>(AV_ROUND_NEAR_INF | AV_ROUND_PASS_MINMAX));
}

// The frames a movie holds from `start` (its first frame, in the stream's time base) when its
// media data was cut short: the movie's index, written first, lists packets the file no longer
// holds, and the sound ends in the first of them, after its whole PCM frames (a compressed
// packet cut in two decodes to nothing). -1 when every packet is there.
std::int64_t MovHeldFrames(const AVFormatContext* format, AVStream* stream, std::int64_t start,
                           const AudioStreamFacts& facts) {
  if (!IsMovFamily(format)) return -1;
  const std::int64_t size = FileSize(format);
  if (size <= 0) return -1;
  const int count = avformat_index_get_entries_count(stream);
  for (int i = 0; i < count; ++i) {
    const AVIndexEntry* entry = avformat_index_get_entry(stream, i);
    if (entry == nullptr || entry->pos + entry->size <= size) continue;
    const std::int64_t before =
        ToSamples(entry->timestamp - start, facts.timeBase, facts.sampleRate);
    const std::int64_t frameBytes = PcmFrameBytes(stream);
    const std::int64_t partial =
        frameBytes > 0 && size > entry->pos ? (size - entry->pos) / frameBytes : 0;
    return std::max<std::int64_t>(0, before + partial);
  }
  return -1;
}

// The frames an MPEG audio layer III decoder's output lags its input by.
constexpr std::int64_t kMp3DecoderDelay = 529;

struct GaplessTag {
  std::int64_t delay = 0;    // frames the encoder put before the sound
  std::int64_t padding = 0;  // frames it put after it
};

// The encoder delay and padding that an MPEG audio layer III frame's Xing or Info header
// records in its LAME tag (which FFmpeg's encoders write too); nothing when the frame has none.
std::optional<GaplessTag> ReadGaplessTag(const std::uint8_t* data, int size) {
  if (data == nullptr || size < 4 || data[0] != 0xFF || (data[1] & 0xE0) != 0xE0) return {};
  const int version = (data[1] >> 3) & 3;  // 3: MPEG-1, 2: MPEG-2, 0: MPEG-2.5, 1: reserved
  const int layer = (data[1] >> 1) & 3;    // 1: layer III
  if (version == 1 || layer != 1) return {};
  const bool mono = (data[3] >> 6) == 3;
  // The header sits where the frame's side information ends.
  int at = 4 + (version == 3 ? (mono ? 17 : 32) : (mono ? 9 : 17));
  if (at + 8 > size ||
      (std::memcmp(data + at, "Xing", 4) != 0 && std::memcmp(data + at, "Info", 4) != 0)) {
    return {};
  }
  const std::uint32_t fields = AV_RB32(data + at + 4);
  at += 8;
  if ((fields & 1) != 0) at += 4;    // frame count
  if ((fields & 2) != 0) at += 4;    // byte count
  if ((fields & 4) != 0) at += 100;  // seek table
  if ((fields & 8) != 0) at += 4;    // quality
  // Encoder name (9 bytes), revision, low-pass, peak (4), two gains (2 each), flags, bit rate,
  // then delay and padding, 12 bits each.
  constexpr int kDelayAt = 21;
  if (at + kDelayAt + 3 > size ||
      (std::memcmp(data + at, "LAME", 4) != 0 && std::memcmp(data + at, "Lavf", 4) != 0 &&
       std::memcmp(data + at, "Lavc", 4) != 0)) {
    return {};
  }
  const std::uint32_t both = std::uint32_t{data[at + kDelayAt]} << 16 |
                             std::uint32_t{data[at + kDelayAt + 1]} << 8 | data[at + kDelayAt + 2];
  return GaplessTag{both >> 12, both & 0xFFF};
}

// The frames a decode gives through the last packet of a movie's track whose coding has frames
// of one size, when that is more than its table of durations holds: some writers give the last
// packet only its share of the sound there, while the track's declared duration, and every
// reader, plays on into it. -1 otherwise.
std::int64_t MovDecodedLength(const AVFormatContext* format, AVStream* stream, std::int64_t start,
                              const AudioStreamFacts& facts) {
  const int frameSize = stream->codecpar->frame_size;
  if (!IsMovFamily(format) || IsPcm(stream->codecpar->codec_id) || frameSize <= 0) return -1;
  const int count = avformat_index_get_entries_count(stream);
  const AVIndexEntry* last = count > 0 ? avformat_index_get_entry(stream, count - 1) : nullptr;
  if (last == nullptr) return -1;
  const std::int64_t decoded =
      ToSamples(last->timestamp - start, facts.timeBase, facts.sampleRate) + frameSize;
  return decoded > facts.length ? decoded : -1;
}

struct ScanTotals {
  std::int64_t samples = 0;
  std::int64_t packets = 0;  // counted so far
  std::int64_t firstTimestamp = AV_NOPTS_VALUE;
  std::int64_t firstSkip = 0;
  std::int64_t end = AV_NOPTS_VALUE;  // latest packet end, in the time base
  // A gapless tag read from the first packet (an MP3's tag frame the demuxer passed on).
  std::optional<GaplessTag> tag;
  // Vorbis block sizes, for a container whose timestamps do not count samples.
  VorbisParsePtr vorbis;
};

bool IsOgg(const AVFormatContext* format) { return std::strcmp(format->iformat->name, "ogg") == 0; }

// The frames of a FLAC frame, from the block size its header gives; 0 when the packet does
// not open with a frame header.
std::int64_t FlacBlockFrames(const AVPacket& packet) {
  const std::uint8_t* data = packet.data;
  if (data == nullptr || packet.size < 6 || data[0] != 0xFF || (data[1] & 0xFE) != 0xF8) return 0;
  const int code = data[2] >> 4;
  if (code == 1) return 192;
  if (code >= 2 && code <= 5) return std::int64_t{576} << (code - 2);
  if (code >= 8) return std::int64_t{256} << (code - 8);
  if (code != 6 && code != 7) return 0;
  // The size follows the frame's number, coded in one to seven bytes the way UTF-8 codes a
  // character: its first byte's leading ones count the bytes (none: one byte).
  const int ones = std::countl_one(data[4]);
  if (ones == 1 || ones > 7) return 0;
  const int at = 4 + std::max(ones, 1);
  if (at + (code == 7 ? 2 : 1) > packet.size) return 0;
  return (code == 6 ? data[at] : (data[at] << 8 | data[at + 1])) + 1;
}

// Frames a packet decodes to, from its duration where timestamps count samples, else from the
// coding's frame size, or from what its own header says (FLAC's block size, Vorbis' block
// sizes: Matroska's millisecond stamps cannot tell them, least of all the last block's).
std::int64_t PacketFrames(const AVPacket& packet, const AudioStreamFacts& facts,
                          ScanTotals& total) {
  if (facts.exactTimestamps && packet.duration > 0) {
    return ToSamples(packet.duration, facts.timeBase, facts.sampleRate);
  }
  if (facts.parameters->codec_id == AV_CODEC_ID_FLAC) {
    if (const std::int64_t frames = FlacBlockFrames(packet); frames > 0) return frames;
  }
  if (total.vorbis) {
    const int frames = av_vorbis_parse_frame(total.vorbis.get(), packet.data, packet.size);
    // The decoder's first block only starts the overlap and gives no frame; each later one
    // gives the overlap of the block before it and of its own.
    if (frames >= 0) return total.packets == 0 ? 0 : frames;
  }
  const int frames = av_get_audio_frame_duration2(facts.parameters.get(), packet.size);
  if (frames > 0) return frames;
  return packet.duration > 0 ? ToSamples(packet.duration, facts.timeBase, facts.sampleRate) : 0;
}

// Packets the decoder turns away whole, giving no frame at all. AC-3's decoder does so only
// for a packet that does not open with a sync word (either byte order; it decodes frames with
// other damage as well as it can), such as junk before the first frame, which the parser
// hands over joined to that frame.
bool DecoderRefuses(const AVPacket& packet, const AudioStreamFacts& facts) {
  const AVCodecID codec = facts.parameters->codec_id;
  if (codec != AV_CODEC_ID_AC3 && codec != AV_CODEC_ID_EAC3) return false;
  if (packet.size < 2) return true;
  const int sync = packet.data[0] << 8 | packet.data[1];
  return sync != 0x0B77 && sync != 0x770B;
}

// The samples a decoder drops at the start of a packet's output (priming) and at its end
// (padding), as the demuxer marks them.
std::pair<std::uint32_t, std::uint32_t> SkippedSamples(const AVPacket& packet) {
  std::uint32_t start = 0;
  std::uint32_t end = 0;
  size_t size = 0;
  if (const uint8_t* skip = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
      skip != nullptr && size >= 10) {
    std::memcpy(&start, skip, 4);
    std::memcpy(&end, skip + 4, 4);
  }
  return {start, end};
}

// Where sample 0 of an Ogg stream lies, in its time base. Ogg timestamps are granule positions:
// sample 0 is at 0 at the earliest (what comes before it is priming), and after the samples the
// first packet's decoder skips. Speex is the exception: its decoder gives every frame of every
// packet, the coder's delay included, which the demuxer places before 0 (a granule counts
// the samples that end a page, and nothing marks the delay to be dropped), so its first packet
// is sample 0 wherever it lies.
std::int64_t OggOrigin(std::int64_t firstTimestamp, std::int64_t skippedSamples,
                       const AudioStreamFacts& facts) {
  const std::int64_t first =
      firstTimestamp +
      av_rescale_q(skippedSamples, AVRational{1, facts.sampleRate}, facts.timeBase);
  return facts.parameters->codec_id == AV_CODEC_ID_SPEEX ? first : std::max<std::int64_t>(0, first);
}

// The samples an Opus stream's header says to drop at its start; 0 for other codings.
std::int64_t OpusPreSkip(const AudioStreamFacts& facts) {
  const AVCodecParameters& parameters = *facts.parameters;
  if (parameters.codec_id != AV_CODEC_ID_OPUS || parameters.extradata_size < 19 ||
      std::memcmp(parameters.extradata, "OpusHead", 8) != 0) {
    return 0;
  }
  return parameters.extradata[10] | (parameters.extradata[11] << 8);
}

// One pass over the packets: the frames a full decode yields (durations less the priming
// skipped at the start and the padding discarded at the end), without decoding.
void ScanPackets(AVFormatContext* format, std::vector<AudioStreamFacts>& streams) {
  std::map<int, ScanTotals> totals;
  std::map<int, AudioStreamFacts*> byIndex;
  for (auto& facts : streams) {
    byIndex[facts.streamIndex] = &facts;
    if (facts.parameters->codec_id == AV_CODEC_ID_VORBIS && !facts.exactTimestamps) {
      totals[facts.streamIndex].vorbis.reset(
          av_vorbis_parse_init(facts.parameters->extradata, facts.parameters->extradata_size));
    }
  }
  const bool mp3 = std::strcmp(format->iformat->name, "mp3") == 0;
  // The generic index built by this pass serves later seeks; let it hold a long file whole.
  format->max_index_size = 64 << 20;
  PacketPtr packet(av_packet_alloc());
  if (!packet) return;
  while (ReadFrame(format, packet.get()) >= 0) {
    PacketReference unref(packet.get());
    const auto found = byIndex.find(packet->stream_index);
    if (found == byIndex.end()) continue;
    ScanTotals& total = totals[packet->stream_index];
    AudioStreamFacts& facts = *found->second;
    const auto [skipStart, discardEnd] = SkippedSamples(*packet);
    if (total.firstTimestamp == AV_NOPTS_VALUE) {
      // A frame holding a gapless tag that the demuxer did not take for one (it looks for it
      // only right after an ID3v2 tag, and a tagger may have left bytes between them): no
      // sound, and the encoder's delay and padding it records are still to be trimmed.
      if (mp3 && !total.tag && skipStart == 0 && packet->pos >= 0) {
        total.tag = ReadGaplessTag(packet->data, packet->size);
        if (total.tag) {
          facts.tagFramePosition = packet->pos;
          continue;
        }
      }
      total.firstTimestamp = packet->pts;
      total.firstSkip = skipStart;
      if (total.tag) {
        facts.firstSoundPosition = packet->pos;
        facts.tagSkip = static_cast<std::uint32_t>(total.tag->delay + kMp3DecoderDelay);
        total.firstSkip = facts.tagSkip;
      }
    }
    if (packet->pts != AV_NOPTS_VALUE) {
      total.end = std::max(total.end, packet->pts + std::max<std::int64_t>(packet->duration, 0));
    }
    if ((packet->flags & AV_PKT_FLAG_DISCARD) != 0 || DecoderRefuses(*packet, facts)) {
      continue;
    }
    const std::int64_t frames = PacketFrames(*packet, facts, total) - skipStart - discardEnd;
    total.samples += std::max<std::int64_t>(0, frames);
    ++total.packets;
  }
  const bool ogg = IsOgg(format);
  for (auto& facts : streams) {
    const auto found = totals.find(facts.streamIndex);
    if (found == totals.end()) continue;
    const ScanTotals& total = found->second;
    if (ogg && total.firstTimestamp != AV_NOPTS_VALUE && total.end != AV_NOPTS_VALUE) {
      // The last packet's duration is already cut to the final granule.
      const std::int64_t first = OggOrigin(total.firstTimestamp, total.firstSkip, facts);
      facts.origin = first;
      facts.length = ToSamples(total.end - first, facts.timeBase, facts.sampleRate);
      continue;
    }
    if (!facts.exactTimestamps || facts.origin == AV_NOPTS_VALUE) {
      facts.origin = total.firstTimestamp;
    }
    facts.length = total.samples;
    if (total.tag && total.firstTimestamp != AV_NOPTS_VALUE) {
      // Trimmed as the demuxer trims a file whose tag it found: the delay from the first
      // frame's output, and at the end the padding the decoder's own delay has not taken up.
      facts.origin = total.firstTimestamp +
                     av_rescale_q(facts.tagSkip, AVRational{1, facts.sampleRate}, facts.timeBase);
      facts.length = std::max<std::int64_t>(
          0, facts.length - facts.tagSkip -
                 std::max<std::int64_t>(0, total.tag->padding - kMp3DecoderDelay));
      continue;
    }
    // Opus's decoder drops the stream's pre-skip by itself, read from its header, where the
    // container marks no samples to skip (Matroska, WebM: their codec delay is that pre-skip).
    if (total.firstSkip == 0)
      facts.length = std::max<std::int64_t>(0, facts.length - OpusPreSkip(facts));
  }
}

// AAC in movies often comes without a channel order ("6 channels"), and FFmpeg's decoder then
// reports none either. Without a program configuration element, AAC's channel configurations
// 1 to 7 fix the order; these are those orders.
void ApplyAacChannelConfiguration(AVCodecParameters& parameters) {
  static const std::uint64_t kConfigurations[] = {0,
                                                  AV_CH_LAYOUT_MONO,
                                                  AV_CH_LAYOUT_STEREO,
                                                  AV_CH_LAYOUT_SURROUND,
                                                  AV_CH_LAYOUT_4POINT0,
                                                  AV_CH_LAYOUT_5POINT0_BACK,
                                                  AV_CH_LAYOUT_5POINT1_BACK,
                                                  0,
                                                  AV_CH_LAYOUT_7POINT1_WIDE_BACK};
  const int channels = parameters.ch_layout.nb_channels;
  if (parameters.codec_id != AV_CODEC_ID_AAC || channels < 1 || channels > 8 ||
      kConfigurations[channels] == 0) {
    return;
  }
  av_channel_layout_uninit(&parameters.ch_layout);
  av_channel_layout_from_mask(&parameters.ch_layout, kConfigurations[channels]);
}

// Ogg declares its end in the last page's granule, which the demuxer reads at open; only the
// first packet of each stream is needed for where sample 0 lies (a pass over every packet of a
// long file costs more than a sequential read's decoding of Vorbis saves). False: not Ogg, or
// something undeclared, and the packets must be scanned.
bool PlaceOggStreams(AVFormatContext* format, std::vector<AudioStreamFacts>& streams) {
  if (!IsOgg(format)) return false;
  std::map<int, AudioStreamFacts*> waiting;
  for (auto& facts : streams) {
    const AVStream* stream = format->streams[facts.streamIndex];
    if (stream->duration == AV_NOPTS_VALUE || stream->start_time == AV_NOPTS_VALUE) return false;
    waiting[facts.streamIndex] = &facts;
  }
  PacketPtr packet(av_packet_alloc());
  if (!packet) return false;
  std::map<int, std::pair<std::int64_t, std::int64_t>> first;  // pts, samples skipped
  while (first.size() < waiting.size() && ReadFrame(format, packet.get()) >= 0) {
    PacketReference unref(packet.get());
    if (!waiting.contains(packet->stream_index) || first.contains(packet->stream_index)) continue;
    if (packet->pts == AV_NOPTS_VALUE) return false;
    first[packet->stream_index] = {packet->pts, SkippedSamples(*packet).first};
  }
  if (first.size() < waiting.size()) return false;
  for (auto& [index, facts] : waiting) {
    const AVStream* stream = format->streams[index];
    const auto [pts, skipped] = first[index];
    const std::int64_t skip =
        av_rescale_q(skipped, AVRational{1, facts->sampleRate}, facts->timeBase);
    // The granule end counts the skipped samples too (Opus' pre-skip).
    const std::int64_t start = OggOrigin(pts, skipped, *facts);
    const std::int64_t end = stream->start_time + stream->duration - skip;
    if (end <= start) return false;
    facts->origin = start;
    facts->length = ToSamples(end - start, facts->timeBase, facts->sampleRate);
  }
  return true;
}

// The sample converter takes at most 64 channels (decoders 512); a stream declaring more is
// not read. A container may declare billions, which must not size anything.
constexpr int kMostChannelsRead = 64;

// Matroska stamps blocks in milliseconds, too coarse to count samples by; but for a coding
// whose frames all hold the same number of samples, a block's stamp still names its frame
// number exactly (frames lie 10 ms apart or more, a stamp is off by half a millisecond). So
// the first block and the blocks after the last cue give the length without reading the
// hour between (which cost 122 ms). Stamps off the frame grid, or a step other than one
// frame among the last blocks, leave the stream to the full pass. Like Ogg's declared end,
// this trusts the container's stamps. The file is read through a context of its own, so
// that the full pass still finds the study's context at the start.
bool PlaceMatroskaStream(const AVFormatContext* study, std::vector<AudioStreamFacts>& streams) {
  if (std::strncmp(study->iformat->name, "matroska", 8) != 0 || streams.size() != 1 ||
      study->url == nullptr) {
    return false;
  }
  AudioStreamFacts& facts = streams.front();
  const AVCodecID codec = facts.parameters->codec_id;
  const int frameSize = facts.parameters->frame_size;
  if (frameSize <= 0 || (codec != AV_CODEC_ID_AAC && codec != AV_CODEC_ID_MP3 &&
                         codec != AV_CODEC_ID_MP2 && codec != AV_CODEC_ID_AC3)) {
    return false;
  }
  FormatContextPtr format;
  if (OpenBoundedInput(study->url, study->iformat, nullptr, format) < 0) return false;
  if (facts.streamIndex >= static_cast<int>(format->nb_streams)) return false;
  KeepOnlyStream(format.get(), facts.streamIndex);
  PacketPtr packet(av_packet_alloc());
  if (!packet) return false;
  // The stream's next packet; false at the end. A packet without a stamp, or one marked to be
  // dropped, makes the walk give up (`usable` false): the full pass counts such streams.
  bool usable = true;
  const auto nextPacket = [&] {
    while (ReadFrame(format.get(), packet.get()) >= 0) {
      if (packet->stream_index != facts.streamIndex) {
        av_packet_unref(packet.get());
        continue;
      }
      if (packet->pts != AV_NOPTS_VALUE && (packet->flags & AV_PKT_FLAG_DISCARD) == 0) return true;
      av_packet_unref(packet.get());
      usable = false;
      return false;
    }
    return false;
  };
  if (!nextPacket()) return false;
  const std::int64_t first = packet->pts;
  const std::uint32_t skipped = SkippedSamples(*packet).first;
  av_packet_unref(packet.get());
  const AVRational timeBase = format->streams[facts.streamIndex]->time_base;
  // The frame a stamp names, or -1 off the grid.
  const auto frameAt = [&](std::int64_t pts) -> std::int64_t {
    const double frames = static_cast<double>(pts - first) * timeBase.num / timeBase.den *
                          facts.sampleRate / frameSize;
    const double nearest = std::round(frames);
    return std::fabs(frames - nearest) <= 0.25 ? static_cast<std::int64_t>(nearest) : -1;
  };
  if (format->duration != AV_NOPTS_VALUE && format->duration > 0) {
    const std::int64_t tail = av_rescale_q(10 * AV_TIME_BASE, AV_TIME_BASE_Q, timeBase);
    const std::int64_t target =
        first + av_rescale_q(format->duration, AV_TIME_BASE_Q, timeBase) - tail;
    if (target > first &&
        SeekFile(format.get(), facts.streamIndex, INT64_MIN, target, target, 0) < 0) {
      return false;
    }
  }
  std::int64_t last = -1;
  std::uint32_t discarded = 0;
  while (nextPacket()) {
    const std::int64_t frame = frameAt(packet->pts);
    discarded = SkippedSamples(*packet).second;
    av_packet_unref(packet.get());
    if (frame < 0 || (last >= 0 && frame != last + 1)) return false;
    last = frame;
  }
  if (!usable || last < 0) return false;
  const std::int64_t length = (last + 1) * frameSize - skipped - discarded;
  if (length <= 0) return false;
  facts.origin = first;
  facts.length = length;
  return true;
}

// Raw AC-3 is a chain of sync frames of 1,536 samples each, every header giving its frame's
// size: walking the headers from the file's first byte to its last counts the samples without
// demuxing and parsing the audio (which cost a ten-minute file 14 ms). Anything but a clean
// chain (a tag or junk, a cut last frame, E-AC-3's frames of other lengths) is left to the
// full pass, which handles it as the decode does.
bool PlaceRawAc3Stream(const AVFormatContext* format, std::vector<AudioStreamFacts>& streams) {
  constexpr std::int64_t kSamplesPerFrame = 1536;
  constexpr int kHighestAc3BitstreamId = 10;
  if (std::strcmp(format->iformat->name, "ac3") != 0 || streams.size() != 1 ||
      streams.front().parameters->codec_id != AV_CODEC_ID_AC3 || format->url == nullptr) {
    return false;
  }
  AVIOContext* raw = nullptr;
  if (avio_open2(&raw, format->url, AVIO_FLAG_READ, nullptr, nullptr) < 0) return false;
  const IOContextPtr input(raw);
  const std::int64_t size = avio_size(input.get());
  std::int64_t position = 0;
  std::int64_t frames = 0;
  while (position < size) {
    // More than a header needs; every AC-3 frame is at least 128 bytes long.
    std::uint8_t header[16];
    std::uint8_t bitstreamId = 0;
    std::uint16_t frameSize = 0;
    if (avio_seek(input.get(), position, SEEK_SET) != position ||
        avio_read(input.get(), header, sizeof header) != static_cast<int>(sizeof header) ||
        av_ac3_parse_header(header, sizeof header, &bitstreamId, &frameSize) < 0 ||
        bitstreamId > kHighestAc3BitstreamId || frameSize == 0) {
      return false;
    }
    position += frameSize;
    ++frames;
  }
  if (position != size || frames == 0) return false;
  streams.front().length = frames * kSamplesPerFrame;
  return true;
}

// An Ogg page header, up to and with the count of its lacing values.
constexpr int kPageHeader = 27;

// An Ogg file of one stream whose last page belongs to another stream than its first page:
// files joined one after the other (a saved radio stream, or `cat`), each part with its own
// serial number. The first page and the file's last stretch tell it, without a pass.
bool IsChainedOgg(const AVFormatContext* format) {
  if (!IsOgg(format) || format->nb_streams != 1 || format->url == nullptr) return false;
  AVIOContext* raw = nullptr;
  if (avio_open2(&raw, format->url, AVIO_FLAG_READ, nullptr, nullptr) < 0) return false;
  const IOContextPtr input(raw);
  const std::int64_t size = avio_size(input.get());
  std::uint8_t header[kPageHeader];
  if (size < kPageHeader || avio_read(input.get(), header, kPageHeader) != kPageHeader ||
      std::memcmp(header, "OggS", 4) != 0) {
    return false;
  }
  const std::uint32_t firstSerial = AV_RL32(header + 14);
  // The largest page: its header and 255 lacing values of 255 bytes each.
  constexpr std::int64_t kLargestPage = kPageHeader + 255 + 255 * 255;
  const std::int64_t tailStart = std::max<std::int64_t>(0, size - kLargestPage);
  std::vector<std::uint8_t> tail(static_cast<std::size_t>(size - tailStart));
  if (avio_seek(input.get(), tailStart, SEEK_SET) != tailStart ||
      avio_read(input.get(), tail.data(), static_cast<int>(tail.size())) !=
          static_cast<int>(tail.size())) {
    return false;
  }
  // The last page is the one that ends where the file ends (a capture pattern inside a packet,
  // or a page cut short, does not).
  for (std::size_t at = tail.size() - kPageHeader + 1; at-- > 0;) {
    if (std::memcmp(&tail[at], "OggS", 4) != 0 || tail[at + 4] != 0) continue;
    const std::size_t lacing = tail[at + 26];
    if (at + kPageHeader + lacing > tail.size()) continue;
    std::size_t body = 0;
    for (std::size_t i = 0; i < lacing; ++i) body += tail[at + kPageHeader + i];
    if (at + kPageHeader + lacing + body == tail.size()) {
      return AV_RL32(&tail[at + 14]) != firstSerial;
    }
  }
  return false;
}

// One part of a chained Ogg stream, as its pages declare it.
struct OggPart {
  std::int64_t end = -1;  // the granule of its last page that has one, in samples
  int sampleRate = 0;     // from its identification header; 0 when the coding is not known here
  int channels = 0;
};

// The parts of a single-stream Ogg file, one per run of pages with one serial number, found by
// walking the page headers (the bodies are skipped, but for the start of a part's first page).
std::vector<OggPart> WalkOggParts(const char* url) {
  std::vector<OggPart> parts;
  AVIOContext* raw = nullptr;
  if (avio_open2(&raw, url, AVIO_FLAG_READ, nullptr, nullptr) < 0) return {};
  const IOContextPtr input(raw);
  constexpr std::int64_t kNoGranule = -1;
  std::uint32_t serial = 0;
  std::uint8_t header[kPageHeader];
  std::uint8_t lacing[255];
  while (avio_read(input.get(), header, kPageHeader) == kPageHeader) {
    if (std::memcmp(header, "OggS", 4) != 0 || header[4] != 0) return {};
    const int count = header[26];
    if (avio_read(input.get(), lacing, count) != count) return {};
    std::int64_t body = 0;
    for (int i = 0; i < count; ++i) body += lacing[i];
    const auto granule = static_cast<std::int64_t>(AV_RL64(header + 6));
    if (parts.empty() || AV_RL32(header + 14) != serial) {
      serial = AV_RL32(header + 14);
      OggPart part;
      // Vorbis: packet type 1, "vorbis", version, channels, rate; Opus: "OpusHead", version,
      // channels (its decoder always gives 48 kHz).
      std::uint8_t start[16] = {};
      const int peeked =
          avio_read(input.get(), start, static_cast<int>(std::min<std::int64_t>(body, 16)));
      if (peeked < 0) return {};
      body -= peeked;
      if (peeked >= 16 && start[0] == 1 && std::memcmp(start + 1, "vorbis", 6) == 0) {
        part.channels = start[11];
        part.sampleRate = static_cast<int>(AV_RL32(start + 12));
      } else if (peeked >= 10 && std::memcmp(start, "OpusHead", 8) == 0) {
        part.channels = start[9];
        part.sampleRate = 48000;
      }
      parts.push_back(part);
    }
    if (granule != kNoGranule) parts.back().end = granule;
    if (avio_skip(input.get(), body) < 0) return {};
  }
  return parts;
}

// Where each part's sample 0 lies (in the stream's time base, each part counting from 0 again)
// and what its decoder skips at its start: the part's first packet after its headers, as the
// demuxer places it.
std::vector<std::pair<std::int64_t, std::int64_t>> OggPartStarts(const AVFormatContext* study,
                                                                 const AudioStreamFacts& facts) {
  std::vector<std::pair<std::int64_t, std::int64_t>> starts;
  FormatContextPtr format;
  if (OpenBoundedInput(study->url, study->iformat, nullptr, format) < 0 ||
      facts.streamIndex >= static_cast<int>(format->nb_streams)) {
    return {};
  }
  KeepOnlyStream(format.get(), facts.streamIndex);
  const PacketPtr packet(av_packet_alloc());
  if (!packet) return {};
  bool opened = true;  // the first part's headers were read with the stream
  while (ReadFrame(format.get(), packet.get()) >= 0) {
    PacketReference unref(packet.get());
    if (packet->stream_index != facts.streamIndex) continue;
    bool opensPart = false;
    const bool header = IsChainHeader(*packet, opensPart);
    opened = opened || opensPart;
    if (header || !opened) continue;
    if (packet->pts == AV_NOPTS_VALUE) return {};
    const std::int64_t skipped = SkippedSamples(*packet).first;
    starts.emplace_back(OggOrigin(packet->pts, skipped, facts),
                        av_rescale_q(skipped, AVRational{1, facts.sampleRate}, facts.timeBase));
    opened = false;
  }
  return starts;
}

// The length of a chained stream: each part's declared length (its last granule, less its
// start), like a single file's, summed up to the first part whose rate or channel count differs
// from the first part's. The stream is described by its first part; a part that changes either
// cannot be delivered as more of the same sound, so the sound ends where it begins. Where each
// part delivered ends, counted from the stream's start; empty when the pages and the packets do
// not agree on the parts.
std::vector<std::int64_t> ChainedOggPartEnds(const AVFormatContext* study,
                                             const AudioStreamFacts& facts) {
  const std::vector<OggPart> parts = WalkOggParts(study->url);
  const auto starts = OggPartStarts(study, facts);
  if (parts.empty() || parts.size() != starts.size()) return {};
  std::vector<std::int64_t> ends;
  std::int64_t length = 0;
  for (std::size_t p = 0; p < parts.size(); ++p) {
    if (parts[p].sampleRate != facts.sampleRate || parts[p].channels != facts.channels) break;
    const auto [start, skip] = starts[p];
    const std::int64_t end =
        av_rescale_q(parts[p].end, AVRational{1, facts.sampleRate}, facts.timeBase) - skip;
    if (parts[p].end < 0 || end < start) return {};
    length += ToSamples(end - start, facts.timeBase, facts.sampleRate);
    ends.push_back(length);
  }
  return ends;
}

}  // namespace

std::vector<AudioStreamFacts> StudyAudioStreams(AVFormatContext* format) {
  std::vector<AudioStreamFacts> streams;
  bool needScan = false;
  for (unsigned index = 0; index < format->nb_streams; ++index) {
    const AVStream* stream = format->streams[index];
    const AVCodecParameters* parameters = stream->codecpar;
    if (parameters->codec_type != AVMEDIA_TYPE_AUDIO || parameters->sample_rate <= 0 ||
        parameters->ch_layout.nb_channels <= 0 ||
        parameters->ch_layout.nb_channels > kMostChannelsRead ||
        avcodec_find_decoder(parameters->codec_id) == nullptr) {
      continue;
    }
    AudioStreamFacts facts;
    facts.demuxer = format->iformat;
    facts.streamIndex = static_cast<int>(index);
    facts.parameters.reset(avcodec_parameters_alloc());
    if (!facts.parameters || avcodec_parameters_copy(facts.parameters.get(), parameters) < 0) {
      continue;
    }
    facts.timeBase = stream->time_base;
    facts.sampleRate = parameters->sample_rate;
    facts.channels = parameters->ch_layout.nb_channels;
    // Ogg gives some Vorbis packets timestamps that are late by a block after a block-size
    // switch, and Speex packets read after a seek timestamps off by whole frames (a seek to
    // 1.2 s of a file of three pages landed at 1.0 s, called 1.2), so both are placed by
    // decoded counts like any inexact time base.
    const bool oggInexact =
        (parameters->codec_id == AV_CODEC_ID_VORBIS || parameters->codec_id == AV_CODEC_ID_SPEEX) &&
        std::strcmp(format->iformat->name, "ogg") == 0;
    facts.exactTimestamps =
        facts.timeBase.num == 1 && facts.timeBase.den % facts.sampleRate == 0 && !oggInexact;
    facts.origin = stream->start_time;
    facts.preroll = PrerollFor(*parameters);
    facts.fileSize = FileSize(format);
    if (parameters->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
      ApplyAacChannelConfiguration(*facts.parameters);
    }
    if (DeclaresExactLength(format, stream, facts)) {
      const std::int64_t start = stream->start_time == AV_NOPTS_VALUE ? 0 : stream->start_time;
      facts.origin = start;
      facts.length = ToSamples(stream->duration, facts.timeBase, facts.sampleRate);
      // A header counts what was meant to be written; the file has what was.
      if (const std::int64_t held = HeldPcmFrames(format, stream); held >= 0) {
        facts.length = std::min(facts.length, held);
      }
      if (const std::int64_t held = MovHeldFrames(format, format->streams[index], start, facts);
          held >= 0) {
        facts.length = std::min(facts.length, held);
      } else {
        facts.decodedLength = MovDecodedLength(format, format->streams[index], start, facts);
      }
      if (const std::int64_t end = FlacEnd(format, stream); end >= 0) {
        facts.length =
            std::min(facts.length, ToSamples(end - start, facts.timeBase, facts.sampleRate));
      }
    } else {
      needScan = true;
    }
    streams.push_back(std::move(facts));
  }
  if (needScan && !PlaceOggStreams(format, streams) && !PlaceRawAc3Stream(format, streams) &&
      !PlaceMatroskaStream(format, streams)) {
    ScanPackets(format, streams);
  }
  // The demuxer reads a chain's parts one after the other, but what it declares (the last
  // granule) is only the last part's length.
  if (streams.size() == 1 && IsChainedOgg(format)) {
    AudioStreamFacts& facts = streams.front();
    facts.chained = true;
    facts.exactTimestamps = false;
    facts.partEnds = ChainedOggPartEnds(format, facts);
    if (!facts.partEnds.empty()) facts.length = facts.partEnds.back();
  }
  for (auto& facts : streams) {
    if (facts.origin == AV_NOPTS_VALUE) facts.origin = 0;
  }
  return streams;
}

bool IsChainHeader(const AVPacket& packet, bool& opensPart) {
  opensPart = false;
  if (packet.data == nullptr) return false;
  // Vorbis headers are packets 1 (identification), 3 (comments) and 5 (setup), then "vorbis".
  if (packet.size >= 7 && (packet.data[0] & 1) != 0 &&
      std::memcmp(packet.data + 1, "vorbis", 6) == 0) {
    opensPart = packet.data[0] == 1;
    return true;
  }
  // The demuxer reads an Opus part's headers itself; the part's first packet is the one
  // marked with its pre-skip.
  opensPart = SkippedSamples(packet).first > 0;
  return false;
}

CodecContextPtr OpenAudioDecoder(const AudioStreamFacts& facts,
                                 const AVCodecParameters* parameters) {
  if (parameters == nullptr) parameters = facts.parameters.get();
  // The native Opus decoder gives float output and is the faster of the two.
  const AVCodec* codec =
      parameters->codec_id == AV_CODEC_ID_OPUS ? avcodec_find_decoder_by_name("opus") : nullptr;
  if (codec == nullptr) codec = avcodec_find_decoder(parameters->codec_id);
  if (codec == nullptr) return nullptr;
  CodecContextPtr decoder(avcodec_alloc_context3(codec));
  if (!decoder || avcodec_parameters_to_context(decoder.get(), parameters) < 0) {
    return nullptr;
  }
  // Skipped priming moves frame timestamps only when the decoder knows the time base.
  decoder->pkt_timebase = facts.timeBase;
  decoder->thread_count = 1;
  AVDictionary* options = nullptr;
  // AC-3 dither noise is the same after every seek only with the consistent generator.
  if (facts.parameters->codec_id == AV_CODEC_ID_AC3 ||
      facts.parameters->codec_id == AV_CODEC_ID_EAC3) {
    av_dict_set(&options, "cons_noisegen", "1", 0);
  }
  const int opened = avcodec_open2(decoder.get(), codec, &options);
  av_dict_free(&options);
  if (opened < 0) return nullptr;
  return decoder;
}

}  // namespace kiva::qt::media::ffmpeg
