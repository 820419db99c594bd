// Draws the picture a player shows at a given time of one video stream, at any size, as ARGB.
//
// Frame times come from one scan of the stream's packets (presentation times in order). A
// request for time t shows the last frame that starts at or before t. Asking for the frame
// after the last one decodes on; anything else seeks to the keyframe before it and decodes
// forward. The last decoded frame, and its last scaled picture, are kept: a frame asked for
// twice is decoded and scaled once.
#pragma once

#include "FFmpegPtr.h"

#include "../MediaStatus.h"
#include "../Offscreen.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kiva::qt::media::ffmpeg {

struct SwsContextDeleter {
  void operator()(SwsContext* context) const { sws_freeContext(context); }
};

class FFmpegVideoRenderer {
 public:
  // `demuxer` is the one the file was opened with (later opens skip format probing).
  FFmpegVideoRenderer(std::string path, const AVInputFormat* demuxer, int streamIndex,
                      AVRational timeBase);

  // Presentation times of the frames, from the first frame's time, in the stream's time base,
  // and each frame's duration.
  OSErr FrameTimes(const std::vector<std::int64_t>*& times,
                   const std::vector<std::int64_t>*& durations);
  AVRational TimeBase() const { return timeBase; }

  // Draws the frame shown at `time` (stream time base, from the first frame) into `target`,
  // scaled to its size.
  OSErr Render(std::int64_t time, bool highQuality, Offscreen& target);

  // Frames decoded so far (for tests of the decoding strategy).
  std::int64_t DecodedFrames() const { return decodedFrames; }

 private:
  OSErr Open();
  OSErr ScanFrames();
  OSErr Seek(std::int64_t timestamp);
  // Decodes frames until the one whose timestamp is `wanted` (or the last one before it).
  OSErr DecodeUntil(std::int64_t wanted);
  OSErr ReceiveOne(bool& gotFrame, bool& ended);
  void Show(AVFrame* frame, std::int64_t timestamp);
  OSErr Scale(const AVFrame& frame, bool highQuality, Offscreen& target);

  std::string path;
  const AVInputFormat* demuxer;
  int streamIndex;
  AVRational timeBase{1, 1};
  FormatContextPtr format;
  CodecContextPtr decoder;
  PacketPtr packet;
  FramePtr decoded;    // scratch for the decoder
  FramePtr current;    // the frame shown at the time last asked for
  FramePtr lookahead;  // the frame after it, when decoding already reached it
  std::unique_ptr<SwsContext, SwsContextDeleter> scaler;
  // What the scaler's colour details were last set for.
  struct ScalerSetting {
    int sourceWidth = 0, sourceHeight = 0, sourceFormat = -1;
    int width = 0, height = 0, flags = 0;
    int colorspace = 0;
    bool fullRange = false;
    bool operator==(const ScalerSetting&) const = default;
  };
  ScalerSetting scalerSetting;

  bool scanned = false;
  std::vector<std::int64_t> times;     // absolute presentation timestamps, ascending
  std::vector<std::int64_t> relative;  // the same from the first one
  std::vector<std::int64_t> durations;
  std::vector<std::int64_t> keyframes;  // presentation timestamps of keyframes, ascending

  bool positioned = false;  // the decoder continues from `current`
  bool inputEnded = false;
  std::int64_t currentTimestamp = AV_NOPTS_VALUE;
  std::int64_t lookaheadTimestamp = AV_NOPTS_VALUE;
  std::int64_t decodedFrames = 0;

  // The picture last drawn, to answer a repeated request without scaling again.
  std::int64_t drawnTimestamp = AV_NOPTS_VALUE;
  std::int32_t drawnWidth = 0;
  std::int32_t drawnHeight = 0;
  bool drawnHighQuality = false;
  const Offscreen* drawnTarget = nullptr;
};

}  // namespace kiva::qt::media::ffmpeg
