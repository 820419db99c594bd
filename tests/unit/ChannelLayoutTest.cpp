// Channel layouts to labels, and label translation between the media layer and the host.

#include "QTChannelLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kiva::qt;
using namespace kiva::qt::media;
using Labels = std::vector<std::uint32_t>;

Labels LabelsOf(const AudioChannelLayout& layout) {
  Labels labels{999};  // cleared by the call
  AudioChannelLayoutToChannelLabelVector(&layout, labels);
  return labels;
}

Labels LabelsOfTag(std::uint32_t tag) {
  AudioChannelLayout layout;
  layout.mChannelLayoutTag = tag;
  return LabelsOf(layout);
}

constexpr std::uint32_t Tag(std::uint32_t index, std::uint32_t channels) {
  return index << 16 | channels;
}

struct TagCase {
  const char* name;
  std::uint32_t tag;
  Labels labels;
};

// Tag numbers as the media layer publishes them, and the label lists of the layout table.
const TagCase kTagCases[] = {
    {"Mono", Tag(100, 1), {400}},
    {"Stereo", Tag(101, 2), {1, 2}},
    {"StereoHeadphones", Tag(102, 2), {301, 302}},
    {"Binaural", Tag(106, 2), {301, 302}},
    {"MatrixStereo", Tag(103, 2), {38, 39}},
    {"MidSide", Tag(104, 2), {204, 205}},
    {"XY", Tag(105, 2), {206, 207}},
    {"Ambisonic_B_Format", Tag(107, 4), {200, 201, 202, 203}},
    {"Quadraphonic", Tag(108, 4), {1, 2, 5, 6}},
    {"ITU_2_2", Tag(132, 4), {1, 2, 5, 6}},
    {"Pentagonal", Tag(109, 5), {1, 2, 5, 6, 3}},
    {"MPEG_5_0_B", Tag(118, 5), {1, 2, 5, 6, 3}},
    {"Hexagonal", Tag(110, 6), {1, 2, 5, 6, 3, 9}},
    {"AudioUnit_6_0", Tag(139, 6), {1, 2, 5, 6, 3, 9}},
    {"Octagonal", Tag(111, 8), {1, 2, 5, 6, 3, 9, 10, 11}},
    {"Cube", Tag(112, 8), {1, 2, 5, 6, 13, 15, 16, 18}},
    {"MPEG_3_0_A", Tag(113, 3), {1, 2, 3}},
    {"MPEG_3_0_B", Tag(114, 3), {3, 1, 2}},
    {"MPEG_4_0_A", Tag(115, 4), {1, 2, 3, 9}},
    {"MPEG_4_0_B", Tag(116, 4), {3, 1, 2, 9}},
    {"MPEG_5_0_A", Tag(117, 5), {1, 2, 3, 5, 6}},
    {"MPEG_5_0_C", Tag(119, 5), {1, 3, 2, 5, 6}},
    {"MPEG_5_0_D", Tag(120, 5), {3, 1, 2, 5, 6}},
    {"MPEG_5_1_A", Tag(121, 6), {1, 2, 3, 4, 5, 6}},
    {"MPEG_5_1_B", Tag(122, 6), {1, 2, 5, 6, 3, 4}},
    {"MPEG_5_1_C", Tag(123, 6), {1, 3, 2, 5, 6, 4}},
    {"MPEG_5_1_D", Tag(124, 6), {3, 1, 2, 5, 6, 4}},
    {"MPEG_6_1_A", Tag(125, 7), {1, 2, 3, 4, 5, 6, 9}},
    {"MPEG_7_1_A", Tag(126, 8), {1, 2, 3, 4, 5, 6, 7, 8}},
    {"MPEG_7_1_B", Tag(127, 8), {3, 7, 8, 1, 2, 5, 6, 4}},
    {"MPEG_7_1_C", Tag(128, 8), {1, 2, 3, 4, 5, 6, 33, 34}},
    {"Emagic_Default_7_1", Tag(129, 8), {1, 2, 5, 6, 3, 4, 7, 8}},
    {"SMPTE_DTV", Tag(130, 8), {1, 2, 3, 4, 5, 6, 38, 39}},
    {"ITU_2_1", Tag(131, 3), {1, 2, 9}},
    {"DVD_4", Tag(133, 3), {1, 2, 4}},
    {"DVD_5", Tag(134, 4), {1, 2, 4, 9}},
    {"DVD_6", Tag(135, 5), {1, 2, 4, 5, 6}},
    {"DVD_10", Tag(136, 4), {1, 2, 3, 4}},
    {"DVD_11", Tag(137, 5), {1, 2, 3, 4, 9}},
    {"DVD_18", Tag(138, 5), {1, 2, 5, 6, 4}},
    {"AudioUnit_7_0", Tag(140, 7), {1, 2, 5, 6, 3, 33, 34}},
    {"AudioUnit_7_0_Front", Tag(148, 7), {1, 2, 5, 6, 3, 7, 8}},
    {"AAC_6_0", Tag(141, 6), {3, 1, 2, 5, 6, 9}},
    {"AAC_6_1", Tag(142, 7), {3, 1, 2, 5, 6, 9, 4}},
    {"AAC_7_0", Tag(143, 7), {3, 1, 2, 5, 6, 33, 34}},
    {"AAC_Octagonal", Tag(144, 8), {3, 1, 2, 5, 6, 33, 34, 9}},
    {"TMH_10_2_std", Tag(145, 16), {1, 2, 3, 14, 10, 11, 5, 6, 13, 15, 35, 36, 44, 9, 4, 37}},
    {"TMH_10_2_full", Tag(146, 21), {1,  2,  3, 14, 10, 11, 5, 6,   13,  15, 35,
                                     36, 44, 9, 4,  37, 7,  8, 400, 400, 45}},
    {"AC3_1_0_1", Tag(149, 2), {3, 4}},
    {"AC3_3_0", Tag(150, 3), {1, 3, 2}},
    {"AC3_3_1", Tag(151, 4), {1, 3, 2, 9}},
    {"AC3_3_0_1", Tag(152, 4), {1, 3, 2, 4}},
    {"AC3_2_1_1", Tag(153, 4), {1, 2, 9, 4}},
    {"AC3_3_1_1", Tag(154, 5), {1, 3, 2, 9, 4}},
};

TEST(ChannelLayout, EveryKnownTag) {
  for (const auto& tagCase : kTagCases) {
    EXPECT_EQ(LabelsOfTag(tagCase.tag), tagCase.labels) << tagCase.name;
    // Each list has as many labels as the tag names channels.
    EXPECT_EQ(tagCase.labels.size(), tagCase.tag & 0xFFFF) << tagCase.name;
  }
}

TEST(ChannelLayout, UnknownTagsGiveNothing) {
  EXPECT_THAT(LabelsOfTag(Tag(147, 0) | 6), ::testing::IsEmpty());  // DiscreteInOrder
  EXPECT_THAT(LabelsOfTag(0xFFFF0000u), ::testing::IsEmpty());      // Unknown
  EXPECT_THAT(LabelsOfTag(Tag(157, 8)), ::testing::IsEmpty());      // a newer layout
  EXPECT_THAT(LabelsOfTag(Tag(101, 3)), ::testing::IsEmpty());      // stereo index, 3 channels
}

TEST(ChannelLayout, NullLayoutGivesNothing) {
  Labels labels{1, 2};
  AudioChannelLayoutToChannelLabelVector(nullptr, labels);
  EXPECT_THAT(labels, ::testing::IsEmpty());
}

TEST(ChannelLayout, Bitmap) {
  AudioChannelLayout layout;
  layout.mChannelLayoutTag = Tag(1, 0);
  layout.mChannelBitmap = 0b111;
  EXPECT_EQ(LabelsOf(layout), (Labels{1, 2, 3}));
  layout.mChannelBitmap = 1u << 18;
  EXPECT_THAT(LabelsOf(layout), ::testing::IsEmpty());
  layout.mChannelBitmap = (1u << 17) | (1u << 9) | 1u | (1u << 31);
  EXPECT_EQ(LabelsOf(layout), (Labels{1, 10, 18}));
}

TEST(ChannelLayout, DescriptionsAreTakenAsTheyAre) {
  AudioChannelLayout layout;
  for (const std::uint32_t label : {5u, 400u, 99u}) {
    AudioChannelDescription description;
    description.mChannelLabel = label;
    layout.mChannelDescriptions.push_back(description);
  }
  EXPECT_EQ(LabelsOf(layout), (Labels{5, 400, 99}));
}

TEST(ChannelLabels, MonoIsDiscreteAndTheHostSeesNoLabel) {
  ASSERT_EQ(LabelsOfTag(Tag(100, 1)), Labels{400});
  EXPECT_EQ(TranslateChannelLabel(400), 0u);
}

TEST(ChannelLabels, MediaLayerToHost) {
  const std::pair<std::uint32_t, std::uint32_t> table[] = {
      {1, 100},  {2, 101},  {3, 102},  {4, 103},   {5, 104},       {6, 105},   {9, 106},
      {7, 107},  {8, 108},  {10, 109}, {11, 110},  {12, 111},      {13, 112},  {15, 113},
      {14, 114}, {16, 115}, {18, 116}, {17, 117},  {35, 120},      {33, 121},  {44, 122},
      {36, 123}, {34, 124}, {37, 126}, {38, 100},  {39, 101},      {301, 100}, {302, 101},
      {400, 0},  {200, 0},  {201, 0},  {204, 0},   {205, 0},       {206, 0},   {207, 0},
      {45, 0},   {0, 0},    {42, 0},   {12345, 0}, {0xFFFFFFFF, 0}};
  for (const auto& [media, host] : table) {
    EXPECT_EQ(TranslateChannelLabel(media), host) << "media label " << media;
  }
}

TEST(ChannelLabels, HostToMediaLayer) {
  const std::pair<std::uint32_t, std::uint32_t> table[] = {
      {100, 1},  {101, 2},   {102, 3},   {103, 4},   {104, 5},  {105, 6},  {106, 9},  {107, 7},
      {108, 8},  {109, 10},  {110, 11},  {111, 12},  {112, 13}, {113, 15}, {114, 14}, {115, 16},
      {116, 18}, {117, 17},  {120, 35},  {121, 33},  {122, 44}, {123, 36}, {124, 34}, {126, 37},
      {0, 400},  {118, 400}, {119, 400}, {125, 400}, {99, 400}, {127, 400}};
  for (const auto& [host, media] : table) {
    EXPECT_EQ(TranslateChannelLabel_KivaToQT(static_cast<noxmediatypes::AudioChannelLabel>(host)),
              media)
        << "host label " << host;
  }
}

TEST(ChannelLabels, RoundTripIsLossyOnlyForTotalsAndHeadphones) {
  for (std::uint32_t host = 100; host <= 126; ++host) {
    if (host == 118 || host == 119 || host == 125) continue;
    EXPECT_EQ(TranslateChannelLabel(TranslateChannelLabel_KivaToQT(
                  static_cast<noxmediatypes::AudioChannelLabel>(host))),
              host);
  }
  EXPECT_EQ(TranslateChannelLabel_KivaToQT(
                static_cast<noxmediatypes::AudioChannelLabel>(TranslateChannelLabel(38))),
            1u);
  EXPECT_EQ(TranslateChannelLabel_KivaToQT(
                static_cast<noxmediatypes::AudioChannelLabel>(TranslateChannelLabel(302))),
            2u);
}

}  // namespace
