#include "DisplayOrientation.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace kiva::qt::media::ffmpeg {

namespace {

// A 16.16 entry of a display matrix as -1, 0 or 1; 2 when it is none of them (another angle, a
// scale).
int Sign(std::int32_t entry) {
  const double value = entry / 65536.0;
  for (const int candidate : {-1, 0, 1}) {
    if (std::fabs(value - candidate) < 1e-3) return candidate;
  }
  return 2;
}

}  // namespace

DisplayOrientation DisplayOrientation::Of(const AVStream& stream) {
  std::size_t size = 0;
  const auto* matrix = reinterpret_cast<const std::int32_t*>(
      av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size));
  if (matrix == nullptr || size < 9 * sizeof(std::int32_t)) return {};
  return FromSigns(Sign(matrix[0]), Sign(matrix[1]), Sign(matrix[3]), Sign(matrix[4]));
}

DisplayOrientation DisplayOrientation::FromSigns(int a, int b, int c, int d) {
  // One of the eight: a permutation of the axes with a sign on each.
  const bool straight = a != 0 && d != 0 && b == 0 && c == 0;
  const bool crossed = a == 0 && d == 0 && b != 0 && c != 0;
  const bool units = std::abs(a) <= 1 && std::abs(b) <= 1 && std::abs(c) <= 1 && std::abs(d) <= 1;
  DisplayOrientation orientation;
  if (units && (straight || crossed)) {
    orientation.a = a;
    orientation.b = b;
    orientation.c = c;
    orientation.d = d;
  }
  return orientation;
}

void DisplayOrientation::Turn(const std::uint8_t* source, int width, int height, int sourceRow,
                              int size, std::uint8_t* target, int targetRow) const {
  // Where the stored element (x, y) lands: each displayed coordinate is one stored coordinate,
  // counted from its far end where its sign is negative.
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* row = source + static_cast<std::ptrdiff_t>(y) * sourceRow;
    for (int x = 0; x < width; ++x) {
      const int column = a == 1 ? x : a == -1 ? width - 1 - x : c == 1 ? y : height - 1 - y;
      const int line = b == 1 ? x : b == -1 ? width - 1 - x : d == 1 ? y : height - 1 - y;
      std::memcpy(target + static_cast<std::ptrdiff_t>(line) * targetRow + column * size,
                  row + x * size, static_cast<std::size_t>(size));
    }
  }
}

bool DisplayOrientation::Turn(const AVFrame& frame, AVFrame& turned) const {
  const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  if (format == nullptr || (format->flags & AV_PIX_FMT_FLAG_PLANAR) == 0 ||
      (format->flags &
       (AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_PAL)) != 0 ||
      (SwapsAxes() && format->log2_chroma_w != format->log2_chroma_h)) {
    return false;
  }
  av_frame_unref(&turned);
  turned.format = frame.format;
  turned.width = SwapsAxes() ? frame.height : frame.width;
  turned.height = SwapsAxes() ? frame.width : frame.height;
  if (av_frame_get_buffer(&turned, 0) < 0 || av_frame_copy_props(&turned, &frame) < 0) {
    return false;
  }
  // Each plane holds elements of one size (a sample, or a pair of interleaved chroma samples);
  // the chroma planes are the subsampled ones.
  int sizes[4] = {0, 0, 0, 0};
  for (int i = 0; i < format->nb_components; ++i) {
    sizes[format->comp[i].plane] = format->comp[i].step;
  }
  for (int plane = 0; plane < 4 && frame.data[plane] != nullptr; ++plane) {
    const bool chroma = (plane == 1 || plane == 2) && format->nb_components > 2;
    const int width = chroma ? AV_CEIL_RSHIFT(frame.width, format->log2_chroma_w) : frame.width;
    const int height = chroma ? AV_CEIL_RSHIFT(frame.height, format->log2_chroma_h) : frame.height;
    Turn(frame.data[plane], width, height, frame.linesize[plane], sizes[plane], turned.data[plane],
         turned.linesize[plane]);
  }
  return true;
}

}  // namespace kiva::qt::media::ffmpeg
