#include "FFmpegMovie.h"

#include "DisplayOrientation.h"
#include "VideoTrackEnd.h"

#include "BoundedInput.h"
#include "DeclaredTrackDurations.h"
#include "FFmpegAudioExtraction.h"
#include "FFmpegChannelLayout.h"
#include "FFmpegErrors.h"
#include "FFmpegFormatCodes.h"
#include "FFmpegImporter.h"
#include "MimeDatabase.h"
#include "ResampledStreamReader.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kiva::qt::media::ffmpeg {

namespace {

std::string Describe(const AVCodecParameters& parameters) {
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get(parameters.codec_id);
  std::string text = descriptor != nullptr ? descriptor->name : "unknown";
  if (parameters.codec_type == AVMEDIA_TYPE_AUDIO) {
    // The coding's full name: for PCM it gives the byte order ("PCM signed 24-bit big-endian").
    if (descriptor != nullptr && descriptor->long_name != nullptr) text = descriptor->long_name;
    char layout[64] = "";
    av_channel_layout_describe(&parameters.ch_layout, layout, sizeof layout);
    text += ", " + std::to_string(parameters.sample_rate) + " Hz, " + layout;
  } else if (parameters.codec_type == AVMEDIA_TYPE_VIDEO) {
    const char* pixels = av_get_pix_fmt_name(static_cast<AVPixelFormat>(parameters.format));
    text += ", " + std::to_string(parameters.width) + "x" + std::to_string(parameters.height);
    if (pixels != nullptr) text += std::string(", ") + pixels;
  }
  return text;
}

AudioStreamBasicDescription StreamDescriptionOf(const AVCodecParameters& parameters,
                                                std::uint32_t formatCode) {
  AudioStreamBasicDescription description;
  description.mSampleRate = parameters.sample_rate;
  description.mChannelsPerFrame = static_cast<std::uint32_t>(parameters.ch_layout.nb_channels);
  if (IsPcm(parameters.codec_id)) {
    const int bits = av_get_bits_per_sample(parameters.codec_id);
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(parameters.codec_id);
    const std::string name = descriptor != nullptr ? descriptor->name : "";
    description.mFormatID = kAudioFormatLinearPCM;
    description.mFormatFlags = kAudioFormatFlagIsPacked;
    if (name.find("pcm_f") == 0) {
      description.mFormatFlags |= kAudioFormatFlagIsFloat;
    } else if (name.find("pcm_s") == 0) {
      description.mFormatFlags |= kAudioFormatFlagIsSignedInteger;
    }
    if (name.size() > 2 && name.compare(name.size() - 2, 2, "be") == 0) {
      description.mFormatFlags |= kAudioFormatFlagIsBigEndian;
    }
    description.mBitsPerChannel = static_cast<std::uint32_t>(bits);
    description.mFramesPerPacket = 1;
    description.mBytesPerFrame =
        description.mChannelsPerFrame * static_cast<std::uint32_t>(bits) / 8;
    description.mBytesPerPacket = description.mBytesPerFrame;
  } else {
    description.mFormatID = formatCode;
    description.mFramesPerPacket = static_cast<std::uint32_t>(std::max(parameters.frame_size, 0));
  }
  return description;
}

class SoundTrack final : public Track {
 public:
  // `frames` is the track's length on the movie's timeline at its own rate (TrackFrames).
  SoundTrack(const AVStream& stream, const AudioStreamFacts* facts, std::int64_t frames,
             const std::int32_t& movieScale)
      : movieScale(movieScale), facts(facts), frames(frames) {
    // The facts hold what the study learned beyond the container (the decoder's layout).
    const AVCodecParameters& parameters = facts != nullptr ? *facts->parameters : *stream.codecpar;
    sound.formatCode = FormatCodeOf(parameters.codec_id);
    sound.userReadableText = Describe(parameters);
    if (facts != nullptr) {
      sound.streamDescription = StreamDescriptionOf(parameters, sound.formatCode);
      AudioChannelLayout layout;
      if (ToAudioChannelLayout(parameters.ch_layout, layout)) sound.channelLayout = layout;
    }
    mediaScale = facts != nullptr ? facts->sampleRate : std::max(parameters.sample_rate, 1);
  }
  std::uint32_t GetMediaType() const override { return kSoundMediaType; }
  // Rounded up into the movie's scale, so that duration / scale * rate, truncated, gives back
  // exactly the frame count whenever the movie's scale is at least the rate.
  std::int64_t GetDuration() const override {
    if (facts == nullptr) return 0;
    return av_rescale_rnd(frames, movieScale, facts->sampleRate, AV_ROUND_UP);
  }
  std::int32_t GetMediaTimeScale() const override { return mediaScale; }
  std::int64_t GetMediaDisplayDuration() const override {
    return facts != nullptr ? facts->length : 0;
  }
  std::int64_t GetMediaSampleCount() const override { return GetMediaDisplayDuration(); }
  SoundDescription GetSoundDescription() const override { return sound; }
  ImageDescription GetImageDescription() const override { return {}; }

 private:
  const std::int32_t& movieScale;
  const AudioStreamFacts* facts;
  std::int64_t frames;
  std::int32_t mediaScale = 1;
  SoundDescription sound;
};

class VideoTrack final : public Track {
 public:
  VideoTrack(const AVFormatContext& format, const AVStream& stream, const std::int32_t& movieScale)
      : movieScale(movieScale) {
    const AVCodecParameters& parameters = *stream.codecpar;
    // The media's time scale counts whole ticks of the stream's time base.
    mediaScale = stream.time_base.num == 1
                     ? stream.time_base.den
                     : static_cast<std::int32_t>(std::lround(av_q2d(av_inv_q(stream.time_base))));
    const std::int64_t first = stream.start_time != AV_NOPTS_VALUE ? stream.start_time : 0;
    std::int64_t end = AV_NOPTS_VALUE;
    if (stream.duration != AV_NOPTS_VALUE && stream.duration > 0) {
      displayDuration = av_rescale_q(stream.duration, stream.time_base, AVRational{1, mediaScale});
    } else if ((end = VideoTrackEnd(format, stream)) != AV_NOPTS_VALUE && end > first) {
      displayDuration = av_rescale_q(end - first, stream.time_base, AVRational{1, mediaScale});
    } else if (format.duration != AV_NOPTS_VALUE && format.duration > 0) {
      displayDuration = av_rescale_q(format.duration, AV_TIME_BASE_Q, AVRational{1, mediaScale});
    }
    // A movie's index lists every sample, flagging those its edit list leaves out (other
    // containers index only some, such as keyframes).
    const bool movie = std::strncmp(format.iformat->name, "mov,", 4) == 0;
    const int entries = movie ? avformat_index_get_entries_count(&stream) : 0;
    if (entries > 0) {
      sampleCount = 0;
      for (int e = 0; e < entries; ++e) {
        const AVIndexEntry* entry = avformat_index_get_entry(const_cast<AVStream*>(&stream), e);
        if (entry != nullptr && (entry->flags & AVINDEX_DISCARD_FRAME) == 0) ++sampleCount;
      }
    } else {
      sampleCount = stream.nb_frames;
    }
    if (sampleCount <= 0 && stream.avg_frame_rate.num > 0 && displayDuration > 0) {
      sampleCount =
          av_rescale_q(displayDuration, AVRational{1, mediaScale}, av_inv_q(stream.avg_frame_rate));
    }
    // Theora in Ogg states neither a frame count nor an average rate, but its granules count
    // frames: one tick of its time base is one frame at the rate its header gives.
    if (sampleCount <= 0 && displayDuration > 0 && stream.r_frame_rate.num > 0 &&
        stream.r_frame_rate.den > 0 &&
        av_cmp_q(av_inv_q(stream.time_base), stream.r_frame_rate) == 0) {
      sampleCount =
          av_rescale_q(displayDuration, AVRational{1, mediaScale}, av_inv_q(stream.r_frame_rate));
    }
    seconds = displayDuration > 0 ? static_cast<double>(displayDuration) / mediaScale : 0.0;
    image.codecType = FormatCodeOf(parameters.codec_id);
    if (const AVCodecDescriptor* descriptor = avcodec_descriptor_get(parameters.codec_id)) {
      image.codecName = descriptor->long_name != nullptr ? descriptor->long_name : "";
    }
    image.summary = Describe(parameters);
    if (parameters.sample_aspect_ratio.num > 0 && parameters.sample_aspect_ratio.den > 0) {
      image.pixelAspectRatio =
          std::make_pair(static_cast<std::uint32_t>(parameters.sample_aspect_ratio.num),
                         static_cast<std::uint32_t>(parameters.sample_aspect_ratio.den));
    }
  }
  std::uint32_t GetMediaType() const override { return kVideoMediaType; }
  std::int64_t GetDuration() const override { return std::llround(seconds * movieScale); }
  std::int32_t GetMediaTimeScale() const override { return mediaScale; }
  std::int64_t GetMediaDisplayDuration() const override { return displayDuration; }
  std::int64_t GetMediaSampleCount() const override { return sampleCount; }
  SoundDescription GetSoundDescription() const override { return {}; }
  ImageDescription GetImageDescription() const override { return image; }

 private:
  const std::int32_t& movieScale;
  std::int32_t mediaScale = 600;
  std::int64_t displayDuration = 0;
  std::int64_t sampleCount = 0;
  double seconds = 0;
  ImageDescription image;
};

class OtherTrack final : public Track {
 public:
  explicit OtherTrack(std::uint32_t type) : type(type) {}
  std::uint32_t GetMediaType() const override { return type; }
  std::int64_t GetDuration() const override { return 0; }
  std::int32_t GetMediaTimeScale() const override { return 1000; }
  std::int64_t GetMediaDisplayDuration() const override { return 0; }
  std::int64_t GetMediaSampleCount() const override { return 0; }
  SoundDescription GetSoundDescription() const override { return {}; }
  ImageDescription GetImageDescription() const override { return {}; }

 private:
  std::uint32_t type;
};

// A sound track's length on the movie's timeline, at its own rate, from its start offset and
// the stream's length: a movie's own account of it (its edit list, empty edits included: the
// declared duration in its own scale times the rate, truncated) where it is where the decoded
// sound ends; otherwise (no movie, or a damaged header) where the sound ends.
std::int64_t TrackFrames(std::int64_t offset, const AudioStreamFacts& facts, std::int64_t declared,
                         std::int64_t declaredScale) {
  const std::int64_t end = offset + facts.length;
  if (declared <= 0 || declaredScale <= 0) return end;
  // Each edit counts in whole units, rounded either way by the writer: the declared length
  // lies less than one unit before the end or less than two after it (compared as exact
  // fractions).
  const __int128 declaredAtRate = static_cast<__int128>(declared) * facts.sampleRate;
  const __int128 endInUnits = static_cast<__int128>(end) * declaredScale;
  if (declaredAtRate <= endInUnits - declaredScale ||
      declaredAtRate >= endInUnits + 2 * static_cast<__int128>(facts.sampleRate)) {
    return end;
  }
  return static_cast<std::int64_t>(static_cast<double>(declared) /
                                   static_cast<double>(declaredScale) * facts.sampleRate);
}

// Containers whose time 0 is where their timeline starts, whatever comes first; the others
// (transport streams and the like) start theirs at any clock value.
bool TimesStartAtZero(const AVInputFormat& demuxer) {
  return std::strncmp(demuxer.name, "mov,", 4) == 0 ||
         std::strncmp(demuxer.name, "matroska", 8) == 0;
}

bool IsCoverArt(const AVStream& stream) {
  return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

// The smallest power of two at or above every rate: then a duration rounded up in that scale
// converts back to exactly the frame count. A damaged header can declare a rate beyond 2^30,
// the largest power of two a 32-bit scale holds; such a rate gets that largest scale.
std::int32_t AudioExactScale(const std::vector<AudioStreamFacts>& audio) {
  constexpr std::int32_t kLargestScale = std::int32_t{1} << 30;
  std::int32_t scale = 600;
  int highest = 0;
  for (const auto& facts : audio) highest = std::max(highest, facts.sampleRate);
  if (highest > 0) {
    scale = 1;
    while (scale < highest && scale < kLargestScale) scale <<= 1;
  }
  return scale;
}

}  // namespace

OSErr FFmpegMovie::Open(const std::string& path, std::unique_ptr<Movie>& movie) {
  FormatContextPtr format;
  if (const int result = OpenBoundedInput(path, nullptr, nullptr, format); result < 0) {
    return ToOSErr(result);
  }
  if (!ReadsSoundOrMovies(format->iformat, MimeDatabase::System())) return kInvalidMovieErr;
  if (FindStreamInfo(format.get()) < 0) return kInvalidMovieErr;

  std::unique_ptr<FFmpegMovie> opened(new FFmpegMovie());
  opened->path = path;
  opened->demuxer = format->iformat;
  opened->audio = std::make_shared<std::vector<AudioStreamFacts>>(StudyAudioStreams(format.get()));
  opened->timeScale = AudioExactScale(*opened->audio);

  // The movie's timeline starts at its earliest sound or picture; in a movie, and in Matroska
  // and WebM, whose clocks start at 0 too, at that 0 at the latest: a track that begins later
  // (after an empty edit, or with a first block stamped late) is heard after silence.
  bool hasMedia = false;
  bool decodable = !opened->audio->empty();
  double origin = 0;
  bool originSet = TimesStartAtZero(*format->iformat);
  const auto consider = [&](double start) {
    if (!originSet || start < origin) origin = start;
    originSet = true;
  };
  for (const auto& facts : *opened->audio) {
    consider(static_cast<double>(facts.origin) * av_q2d(facts.timeBase));
  }
  for (unsigned i = 0; i < format->nb_streams; ++i) {
    const AVStream& stream = *format->streams[i];
    const auto type = stream.codecpar->codec_type;
    if (IsCoverArt(stream)) continue;
    if (type == AVMEDIA_TYPE_AUDIO || type == AVMEDIA_TYPE_VIDEO) hasMedia = true;
    if (type == AVMEDIA_TYPE_VIDEO && avcodec_find_decoder(stream.codecpar->codec_id)) {
      decodable = true;
      if (stream.start_time != AV_NOPTS_VALUE) {
        consider(static_cast<double>(stream.start_time) * av_q2d(stream.time_base));
      }
    }
  }
  if (hasMedia && !decodable) return kInvalidMovieErr;

  for (const auto& facts : *opened->audio) {
    const double start = static_cast<double>(facts.origin) * av_q2d(facts.timeBase);
    opened->audioOffsets.push_back(
        std::max<std::int64_t>(0, std::llround((start - origin) * facts.sampleRate)));
  }
  // Sound tracks first, including those without a decoder (they describe nothing).
  const bool quickTime = std::strncmp(format->iformat->name, "mov,", 4) == 0;
  const DeclaredTrackDurations declared = quickTime && !opened->audio->empty()
                                              ? ReadDeclaredTrackDurations(path)
                                              : DeclaredTrackDurations{};
  for (unsigned i = 0; i < format->nb_streams; ++i) {
    const AVStream& stream = *format->streams[i];
    if (stream.codecpar->codec_type != AVMEDIA_TYPE_AUDIO) continue;
    AudioStreamFacts* facts = nullptr;
    std::int64_t frames = 0;
    for (std::size_t a = 0; a < opened->audio->size(); ++a) {
      if ((*opened->audio)[a].streamIndex == static_cast<int>(i)) {
        facts = &(*opened->audio)[a];
        const auto length = declared.tracks.find(stream.id);
        const std::int64_t offset = opened->audioOffsets[a];
        frames = TrackFrames(offset, *facts, length != declared.tracks.end() ? length->second : 0,
                             declared.movieScale);
        // Nothing is heard past the track's end, though its last packet decodes further; up to
        // that end, all it decodes to.
        facts->length = std::clamp<std::int64_t>(frames - offset, 0,
                                                 std::max(facts->length, facts->decodedLength));
      }
    }
    opened->tracks.push_back(
        std::make_unique<SoundTrack>(stream, facts, frames, opened->timeScale));
  }
  for (unsigned i = 0; i < format->nb_streams; ++i) {
    const AVStream& stream = *format->streams[i];
    if (stream.codecpar->codec_type != AVMEDIA_TYPE_VIDEO || IsCoverArt(stream)) continue;
    if (opened->videoStream < 0 && avcodec_find_decoder(stream.codecpar->codec_id) != nullptr) {
      opened->videoStream = static_cast<int>(i);
      opened->videoTimeBase = stream.time_base;
      opened->videoOrigin = stream.start_time != AV_NOPTS_VALUE ? stream.start_time : 0;
    }
    if (opened->box.right == 0 && stream.codecpar->width > 0) {
      const AVRational aspect = stream.codecpar->sample_aspect_ratio;
      const double widen = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1.0;
      const auto width = static_cast<std::int32_t>(std::lround(stream.codecpar->width * widen));
      // The box a viewer sees: a picture turned a quarter shows its height as its width.
      const bool turned = DisplayOrientation::Of(stream).SwapsAxes();
      opened->box.bottom = turned ? width : stream.codecpar->height;
      opened->box.right = turned ? stream.codecpar->height : width;
    }
    opened->tracks.push_back(std::make_unique<VideoTrack>(*format, stream, opened->timeScale));
  }
  for (unsigned i = 0; i < format->nb_streams; ++i) {
    const AVStream& stream = *format->streams[i];
    const auto type = stream.codecpar->codec_type;
    if (type == AVMEDIA_TYPE_AUDIO || (type == AVMEDIA_TYPE_VIDEO && !IsCoverArt(stream))) {
      continue;
    }
    opened->tracks.push_back(std::make_unique<OtherTrack>(
        type == AVMEDIA_TYPE_SUBTITLE ? FourCharCode("text") : FourCharCode("meta")));
  }
  if (opened->videoStream >= 0) opened->studied = std::move(format);
  movie = std::move(opened);
  return kNoErr;
}

void FFmpegMovie::SetTimeScale(std::int32_t scale) {
  if (scale > 0) timeScale = scale;
}

const Track* FFmpegMovie::GetTrack(std::int32_t index) const {
  if (index < 1 || index > GetTrackCount()) return nullptr;
  return tracks[static_cast<std::size_t>(index - 1)].get();
}

OSErr FFmpegMovie::BeginAudioExtraction(std::unique_ptr<AudioExtraction>& session) {
  if (audio->empty()) return kInvalidMovieErr;
  std::vector<TimelineTrack> timeline;
  for (std::size_t a = 0; a < audio->size(); ++a) {
    timeline.push_back(TimelineTrack{&(*audio)[a], audioOffsets[a]});
  }
  // The session runs at the rate of the last sound track, the rate the movie reports.
  const int rate = audio->back().sampleRate;
  if (!std::all_of(audio->begin(), audio->end(), [rate](const AudioStreamFacts& facts) {
        return ResampledStreamReader::Converts(facts.sampleRate, rate);
      })) {
    return kInvalidMovieErr;
  }
  session = std::make_unique<FFmpegAudioExtraction>(path, audio, timeline, rate);
  return kNoErr;
}

}  // namespace kiva::qt::media::ffmpeg

namespace kiva::qt::media::ffmpeg {

FFmpegVideoRenderer* FFmpegMovie::Renderer() {
  if (!renderer && videoStream >= 0) {
    renderer = std::make_unique<FFmpegVideoRenderer>(path, std::move(studied), demuxer, videoStream,
                                                     videoTimeBase);
  }
  return renderer.get();
}

OSErr FFmpegMovie::NewOffscreen(const Rect& newBox, std::unique_ptr<Offscreen>& made) {
  const std::int64_t width = static_cast<std::int64_t>(newBox.right) - newBox.left;
  const std::int64_t height = static_cast<std::int64_t>(newBox.bottom) - newBox.top;
  // 16384 is as large as the scaler goes.
  if (width <= 0 || height <= 0 || width > 16384 || height > 16384) return -50;
  return pictures->Make(static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), made);
}

void FFmpegMovie::SetOffscreen(Offscreen* target) {
  offscreen = target;
  if (renderer) renderer->TargetChanged();
}

void FFmpegMovie::SetPlayHints(std::uint32_t hints, std::uint32_t mask) {
  if (mask & kHintsHighQuality) highQuality = (hints & kHintsHighQuality) != 0;
}

OSErr FFmpegMovie::Task() {
  FFmpegVideoRenderer* video = Renderer();
  if (video == nullptr) return kInvalidMovieErr;
  if (offscreen == nullptr) return -2001;  // nothing to draw into
  const std::int64_t time = av_rescale_q(std::max<std::int64_t>(timeValue, 0),
                                         AVRational{1, timeScale}, video->TimeBase());
  return video->Render(time, highQuality, *offscreen);
}

OSErr FFmpegMovie::GetNextInterestingTime(std::uint16_t flags, std::int64_t time,
                                          std::int64_t& next, std::int64_t& duration) {
  next = -1;
  duration = 0;
  if (videoStream < 0) return kNoErr;
  if (!sampleTimes) sampleTimes = std::make_unique<VideoSampleTimes>(path, demuxer, videoStream);
  const AVRational movieBase{1, timeScale};
  for (std::size_t i = 0;; ++i) {
    bool exists = false;
    std::int64_t start = 0;
    std::int64_t length = 0;
    if (const OSErr error = sampleTimes->Sample(i, exists, start, length); error != kNoErr) {
      return error;
    }
    if (!exists) return kNoErr;
    const std::int64_t at = av_rescale_q(start - videoOrigin, videoTimeBase, movieBase);
    if (at > time || ((flags & kNextTimeEdgeOK) != 0 && at == time)) {
      next = at;
      duration = av_rescale_q(length, videoTimeBase, movieBase);
      return kNoErr;
    }
  }
}

}  // namespace kiva::qt::media::ffmpeg
