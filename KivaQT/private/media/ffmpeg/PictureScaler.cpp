#include "PictureScaler.h"

namespace kiva::qt::media::ffmpeg {

namespace {

int ColorspaceOf(const AVFrame& frame) {
  switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
      return SWS_CS_ITU709;
    case AVCOL_SPC_FCC:
      return SWS_CS_FCC;
    case AVCOL_SPC_SMPTE240M:
      return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
      return SWS_CS_BT2020;
    default:
      return SWS_CS_DEFAULT;
  }
}

}  // namespace

OSErr PictureScaler::Scale(const AVFrame& frame, bool highQuality,
                           const DisplayOrientation& orientation, Offscreen& target) {
  if (orientation.IsUpright()) {
    return ScaleInto(frame, highQuality, target.pixels.data(), target.width, target.height,
                     target.rowBytes);
  }
  if (turned && orientation.Turn(frame, *turned)) {
    return ScaleInto(*turned, highQuality, target.pixels.data(), target.width, target.height,
                     target.rowBytes);
  }
  // Pixels that cannot be turned as they are decoded: scaled first, then turned.
  const int width = orientation.SwapsAxes() ? target.height : target.width;
  const int height = orientation.SwapsAxes() ? target.width : target.height;
  unturned.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
  if (const OSErr error = ScaleInto(frame, highQuality, unturned.data(), width, height, width * 4);
      error != kNoErr) {
    return error;
  }
  orientation.Turn(unturned.data(), width, height, width * 4, 4, target.pixels.data(),
                   target.rowBytes);
  return kNoErr;
}

OSErr PictureScaler::ScaleInto(const AVFrame& frame, bool highQuality, std::uint8_t* pixels,
                               int width, int height, int rowBytes) {
  const int flags =
      highQuality ? SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT : SWS_BILINEAR;
  const Setting setting{
      frame.width, frame.height, frame.format,        width,
      height,      flags,        ColorspaceOf(frame), frame.color_range == AVCOL_RANGE_JPEG};
  auto found = scalers.begin();
  while (found != scalers.end() && !(found->setting == setting)) ++found;
  if (found != scalers.end()) {
    scalers.splice(scalers.begin(), scalers, found);
  } else {
    std::unique_ptr<SwsContext, ContextDeleter> context(
        sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), width,
                       height, AV_PIX_FMT_ARGB, flags, nullptr, nullptr, nullptr));
    if (!context) return kInvalidMovieErr;
    int* inverse = nullptr;
    int* table = nullptr;
    int sourceRange = 0;
    int destinationRange = 0;
    int brightness = 0;
    int contrast = 0;
    int saturation = 0;
    sws_getColorspaceDetails(context.get(), &inverse, &sourceRange, &table, &destinationRange,
                             &brightness, &contrast, &saturation);
    sws_setColorspaceDetails(context.get(), sws_getCoefficients(setting.colorspace),
                             setting.fullRange, table, 1, brightness, contrast, saturation);
    ++made;
    scalers.push_front(Kept{setting, std::move(context)});
    if (scalers.size() > kKept) scalers.pop_back();
  }
  std::uint8_t* planes[4] = {pixels, nullptr, nullptr, nullptr};
  int strides[4] = {rowBytes, 0, 0, 0};
  if (sws_scale(scalers.front().context.get(), frame.data, frame.linesize, 0, frame.height, planes,
                strides) != height) {
    return kInvalidMovieErr;
  }
  return kNoErr;
}

}  // namespace kiva::qt::media::ffmpeg
