// Scales decoded frames to ARGB pictures, keeping a scaler for each of the last few sizes asked
// for: a host that alternates a thumbnail strip and a viewer does not rebuild one per request.
#pragma once

#include "../MediaStatus.h"
#include "../Offscreen.h"
#include "DisplayOrientation.h"
#include "FFmpegPtr.h"

extern "C" {
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

namespace kiva::qt::media::ffmpeg {

class PictureScaler {
 public:
  static constexpr std::size_t kKept = 4;

  // Draws `frame` into `target` as it is displayed: scaled to the size the picture has before
  // it is turned, then turned.
  OSErr Scale(const AVFrame& frame, bool highQuality, const DisplayOrientation& orientation,
              Offscreen& target);

  // Scalers made so far (for tests of the reuse).
  std::int64_t Made() const { return made; }

 private:
  // What a scaler was made for, colour details included.
  struct Setting {
    int sourceWidth = 0, sourceHeight = 0, sourceFormat = -1;
    int width = 0, height = 0, flags = 0;
    int colorspace = 0;
    bool fullRange = false;
    bool operator==(const Setting&) const = default;
  };
  struct ContextDeleter {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
  };
  struct Kept {
    Setting setting;
    std::unique_ptr<SwsContext, ContextDeleter> context;
  };

  OSErr ScaleInto(const AVFrame& frame, bool highQuality, std::uint8_t* pixels, int width,
                  int height, int rowBytes);

  std::list<Kept> scalers;             // most recently used first
  FramePtr turned{av_frame_alloc()};   // a decoded frame turned for display
  std::vector<std::uint8_t> unturned;  // a scaled picture before its turn
  std::int64_t made = 0;
};

}  // namespace kiva::qt::media::ffmpeg
