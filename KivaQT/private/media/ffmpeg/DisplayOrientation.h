// How a video track's pictures are turned for display. A phone stores what its sensor saw and
// records in the track's display matrix how the picture must be turned to stand upright; players
// honour it, so the picture a viewer knows is the turned one. Only the eight turns of a
// rectangle onto itself (quarter turns, each possibly mirrored) are taken; a matrix that turns
// by another angle leaves the picture as stored.
#pragma once

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include <cstdint>

namespace kiva::qt::media::ffmpeg {

class DisplayOrientation {
 public:
  DisplayOrientation() = default;
  // The orientation of `stream`'s display matrix, upright when it has none.
  static DisplayOrientation Of(const AVStream& stream);
  // From the matrix's linear part, each -1, 0 or 1: a displayed point (x', y') is
  // (a x + c y, b x + d y) of the stored point (x, y), as FFmpeg's display matrices are read.
  static DisplayOrientation FromSigns(int a, int b, int c, int d);

  bool IsUpright() const { return a == 1 && b == 0 && c == 0 && d == 1; }
  // Whether the displayed picture's width is the stored picture's height.
  bool SwapsAxes() const { return a == 0; }

  // Turns a stored picture of `width` x `height` elements of `size` bytes (rows of `sourceRow`
  // bytes) into `target` as it is displayed (height x width when the axes swap).
  void Turn(const std::uint8_t* source, int width, int height, int sourceRow, int size,
            std::uint8_t* target, int targetRow) const;
  // Makes `turned` the decoded `frame` as it is displayed, plane by plane, in the frame's own
  // pixel format, so that it is scaled as a player scales the turned picture. False for formats
  // whose planes cannot be turned so (packed pixels; chroma subsampled unequally across and
  // down, when the axes swap).
  bool Turn(const AVFrame& frame, AVFrame& turned) const;

 private:
  int a = 1, b = 0, c = 0, d = 1;
};

}  // namespace kiva::qt::media::ffmpeg
