#include "FFmpegMovieStorage.h"

#include "FFmpegChannelLayout.h"
#include "FFmpegErrors.h"
#include "FFmpegExporter.h"
#include "FloatSoundDescription.h"

#include <cstring>

namespace kiva::qt::media::ffmpeg {

AVCodecID CodecFor(const AudioStreamBasicDescription& description) {
  if (description.mFormatID == kAudioFormatLinearPCM) {
    const bool isFloat = (description.mFormatFlags & kAudioFormatFlagIsFloat) != 0;
    const bool bigEndian = (description.mFormatFlags & kAudioFormatFlagIsBigEndian) != 0;
    switch (description.mBitsPerChannel) {
      case 8:
        return AV_CODEC_ID_PCM_U8;
      case 16:
        return bigEndian ? AV_CODEC_ID_PCM_S16BE : AV_CODEC_ID_PCM_S16LE;
      case 24:
        return bigEndian ? AV_CODEC_ID_PCM_S24BE : AV_CODEC_ID_PCM_S24LE;
      case 32:
        if (isFloat) return bigEndian ? AV_CODEC_ID_PCM_F32BE : AV_CODEC_ID_PCM_F32LE;
        return bigEndian ? AV_CODEC_ID_PCM_S32BE : AV_CODEC_ID_PCM_S32LE;
      default:
        return AV_CODEC_ID_NONE;
    }
  }
  // Compressed formats go by the exporters' format codes.
  const char* encoder = EncoderNameFor(description.mFormatID);
  const AVCodec* codec = encoder != nullptr ? avcodec_find_encoder_by_name(encoder) : nullptr;
  return codec != nullptr ? codec->id : AV_CODEC_ID_NONE;
}

OSErr FFmpegMovieStorage::Create(const std::string& path, std::unique_ptr<MovieStorage>& made) {
  std::unique_ptr<FFmpegMovieStorage> storage(new FFmpegMovieStorage());
  AVFormatContext* raw = nullptr;
  if (avformat_alloc_output_context2(&raw, nullptr, "mov", path.c_str()) < 0) return kMemFullErr;
  storage->output.reset(raw);
  storage->path = path;
  // Opening for writing truncates an existing file: a new movie replaces it.
  if (const int result = avio_open(&storage->output->pb, path.c_str(), AVIO_FLAG_WRITE);
      result < 0) {
    return ToOSErr(result);
  }
  if (!storage->packet) return kMemFullErr;
  made = std::move(storage);
  return kNoErr;
}

FFmpegMovieStorage::~FFmpegMovieStorage() { Close(); }

OSErr FFmpegMovieStorage::NewSoundTrack() {
  if (stream != nullptr) return -2009;  // one track only
  stream = avformat_new_stream(output.get(), nullptr);
  return stream != nullptr ? kNoErr : kMemFullErr;
}

OSErr FFmpegMovieStorage::NewSoundMedia(std::int32_t scale, const SoundFormat& soundFormat) {
  if (stream == nullptr || scale <= 0) return -2010;
  const AVCodecID codec = CodecFor(soundFormat.description);
  if (codec == AV_CODEC_ID_NONE) return kInvalidMovieErr;
  timeScale = scale;
  format = soundFormat;
  AVCodecParameters& parameters = *stream->codecpar;
  parameters.codec_type = AVMEDIA_TYPE_AUDIO;
  parameters.codec_id = codec;
  parameters.sample_rate = static_cast<int>(soundFormat.description.mSampleRate);
  std::vector<std::uint32_t> labels;
  for (const auto& channel : soundFormat.layout.mChannelDescriptions) {
    labels.push_back(channel.mChannelLabel);
  }
  if (labels.size() != soundFormat.description.mChannelsPerFrame) {
    labels.assign(soundFormat.description.mChannelsPerFrame, kAudioChannelLabel_Discrete);
  }
  OwnedChannelLayout layout;
  if (soundFormat.description.mFormatID == kAudioFormatLinearPCM) {
    ChannelLayoutFromLabels(labels, layout);
  } else {
    // A coder's packets are in the coder's own channel order.
    av_channel_layout_default(layout.get(), static_cast<int>(labels.size()));
  }
  av_channel_layout_uninit(&parameters.ch_layout);
  if (av_channel_layout_copy(&parameters.ch_layout, &*layout) < 0) return kMemFullErr;
  parameters.bits_per_coded_sample = static_cast<int>(soundFormat.description.mBitsPerChannel);
  parameters.block_align = static_cast<int>(soundFormat.description.mBytesPerFrame);
  parameters.frame_size = static_cast<int>(soundFormat.description.mFramesPerPacket);
  if (av_get_bits_per_sample(codec) % 8 == 0 && av_get_bits_per_sample(codec) > 0) {
    // Codings of whole bytes per sample (A-law, mu-law) are stored as PCM is, a sample per frame:
    // declared as packets of many frames, a movie whose one packet lasts a single frame reads
    // as empty in FFmpeg.
    parameters.frame_size = 1;
  }
  parameters.initial_padding = static_cast<int>(soundFormat.primingFrames);
  if (!soundFormat.magicCookie.empty()) {
    parameters.extradata = static_cast<std::uint8_t*>(
        av_mallocz(soundFormat.magicCookie.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (parameters.extradata == nullptr) return kMemFullErr;
    std::memcpy(parameters.extradata, soundFormat.magicCookie.data(),
                soundFormat.magicCookie.size());
    parameters.extradata_size = static_cast<int>(soundFormat.magicCookie.size());
  }
  stream->time_base = AVRational{1, scale};
  return kNoErr;
}

OSErr FFmpegMovieStorage::WriteHeader(bool noSamples) {
  if (headerWritten) return kNoErr;
  if (stream == nullptr || timeScale <= 0) return -2010;
  AVDictionary* options = nullptr;
  // Edit lists count in the movie's time scale: at the sample rate they are exact.
  av_dict_set_int(&options, "movie_timescale", timeScale, 0);
  // The muxer leaves a track without samples out of the movie it writes at the end; a movie
  // written up front keeps it, so that a movie of no samples still has its one sound track.
  if (noSamples) av_dict_set(&options, "movflags", "empty_moov", 0);
  const int result = avformat_write_header(output.get(), &options);
  av_dict_free(&options);
  if (result < 0) return ToOSErr(result) == kInvalidMovieErr ? kIOErr : ToOSErr(result);
  headerWritten = true;
  return kNoErr;
}

OSErr FFmpegMovieStorage::AddMediaSample(const void* data, std::size_t size,
                                         std::int64_t durationPerSample, const SoundFormat&,
                                         std::int64_t samples) {
  if (const OSErr error = WriteHeader(); error != kNoErr) return error;
  if (data == nullptr || size == 0 || samples <= 0) return -50;
  if (av_new_packet(packet.get(), static_cast<int>(size)) < 0) return kMemFullErr;
  std::memcpy(packet->data, data, size);
  packet->stream_index = stream->index;
  // Compressed media begin with the coder's priming: its samples sit before time 0, and the
  // muxer's edit list makes readers skip them.
  packet->pts = packet->dts = av_rescale_q(mediaDuration - format.primingFrames,
                                           AVRational{1, timeScale}, stream->time_base);
  packet->duration =
      av_rescale_q(samples * durationPerSample, AVRational{1, timeScale}, stream->time_base);
  packet->flags |= AV_PKT_FLAG_KEY;
  const int result = av_write_frame(output.get(), packet.get());
  av_packet_unref(packet.get());
  if (result < 0) return kIOErr;
  mediaDuration += samples * durationPerSample;
  return kNoErr;
}

OSErr FFmpegMovieStorage::AddMovieToStorage() {
  if (const OSErr error = WriteHeader(!headerWritten); error != kNoErr) return error;
  if (trailerWritten) return kNoErr;
  movieAtom = avio_tell(output->pb);
  const int result = av_write_trailer(output.get());
  trailerWritten = true;
  if (result < 0) return kIOErr;
  // A full disk shows only when the buffered end of the file is flushed.
  avio_flush(output->pb);
  return output->pb->error < 0 ? kIOErr : kNoErr;
}

OSErr FFmpegMovieStorage::Close() {
  if (!output || output->pb == nullptr) return kNoErr;
  if (avio_closep(&output->pb) < 0) return kIOErr;
  const AVCodecID codec = stream != nullptr ? stream->codecpar->codec_id : AV_CODEC_ID_NONE;
  if (trailerWritten && movieAtom >= 0 &&
      (codec == AV_CODEC_ID_PCM_F32LE || codec == AV_CODEC_ID_PCM_F64LE)) {
    return DescribeFloatAsLinearPcm(path, static_cast<std::uint64_t>(movieAtom));
  }
  return kNoErr;
}

}  // namespace kiva::qt::media::ffmpeg
