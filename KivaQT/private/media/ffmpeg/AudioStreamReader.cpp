#include "AudioStreamReader.h"

#include "BoundedInput.h"
#include "FFmpegErrors.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/intreadwrite.h>
}

#include <algorithm>
#include <cstring>

namespace kiva::qt::media::ffmpeg {

namespace {

// Reads that land later than wanted seek again this often, with more pre-roll each time,
// before falling back to a decode from the start.
constexpr int kSeekAttempts = 3;

// The demuxer's trim of a chained part's end is not always the length the part's pages declare:
// a Vorbis part lost its last short block (128 frames) to it. So the decoder keeps all it makes,
// and the reader ends each part at the length its pages declare.
void KeepPartEnd(AVPacket& read) {
  std::size_t size = 0;
  std::uint8_t* skip = av_packet_get_side_data(&read, AV_PKT_DATA_SKIP_SAMPLES, &size);
  if (skip != nullptr && size >= 8) AV_WL32(skip + 4, 0);
}

}  // namespace

AudioStreamReader::AudioStreamReader(std::string path, const AudioStreamFacts& facts)
    : path(std::move(path)), facts(facts), packet(av_packet_alloc()), frame(av_frame_alloc()) {}

AudioStreamReader::~AudioStreamReader() { av_channel_layout_uninit(&converterLayout); }

OSErr AudioStreamReader::Open() {
  format.reset();
  // WAV's demuxer cuts PCM into 4 KiB packets, whose per-packet work then costs as much as
  // their samples; 16 KiB packets halve it while the decoded frames still stay in cache (64 KiB
  // ones do not, and are slower). Other demuxers ignore the option.
  AVDictionary* options = nullptr;
  av_dict_set(&options, "max_size", "16384", 0);
  // Demuxers ask for PCM's first packets to be probed for other codings hidden in it (WAV's
  // 16-bit PCM for DTS and the like). The study of the stream has already settled what it is:
  // probing again, through every prober over half a megabyte, cost a first read 25 ms.
  if (IsPcm(facts.parameters->codec_id)) {
    av_dict_set(&options, "max_probe_packets", "1", 0);
  }
  // Opened whole or not at all: a later read must not find a demuxer that failed half-way.
  FormatContextPtr opened;
  const int result = OpenBoundedInput(path, facts.demuxer, &options, opened);
  av_dict_free(&options);
  if (result < 0) return ToOSErr(result);
  // Formats that find their streams while reading need the same search as the first open, so
  // that stream numbers agree.
  if ((opened->ctx_flags & AVFMTCTX_NOHEADER) != 0 ||
      facts.streamIndex >= static_cast<int>(opened->nb_streams)) {
    if (FindStreamInfo(opened.get()) < 0) return kInvalidMovieErr;
  }
  if (facts.streamIndex >= static_cast<int>(opened->nb_streams)) return kInvalidMovieErr;
  opened->max_index_size = 64 << 20;
  KeepOnlyStream(opened.get(), facts.streamIndex);
  format = std::move(opened);
  return kNoErr;
}

OSErr AudioStreamReader::ResetDecoder() {
  decoder = OpenAudioDecoder(facts);
  if (!decoder || !packet || !frame) return kInvalidMovieErr;
  finishing.reset();
  decoderPart = 0;
  decoderHasSound = false;
  pendingFrames = 0;
  inputEnded = false;
  decoderDrained = false;
  lastPacketIndex = -1;
  return kNoErr;
}

OSErr AudioStreamReader::Restart() {
  // Until this succeeds, no read may continue from where the last one ended.
  positioned = false;
  if (const OSErr error = Open(); error != kNoErr) return error;
  if (const OSErr error = ResetDecoder(); error != kNoErr) return error;
  positioned = true;
  nextFramePosition = 0;
  discardBefore = AV_NOPTS_VALUE;
  firstIndexPacket = 0;
  return kNoErr;
}

OSErr AudioStreamReader::SeekTo(std::int64_t start, std::int64_t extraPreroll) {
  positioned = false;
  const std::int64_t preroll = facts.preroll + extraPreroll;
  if (start - preroll <= 0) return Restart();
  std::int64_t timestamp = 0;
  if (facts.exactTimestamps) {
    timestamp = facts.origin + av_rescale_q_rnd(start - preroll, AVRational{1, facts.sampleRate},
                                                facts.timeBase, AV_ROUND_DOWN);
  } else {
    if (!indexBuilt) {
      if (const OSErr error = BuildIndex(); error != kNoErr) return error;
    }
    // The packet holding `start`, then back by the pre-roll.
    std::size_t j =
        static_cast<std::size_t>(std::upper_bound(index.begin(), index.end(), start,
                                                  [](std::int64_t value, const IndexEntry& entry) {
                                                    return value < entry.end;
                                                  }) -
                                 index.begin());
    if (j >= index.size()) return Restart();
    while (j > 0 && start - index[j - 1].end < preroll) --j;
    if (j == 0 || index[j].key.position < 0) return Restart();
    firstIndexPacket = j;
    if (facts.chained) return EnterPart(index[j].part);
    if (index[j].timestamp == AV_NOPTS_VALUE) return Restart();
    timestamp = index[j].timestamp;
  }
  if (!format) {
    if (const OSErr error = Open(); error != kNoErr) return error;
  }
  if (SeekFrame(format.get(), facts.streamIndex, timestamp, AVSEEK_FLAG_BACKWARD) < 0) {
    return Restart();
  }
  if (const OSErr error = ResetDecoder(); error != kNoErr) return error;
  positioned = false;
  discardBefore = facts.exactTimestamps ? timestamp : AV_NOPTS_VALUE;
  lastKey = PacketKey{};
  return kNoErr;
}

OSErr AudioStreamReader::EnterPart(std::size_t part) {
  // Timestamps start again in every part, so the demuxer's search by time cannot find a
  // packet. Nor does a jump to the page that opens the part do: the demuxer then takes the new
  // serial number for a stream of its own. It continues its one stream with the new part (and
  // passes Vorbis headers on as packets) only when it has read the end of the part before, as
  // in a sequential read. So a fresh demuxer goes to the page where
  // the previous part's last packet starts (the first part is where it stands), and the
  // packets up to the wanted one are skipped undecoded.
  if (const OSErr error = Open(); error != kNoErr) return error;
  if (part > 0) {
    const std::int64_t position = index[partStarts[part] - 1].key.position;
    if (position < 0 || SeekFrame(format.get(), -1, position, AVSEEK_FLAG_BYTE) < 0) {
      return Restart();
    }
  }
  if (const OSErr error = ResetDecoder(); error != kNoErr) return error;
  decoderPart = part;
  positioned = false;
  discardBefore = AV_NOPTS_VALUE;
  lastKey = PacketKey{};
  return kNoErr;
}

OSErr AudioStreamReader::BeginPart(std::size_t part) {
  if (decoderHasSound) {
    avcodec_send_packet(decoder.get(), nullptr);
    finishing = std::move(decoder);
    finishingPart = decoderPart;
  }
  // Vorbis headers come as packets, which set up whichever decoder they reach; Opus's the
  // demuxer reads itself, into the stream's parameters, where they are the part's own (its
  // pre-skip, its gain).
  if (!decoder || facts.parameters->codec_id == AV_CODEC_ID_OPUS) {
    decoder = OpenAudioDecoder(facts, format->streams[facts.streamIndex]->codecpar);
    if (!decoder) return kInvalidMovieErr;
  }
  decoderPart = part;
  decoderHasSound = false;
  return kNoErr;
}

int AudioStreamReader::ReceiveFrame(std::size_t& part) {
  if (finishing) {
    if (avcodec_receive_frame(finishing.get(), frame.get()) == 0) {
      part = finishingPart;
      return 0;
    }
    finishing.reset();
  }
  part = decoderPart;
  return avcodec_receive_frame(decoder.get(), frame.get());
}

std::int64_t AudioStreamReader::FramesWithinPart(std::size_t part, std::int64_t position,
                                                 std::int64_t frames) const {
  if (!facts.chained || facts.partEnds.empty()) return frames;
  // Parts past the last one delivered (another rate or channel count) end where it does.
  const std::int64_t end =
      part < facts.partEnds.size() ? facts.partEnds[part] : facts.partEnds.back();
  return std::clamp<std::int64_t>(end - position, 0, frames);
}

AudioStreamReader::PacketKey AudioStreamReader::KeyOf(const AVPacket& read) {
  PacketKey key{read.pos, 0};
  if (read.pos >= 0 && read.pos == lastKey.position) key.ordinal = lastKey.ordinal + 1;
  lastKey = key;
  return key;
}

OSErr AudioStreamReader::ReadPacket() {
  while (true) {
    const int result = ReadFrame(format.get(), packet.get());
    if (result < 0) {
      // End of input (or an unreadable rest, which a sequential decode stops at too): drain.
      inputEnded = true;
      avcodec_send_packet(decoder.get(), nullptr);
      return kNoErr;
    }
    PacketReference unref(packet.get());
    if (packet->stream_index != facts.streamIndex || !Admit(*packet)) continue;
    bool opensPart = false;
    const bool header = facts.chained && IsChainHeader(*packet, opensPart);
    if (discardBefore != AV_NOPTS_VALUE && packet->pts != AV_NOPTS_VALUE &&
        packet->pts + std::max<std::int64_t>(packet->duration, 0) <= discardBefore) {
      continue;  // wholly before the pre-roll: not worth decoding
    }
    if (indexBuilt && !positioned) {
      const auto found = indexByKey.find(KeyOf(*packet));
      if (found == indexByKey.end()) return kInvalidMovieErr;  // lost: caller restarts
      // A chain's part decodes only with its own headers: those of the part entered go to the
      // decoder, though the packets around them are skipped.
      const IndexEntry& entry = index[found->second];
      // The part's decoder is made even where the packets before the wanted one are skipped.
      if (opensPart) {
        if (const OSErr error = BeginPart(entry.part); error != kNoErr) return error;
      }
      if (found->second < firstIndexPacket &&
          !(entry.header && entry.part == index[firstIndexPacket].part)) {
        continue;
      }
      lastPacketIndex = static_cast<std::int64_t>(found->second);
    } else if (opensPart) {
      // The stream's first packet opens its first part too.
      const std::size_t part = decoderHasSound ? decoderPart + 1 : decoderPart;
      if (const OSErr error = BeginPart(part); error != kNoErr) return error;
    }
    if (facts.chained) {
      KeepPartEnd(*packet);
      decoderHasSound = decoderHasSound || !header;
    }
    // A damaged packet is skipped, as a sequential decode skips it.
    avcodec_send_packet(decoder.get(), packet.get());
    return kNoErr;
  }
}

bool AudioStreamReader::Admit(AVPacket& read) const {
  if (facts.tagFramePosition < 0 || read.pos < 0) return true;
  if (read.pos == facts.tagFramePosition) return false;
  if (read.pos == facts.firstSoundPosition && facts.tagSkip > 0) {
    // What the demuxer marks on the first frame of a file whose tag it found.
    std::uint8_t* skip = av_packet_new_side_data(&read, AV_PKT_DATA_SKIP_SAMPLES, 10);
    if (skip != nullptr) {
      std::memset(skip, 0, 10);
      AV_WL32(skip, facts.tagSkip);
    }
  }
  return true;
}

std::int64_t AudioStreamReader::FramePosition(const AVFrame& decoded) const {
  if (facts.exactTimestamps) {
    const std::int64_t timestamp =
        decoded.pts != AV_NOPTS_VALUE ? decoded.pts : decoded.best_effort_timestamp;
    if (timestamp == AV_NOPTS_VALUE) return -1;
    return av_rescale_q_rnd(timestamp - facts.origin, facts.timeBase,
                            AVRational{1, facts.sampleRate}, AV_ROUND_NEAR_INF);
  }
  // A frame ends where its packet's output ends in a sequential decode.
  if (lastPacketIndex < 0) return -1;
  const IndexEntry& entry = index[static_cast<std::size_t>(lastPacketIndex)];
  return entry.end + entry.cut - decoded.nb_samples;
}

OSErr AudioStreamReader::DecodeNext(bool& ended) {
  ended = false;
  while (true) {
    std::size_t part = 0;
    const int result = ReceiveFrame(part);
    if (result == 0) {
      if (!positioned) {
        const std::int64_t position = FramePosition(*frame);
        if (position < 0) {
          av_frame_unref(frame.get());
          return kInvalidMovieErr;
        }
        positioned = true;
        nextFramePosition = position;
      }
      const std::int64_t kept = FramesWithinPart(part, nextFramePosition, frame->nb_samples);
      if (kept == 0 && frame->nb_samples > 0) {
        av_frame_unref(frame.get());
        continue;
      }
      frame->nb_samples = static_cast<int>(kept);
      framePosition = nextFramePosition;
      nextFramePosition += kept;
      return kNoErr;
    }
    if (result == AVERROR_EOF || (result != AVERROR(EAGAIN) && inputEnded)) {
      decoderDrained = true;
      ended = true;
      return kNoErr;
    }
    if (inputEnded) {
      ended = true;
      return kNoErr;
    }
    if (const OSErr error = ReadPacket(); error != kNoErr) return error;
  }
}

OSErr AudioStreamReader::Convert(const AVFrame& decoded, const std::vector<float*>& planes) {
  const auto frames = static_cast<std::size_t>(decoded.nb_samples);
  const auto decodedChannels = static_cast<std::size_t>(decoded.ch_layout.nb_channels);
  // A chain's part at another rate, or with other channels, is no more of this stream's sound
  // (its length ends before it, and its frames are dropped); should one still come, it is
  // silent rather than played at the wrong rate.
  if (facts.chained && (decoded.sample_rate != facts.sampleRate ||
                        decodedChannels != static_cast<std::size_t>(facts.channels))) {
    for (float* plane : planes) {
      if (plane != nullptr) std::fill(plane, plane + frames, 0.0f);
    }
    return kNoErr;
  }
  // Channels the frame lacks are silent.
  for (std::size_t c = decodedChannels; c < planes.size(); ++c) {
    if (planes[c] != nullptr) std::fill(planes[c], planes[c] + frames, 0.0f);
  }
  // Most lossy decoders already give planar floats: copying beats a pass through the converter.
  if (decoded.format == AV_SAMPLE_FMT_FLTP) {
    for (std::size_t c = 0; c < std::min(decodedChannels, planes.size()); ++c) {
      if (planes[c] != nullptr) {
        std::memcpy(planes[c], decoded.extended_data[c], frames * sizeof(float));
      }
    }
    return kNoErr;
  }
  if (!converter || decoded.format != converterFormat ||
      av_channel_layout_compare(&decoded.ch_layout, &converterLayout) != 0) {
    SwrContext* raw = nullptr;
    // The same layout on both sides: only the sample format changes, nothing is remixed.
    // (swr_alloc_set_opts2 only reads the layouts it is given.)
    auto* layout = const_cast<AVChannelLayout*>(&decoded.ch_layout);
    if (swr_alloc_set_opts2(&raw, layout, AV_SAMPLE_FMT_FLTP, decoded.sample_rate, layout,
                            static_cast<AVSampleFormat>(decoded.format), decoded.sample_rate, 0,
                            nullptr) < 0) {
      return kMemFullErr;
    }
    converter.reset(raw);
    if (swr_init(converter.get()) < 0) return kInvalidMovieErr;
    converterFormat = decoded.format;
    av_channel_layout_uninit(&converterLayout);
    av_channel_layout_copy(&converterLayout, &decoded.ch_layout);
  }
  // Channels nobody wants (a null destination, or more than the stream announced) are
  // converted into scratch space.
  std::vector<std::uint8_t*>& targets = convertTargets;
  targets.resize(decodedChannels);
  for (std::size_t c = 0; c < decodedChannels; ++c) {
    float* plane = c < planes.size() ? planes[c] : nullptr;
    if (plane == nullptr) {
      if (scratch.size() <= c) scratch.resize(c + 1);
      scratch[c].resize(frames);
      plane = scratch[c].data();
    }
    targets[c] = reinterpret_cast<std::uint8_t*>(plane);
  }
  const int converted =
      swr_convert(converter.get(), targets.data(), decoded.nb_samples,
                  const_cast<const std::uint8_t**>(decoded.extended_data), decoded.nb_samples);
  return converted == decoded.nb_samples ? kNoErr : kInvalidMovieErr;
}

OSErr AudioStreamReader::Keep(const AVFrame& decoded) {
  const auto channels =
      static_cast<std::size_t>(std::max(decoded.ch_layout.nb_channels, facts.channels));
  pending.resize(channels);
  directPlanes.resize(channels);
  for (std::size_t c = 0; c < channels; ++c) {
    pending[c].resize(static_cast<std::size_t>(decoded.nb_samples));
    directPlanes[c] = pending[c].data();
  }
  pendingStart = framePosition;
  pendingFrames = 0;
  if (const OSErr error = Convert(decoded, directPlanes); error != kNoErr) return error;
  pendingFrames = decoded.nb_samples;
  return kNoErr;
}

OSErr AudioStreamReader::BuildIndex() {
  index.clear();
  indexByKey.clear();
  if (const OSErr error = Restart(); error != kNoErr) return error;
  partStarts.assign(1, 0);
  lastKey = PacketKey{};
  std::int64_t decodedFrames = 0;
  while (true) {
    const int result = ReadFrame(format.get(), packet.get());
    const bool atEnd = result < 0;
    if (!atEnd) {
      PacketReference unref(packet.get());
      if (packet->stream_index != facts.streamIndex || !Admit(*packet)) continue;
      // The first part's headers were read with the stream; every later part brings its own.
      bool opensPart = false;
      const bool header = facts.chained && IsChainHeader(*packet, opensPart);
      if (opensPart && !index.empty()) partStarts.push_back(index.size());
      index.push_back(
          IndexEntry{KeyOf(*packet), packet->pts, decodedFrames, partStarts.size() - 1, header});
      if (facts.chained) {
        if (opensPart) {
          if (const OSErr error = BeginPart(partStarts.size() - 1); error != kNoErr) return error;
        }
        KeepPartEnd(*packet);
        decoderHasSound = decoderHasSound || !header;
      }
      avcodec_send_packet(decoder.get(), packet.get());
    } else {
      avcodec_send_packet(decoder.get(), nullptr);
    }
    std::size_t part = 0;
    while (ReceiveFrame(part) == 0) {
      const std::int64_t kept = FramesWithinPart(part, decodedFrames, frame->nb_samples);
      if (!index.empty()) index.back().cut += frame->nb_samples - kept;
      decodedFrames += kept;
      av_frame_unref(frame.get());
    }
    // Frames that come out late, or only when draining, belong to the packet sent last.
    if (!index.empty()) index.back().end = decodedFrames;
    if (atEnd) break;
  }
  for (std::size_t i = 0; i < index.size(); ++i) {
    if (index[i].key.position >= 0) indexByKey.emplace(index[i].key, i);
  }
  indexBuilt = true;
  positioned = false;
  return kNoErr;
}

OSErr AudioStreamReader::Read(std::int64_t start, std::int64_t count,
                              const std::vector<float*>& out) {
  const std::int64_t wantEnd = std::min(start + count, facts.length);
  // Whatever is not decoded below (past the end) stays silent.
  const auto silenceFrom = [&](std::int64_t position) {
    for (float* channel : out) {
      if (channel != nullptr) std::fill(channel + (position - start), channel + count, 0.0f);
    }
  };
  if (wantEnd <= start) {
    silenceFrom(start);
    return kNoErr;
  }

  const bool inPending = positioned && pendingFrames > 0 && start >= pendingStart &&
                         start < pendingStart + pendingFrames;
  const bool continues = positioned && start == nextFramePosition;
  int attempts = 0;
  if (!format || (!inPending && !continues)) {
    if (const OSErr error = SeekTo(start, 0); error != kNoErr) return error;
  }
  std::int64_t cursor = start;
  while (cursor < wantEnd) {
    if (pendingFrames > 0 && cursor >= pendingStart && cursor < pendingStart + pendingFrames) {
      const std::int64_t offset = cursor - pendingStart;
      const std::int64_t frames = std::min(pendingStart + pendingFrames, wantEnd) - cursor;
      for (std::size_t c = 0; c < out.size(); ++c) {
        if (out[c] == nullptr || c >= pending.size()) continue;
        std::memcpy(out[c] + (cursor - start), pending[c].data() + offset,
                    static_cast<std::size_t>(frames) * sizeof(float));
      }
      cursor += frames;
      continue;
    }
    if (pendingFrames > 0 && pendingStart > cursor) {
      // The seek landed after the wanted position: go further back, or decode from the start.
      const OSErr error = ++attempts < kSeekAttempts
                              ? SeekTo(cursor, (facts.preroll + facts.sampleRate) << attempts)
                              : Restart();
      if (error != kNoErr) return error;
      continue;
    }
    bool ended = false;
    if (const OSErr error = DecodeNext(ended); error != kNoErr) {
      // Lost track of where the decoder is: a decode from the start always knows.
      if (attempts++ >= kSeekAttempts) return error;
      if (const OSErr restart = Restart(); restart != kNoErr) return restart;
      continue;
    }
    if (ended) break;
    // A frame that falls wholly where the caller wants it goes straight there; any other is
    // kept, so that a read that continues can start from it.
    const std::int64_t frames = frame->nb_samples;
    OSErr error = kNoErr;
    if (framePosition == cursor && cursor + frames <= wantEnd) {
      directPlanes.resize(out.size());
      for (std::size_t c = 0; c < out.size(); ++c) {
        directPlanes[c] = out[c] != nullptr ? out[c] + (cursor - start) : nullptr;
      }
      error = Convert(*frame, directPlanes);
      pendingFrames = 0;
      cursor += frames;
    } else {
      error = Keep(*frame);
    }
    av_frame_unref(frame.get());
    if (error != kNoErr) return error;
  }
  // Sound that ends early in a file another program has since cut: silence there would pass for
  // what the file held.
  if (cursor < wantEnd && Shrunk()) return kIOErr;
  silenceFrom(cursor);
  return kNoErr;
}

bool AudioStreamReader::Shrunk() const {
  if (facts.fileSize <= 0) return false;
  const std::int64_t size = CurrentFileSize(format.get());
  return size >= 0 && size < facts.fileSize;
}

}  // namespace kiva::qt::media::ffmpeg
