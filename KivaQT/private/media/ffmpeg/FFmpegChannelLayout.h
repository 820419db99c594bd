// FFmpeg channel layouts in the media layer's terms, and back.
#pragma once

#include "../AudioChannelLayout.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/mem.h>
}

#include <cstdint>
#include <vector>

namespace kiva::qt::media::ffmpeg {

// An AVChannelLayout that frees its channel map when it goes.
class OwnedChannelLayout {
 public:
  OwnedChannelLayout() = default;
  ~OwnedChannelLayout() { av_channel_layout_uninit(&layout); }
  OwnedChannelLayout(const OwnedChannelLayout&) = delete;
  OwnedChannelLayout& operator=(const OwnedChannelLayout&) = delete;
  AVChannelLayout* get() { return &layout; }
  const AVChannelLayout& operator*() const { return layout; }
  const AVChannelLayout* operator->() const { return &layout; }

 private:
  AVChannelLayout layout{};
};

// A stream's layout for the media layer: native orders whose channels all lie in bits 0..17
// become a channel bitmap (those bits coincide with FFmpeg's channel bits); other native and
// custom orders become one channel description per channel. A side pair without a back pair
// (5.1(side), 5.0(side), quad(side), 6.1, ...) is described as the surround pair Ls/Rs. False, with
// `out` untouched, for an unspecified (or ambisonic) order, which says nothing of where channels
// belong.
bool ToAudioChannelLayout(const AVChannelLayout& in, AudioChannelLayout& out);

// The media layer's label of one FFmpeg channel; Discrete where it has none.
std::uint32_t LabelForChannel(AVChannel channel);

// A layout for channels labelled `labels` (the Mono label counts as the front centre). Native
// when the labels name distinct channels in FFmpeg's own order, custom when they name distinct
// channels in another order, unspecified when any label has no FFmpeg channel.
void ChannelLayoutFromLabels(const std::vector<std::uint32_t>& labels, OwnedChannelLayout& out);

}  // namespace kiva::qt::media::ffmpeg
