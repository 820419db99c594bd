// FFmpeg's channel layouts through the media layer's layouts to the labels the host shows.

#include "QTChannelLayout.h"
#include "media/ffmpeg/FFmpegChannelLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kiva::qt;
using namespace kiva::qt::media::ffmpeg;
using HostLabels = std::vector<std::uint32_t>;

// Host labels: 100 L, 101 R, 102 C, 103 LFE, 104 Ls, 105 Rs, 106 Cs, 107 Lc, 108 Rc,
// 109 Lsd, 110 Rsd (the side pair of layouts that also have a back pair), 111 top centre, 112-114
// vertical height L/R/C, 115-117 top back L/R/C, 120 L wide, 123 R wide, 126 LFE2.
HostLabels HostLabelsFor(const AVChannelLayout& layout) {
  kiva::qt::media::AudioChannelLayout mediaLayout;
  std::vector<std::uint32_t> labels;
  if (ToAudioChannelLayout(layout, mediaLayout)) {
    AudioChannelLayoutToChannelLabelVector(&mediaLayout, labels);
  }
  HostLabels host;
  for (const auto label : labels) host.push_back(TranslateChannelLabel(label));
  return host;
}

HostLabels HostLabelsFor(const char* name) {
  OwnedChannelLayout layout;
  EXPECT_EQ(av_channel_layout_from_string(layout.get(), name), 0) << name;
  return HostLabelsFor(*layout);
}

TEST(FFmpegChannelLayout, StandardLayoutsGiveTheLabelsUsersExpect) {
  const std::pair<const char*, HostLabels> table[] = {
      {"mono", {0}},  // the Mono layout: one Discrete channel, which the host labels 0
      {"stereo", {100, 101}},
      {"2.1", {100, 101, 103}},
      {"3.0", {100, 101, 102}},
      {"3.0(back)", {100, 101, 106}},
      {"4.0", {100, 101, 102, 106}},
      {"quad", {100, 101, 104, 105}},
      {"quad(side)", {100, 101, 104, 105}},
      {"3.1", {100, 101, 102, 103}},
      {"5.0", {100, 101, 102, 104, 105}},
      {"5.0(side)", {100, 101, 102, 104, 105}},
      {"4.1", {100, 101, 102, 103, 106}},
      {"5.1", {100, 101, 102, 103, 104, 105}},
      {"5.1(side)", {100, 101, 102, 103, 104, 105}},
      {"6.0", {100, 101, 102, 106, 104, 105}},
      {"6.0(front)", {100, 101, 107, 108, 104, 105}},
      {"hexagonal", {100, 101, 102, 104, 105, 106}},
      {"6.1", {100, 101, 102, 103, 106, 104, 105}},
      {"6.1(back)", {100, 101, 102, 103, 104, 105, 106}},
      {"6.1(front)", {100, 101, 103, 107, 108, 104, 105}},
      {"7.0", {100, 101, 102, 104, 105, 109, 110}},
      {"7.0(front)", {100, 101, 102, 107, 108, 104, 105}},
      {"7.1", {100, 101, 102, 103, 104, 105, 109, 110}},
      {"7.1(wide)", {100, 101, 102, 103, 104, 105, 107, 108}},
      {"7.1(wide-side)", {100, 101, 102, 103, 107, 108, 104, 105}},
      {"octagonal", {100, 101, 102, 104, 105, 106, 109, 110}},
      {"downmix", {100, 101}},
  };
  for (const auto& [name, expected] : table) {
    EXPECT_EQ(HostLabelsFor(name), expected) << name;
  }
}

TEST(FFmpegChannelLayout, NativeLayoutsWithinTheBitmapUseIt) {
  OwnedChannelLayout layout;
  av_channel_layout_from_mask(layout.get(), AV_CH_LAYOUT_5POINT1_BACK);  // "5.1"
  kiva::qt::media::AudioChannelLayout mediaLayout;
  ASSERT_TRUE(ToAudioChannelLayout(*layout, mediaLayout));
  EXPECT_EQ(mediaLayout.mChannelLayoutTag,
            kiva::qt::media::kAudioChannelLayoutTag_UseChannelBitmap);
  EXPECT_EQ(mediaLayout.mChannelBitmap, 0b111111u);
}

TEST(FFmpegChannelLayout, ChannelsBeyondTheBitmapAreDescribedOneByOne) {
  // 7.1 with wide channels (bits 31, 32) and a second LFE (bit 35).
  OwnedChannelLayout layout;
  av_channel_layout_from_mask(layout.get(), AV_CH_LAYOUT_STEREO | AV_CH_LOW_FREQUENCY_2 |
                                                AV_CH_WIDE_LEFT | AV_CH_WIDE_RIGHT |
                                                AV_CH_TOP_SIDE_LEFT);
  EXPECT_EQ(HostLabelsFor(*layout), (HostLabels{100, 101, 120, 123, 126, 0}));
}

TEST(FFmpegChannelLayout, CustomOrderIsDescribedInItsOwnOrder) {
  OwnedChannelLayout layout;
  ASSERT_EQ(av_channel_layout_from_string(layout.get(), "FR+FL+LFE+FC"), 0);
  ASSERT_EQ(layout->order, AV_CHANNEL_ORDER_CUSTOM);
  EXPECT_EQ(HostLabelsFor(*layout), (HostLabels{101, 100, 103, 102}));
}

TEST(FFmpegChannelLayout, UnspecifiedOrderGivesNoLayout) {
  OwnedChannelLayout layout;
  layout.get()->order = AV_CHANNEL_ORDER_UNSPEC;
  layout.get()->nb_channels = 6;
  kiva::qt::media::AudioChannelLayout mediaLayout;
  EXPECT_FALSE(ToAudioChannelLayout(*layout, mediaLayout));
}

TEST(FFmpegChannelLayout, LabelsBackToFFmpegLayouts) {
  const auto nativeMask = [](const std::vector<std::uint32_t>& labels) {
    OwnedChannelLayout layout;
    ChannelLayoutFromLabels(labels, layout);
    EXPECT_EQ(layout->order, AV_CHANNEL_ORDER_NATIVE);
    EXPECT_EQ(layout->nb_channels, static_cast<int>(labels.size()));
    return layout->u.mask;
  };
  EXPECT_EQ(nativeMask({1, 2, 3, 4, 5, 6}), AV_CH_LAYOUT_5POINT1_BACK);
  EXPECT_EQ(nativeMask({1, 2, 3, 4, 10, 11}), AV_CH_LAYOUT_5POINT1);  // "5.1(side)"
  EXPECT_EQ(nativeMask({42}), AV_CH_LAYOUT_MONO);
  EXPECT_EQ(nativeMask({1, 2}), AV_CH_LAYOUT_STEREO);
  EXPECT_EQ(nativeMask({38, 39}), AV_CH_LAYOUT_STEREO_DOWNMIX);
}

TEST(FFmpegChannelLayout, LabelsInAnotherOrderGiveACustomLayout) {
  OwnedChannelLayout layout;
  ChannelLayoutFromLabels({2, 1}, layout);
  ASSERT_EQ(layout->order, AV_CHANNEL_ORDER_CUSTOM);
  ASSERT_EQ(layout->nb_channels, 2);
  EXPECT_EQ(av_channel_layout_channel_from_index(&*layout, 0), AV_CHAN_FRONT_RIGHT);
  EXPECT_EQ(av_channel_layout_channel_from_index(&*layout, 1), AV_CHAN_FRONT_LEFT);
}

TEST(FFmpegChannelLayout, DiscreteOrRepeatedLabelsGiveAnUnspecifiedLayout) {
  OwnedChannelLayout layout;
  ChannelLayoutFromLabels({400, 400, 400}, layout);
  EXPECT_EQ(layout->order, AV_CHANNEL_ORDER_UNSPEC);
  EXPECT_EQ(layout->nb_channels, 3);
  ChannelLayoutFromLabels({1, 1}, layout);
  EXPECT_EQ(layout->order, AV_CHANNEL_ORDER_UNSPEC);
  EXPECT_EQ(layout->nb_channels, 2);
}

TEST(FFmpegChannelLayout, HostLabelsSurviveTheExportRoundTrip) {
  // Host 5.1 -> media labels -> FFmpeg layout -> media layout -> host labels.
  const HostLabels host{100, 101, 102, 103, 104, 105};
  std::vector<std::uint32_t> mediaLabels;
  for (const auto label : host) {
    mediaLabels.push_back(
        TranslateChannelLabel_KivaToQT(static_cast<noxmediatypes::AudioChannelLabel>(label)));
  }
  OwnedChannelLayout layout;
  ChannelLayoutFromLabels(mediaLabels, layout);
  EXPECT_EQ(HostLabelsFor(*layout), host);
}

}  // namespace
