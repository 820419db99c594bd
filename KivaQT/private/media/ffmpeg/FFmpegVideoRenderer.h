// Draws the picture a player shows at a given time of one video stream, at any size, as ARGB.
//
// The frame on screen at time t is the last one starting at or before t. It is found by
// decoding forward from the last keyframe at or before t (VideoKeyframes) and is known only
// once the frame after it has come out, or the stream has ended; where a keyframe turns out to
// start after t, or decoding from it gives nothing, decoding starts again one keyframe further
// back. Frames that come out before the keyframe's own time (leading pictures of an open GOP,
// decoded without the pictures they refer to) are never shown.
//
// Kept between requests for a timeline's sake: the decoder's position (a frame a little ahead
// is decoded on to, without a seek), recently decoded frames (DecodedFrameCache) and a scaler
// per recent size (PictureScaler).
#pragma once

#include "DecodedFrameCache.h"
#include "DisplayOrientation.h"
#include "FFmpegPtr.h"
#include "PictureScaler.h"
#include "VideoKeyframes.h"

#include "../MediaStatus.h"
#include "../Offscreen.h"

#include <cstdint>
#include <string>

namespace kiva::qt::media::ffmpeg {

class FFmpegVideoRenderer {
 public:
  // `opened` is the demuxer the movie studied the file with, taken over (no second parse of
  // the file's header and index); without it the file is opened again at the first request,
  // with `demuxer` (which skips format probing).
  FFmpegVideoRenderer(std::string path, FormatContextPtr opened, const AVInputFormat* demuxer,
                      int streamIndex, AVRational timeBase);

  AVRational TimeBase() const { return timeBase; }

  // Draws the frame shown at `time` (stream time base, from the first frame) into `target`,
  // scaled to its size.
  OSErr Render(std::int64_t time, bool highQuality, Offscreen& target);

  // The picture drawn into is another one from now on: nothing is drawn there yet.
  void TargetChanged() { drawnTimestamp = AV_NOPTS_VALUE; }

  // What the work cost so far (for tests and measurements of the strategy).
  std::int64_t DecodedFrames() const { return decodedFrames; }
  std::int64_t Seeks() const { return seeks; }
  const DecodedFrameCache& Cache() const { return cache; }
  const PictureScaler& Scaler() const { return scaler; }

 private:
  enum class Outcome { kFound, kAllLater, kNothing };

  OSErr Open();
  OSErr FindOrigin();
  OSErr Locate(std::int64_t wanted);
  OSErr Seek(std::int64_t stamp);
  // Decodes on until the frame on screen at `wanted` is known (kFound, in `shown`), the first
  // frame of the run starts after it (kAllLater, that frame in `shown`), or the run ends
  // without a frame (kNothing).
  OSErr DecodeForward(std::int64_t wanted, Outcome& outcome);
  // The next frame of the run into `decoded`; `ended` at the end of the stream.
  OSErr Receive(bool& ended);
  bool DecodeOnReaches(std::int64_t wanted) const;

  std::string path;
  const AVInputFormat* demuxer;
  DisplayOrientation orientation;  // how the stream's pictures stand on screen
  int streamIndex;
  AVRational timeBase;
  // The first frame's time, from which requested times count.
  std::int64_t origin = AV_NOPTS_VALUE;
  std::int64_t frameDuration = 0;  // the average, in the time base; 0 when unknown

  FormatContextPtr format;
  FormatContextPtr studied;  // the movie's demuxer, until Open uses it
  CodecContextPtr decoder;
  PacketPtr packet;
  FramePtr decoded;                       // scratch for the decoder
  FramePtr shown;                         // the frame for the request being answered
  std::int64_t shownAt = AV_NOPTS_VALUE;  // and its time
  VideoKeyframes keyframes;
  DecodedFrameCache cache;
  PictureScaler scaler;

  // The decoding run: from a keyframe (its stamp, and its presentation time before which
  // nothing is shown), on to the last frame put out.
  bool running = false;
  bool inputEnded = false;
  bool waitingForKeyframe = false;
  std::int64_t runStamp = AV_NOPTS_VALUE;
  std::int64_t runStart = AV_NOPTS_VALUE;
  std::int64_t lastOutput = AV_NOPTS_VALUE;
  // Where packets carry no presentation times (AVI) a run counts its frames from the
  // keyframe's decoding time: frames come out in presentation order, one duration apart.
  bool counting = false;
  // Which of the run's frames the cache keeps: those from `keepFrom` on, or all of them.
  std::int64_t keepFrom = AV_NOPTS_VALUE;
  bool keepWholeRun = false;
  std::int64_t previousRunStamp = AV_NOPTS_VALUE;  // the keyframe the last run started from
  std::int64_t countStep = 0;
  std::int64_t counted = 0;

  std::int64_t decodedFrames = 0;
  std::int64_t seeks = 0;

  // The picture last drawn, to answer a repeated request without scaling again.
  std::int64_t drawnTimestamp = AV_NOPTS_VALUE;
  std::int32_t drawnWidth = 0;
  std::int32_t drawnHeight = 0;
  bool drawnHighQuality = false;
};

}  // namespace kiva::qt::media::ffmpeg
