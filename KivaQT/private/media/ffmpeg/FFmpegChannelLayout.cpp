#include "FFmpegChannelLayout.h"

#include <array>
#include <utility>

namespace kiva::qt::media::ffmpeg {

namespace {

constexpr int kBitmapChannels = 18;  // FRONT_LEFT (0) to TOP_BACK_RIGHT (17)

// FFmpeg channels beyond the bitmap that the media layer names.
constexpr std::array<std::pair<AVChannel, std::uint32_t>, 5> kHigherChannels{{
    {AV_CHAN_STEREO_LEFT, kAudioChannelLabel_LeftTotal},
    {AV_CHAN_STEREO_RIGHT, kAudioChannelLabel_RightTotal},
    {AV_CHAN_WIDE_LEFT, kAudioChannelLabel_LeftWide},
    {AV_CHAN_WIDE_RIGHT, kAudioChannelLabel_RightWide},
    {AV_CHAN_LOW_FREQUENCY_2, kAudioChannelLabel_LFE2},
}};

AVChannel ChannelForLabel(std::uint32_t label) {
  if (label >= kAudioChannelLabel_Left && label <= kAudioChannelLabel_TopBackRight) {
    return static_cast<AVChannel>(label - 1);
  }
  if (label == kAudioChannelLabel_Mono) return AV_CHAN_FRONT_CENTER;
  for (const auto& [channel, mediaLabel] : kHigherChannels) {
    if (mediaLabel == label) return channel;
  }
  return AV_CHAN_NONE;
}

}  // namespace

std::uint32_t LabelForChannel(AVChannel channel) {
  if (channel >= AV_CHAN_FRONT_LEFT && channel < kBitmapChannels) {
    return static_cast<std::uint32_t>(channel) + 1;
  }
  for (const auto& [known, label] : kHigherChannels) {
    if (known == channel) return label;
  }
  return kAudioChannelLabel_Discrete;
}

bool ToAudioChannelLayout(const AVChannelLayout& in, AudioChannelLayout& out) {
  // FFmpeg's common 5.1 and its relatives carry their surround pair as side channels; where
  // there is no back pair, the side pair is the surround pair listeners know as Ls/Rs.
  const std::uint64_t sides = AV_CH_SIDE_LEFT | AV_CH_SIDE_RIGHT;
  const std::uint64_t backs = AV_CH_BACK_LEFT | AV_CH_BACK_RIGHT;
  const bool sidesAreSurround =
      in.order == AV_CHANNEL_ORDER_NATIVE && (in.u.mask & sides) != 0 && (in.u.mask & backs) == 0;
  // FFmpeg's "mono" is its one-channel layout, not a channel placed in the centre: the layout
  // of that name says so.
  if (in.order == AV_CHANNEL_ORDER_NATIVE && in.u.mask == AV_CH_LAYOUT_MONO) {
    out = AudioChannelLayout{};
    out.mChannelLayoutTag = kAudioChannelLayoutTag_Mono;
    return true;
  }
  if (in.order == AV_CHANNEL_ORDER_NATIVE && (in.u.mask >> kBitmapChannels) == 0 &&
      !sidesAreSurround) {
    out = AudioChannelLayout{};
    out.mChannelLayoutTag = kAudioChannelLayoutTag_UseChannelBitmap;
    out.mChannelBitmap = static_cast<std::uint32_t>(in.u.mask);
    return true;
  }
  if (in.order != AV_CHANNEL_ORDER_NATIVE && in.order != AV_CHANNEL_ORDER_CUSTOM) return false;
  out = AudioChannelLayout{};
  out.mChannelLayoutTag = kAudioChannelLayoutTag_UseChannelDescriptions;
  for (int index = 0; index < in.nb_channels; ++index) {
    const AVChannel channel =
        av_channel_layout_channel_from_index(&in, static_cast<unsigned>(index));
    AudioChannelDescription description;
    description.mChannelLabel = LabelForChannel(channel);
    if (sidesAreSurround && channel == AV_CHAN_SIDE_LEFT) {
      description.mChannelLabel = kAudioChannelLabel_LeftSurround;
    } else if (sidesAreSurround && channel == AV_CHAN_SIDE_RIGHT) {
      description.mChannelLabel = kAudioChannelLabel_RightSurround;
    }
    out.mChannelDescriptions.push_back(description);
  }
  return true;
}

void ChannelLayoutFromLabels(const std::vector<std::uint32_t>& labels, OwnedChannelLayout& out) {
  av_channel_layout_uninit(out.get());
  const auto unspecified = [&] {
    out.get()->order = AV_CHANNEL_ORDER_UNSPEC;
    out.get()->nb_channels = static_cast<int>(labels.size());
  };
  std::vector<AVChannel> channels;
  std::uint64_t mask = 0;
  bool ascending = true;
  for (const std::uint32_t label : labels) {
    const AVChannel channel = ChannelForLabel(label);
    const std::uint64_t bit = channel == AV_CHAN_NONE ? 0 : std::uint64_t{1} << channel;
    if (bit == 0 || (mask & bit) != 0) return unspecified();
    ascending = ascending && (channels.empty() || channel > channels.back());
    mask |= bit;
    channels.push_back(channel);
  }
  if (ascending) {
    av_channel_layout_from_mask(out.get(), mask);
    return;
  }
  auto* map = static_cast<AVChannelCustom*>(av_calloc(channels.size(), sizeof(AVChannelCustom)));
  if (map == nullptr) return unspecified();
  for (std::size_t i = 0; i < channels.size(); ++i) map[i].id = channels[i];
  out.get()->order = AV_CHANNEL_ORDER_CUSTOM;
  out.get()->nb_channels = static_cast<int>(channels.size());
  out.get()->u.map = map;
}

}  // namespace kiva::qt::media::ffmpeg
