// Where each audio channel belongs, in the media layer's terms: a layout is a tag naming a known
// arrangement, a channel bitmap, or one description (label) per channel.
#pragma once

#include <cstdint>
#include <vector>

namespace kiva::qt::media {

struct AudioChannelDescription {
  std::uint32_t mChannelLabel = 0;
  std::uint32_t mChannelFlags = 0;
  float mCoordinates[3] = {0, 0, 0};
};

struct AudioChannelLayout {
  std::uint32_t mChannelLayoutTag = 0;
  std::uint32_t mChannelBitmap = 0;
  std::vector<AudioChannelDescription> mChannelDescriptions;  // one per channel with tag 0
};

// Channel labels.
enum : std::uint32_t {
  kAudioChannelLabel_Unknown = 0xFFFFFFFF,
  kAudioChannelLabel_Unused = 0,
  kAudioChannelLabel_Left = 1,
  kAudioChannelLabel_Right = 2,
  kAudioChannelLabel_Center = 3,
  kAudioChannelLabel_LFEScreen = 4,
  kAudioChannelLabel_LeftSurround = 5,
  kAudioChannelLabel_RightSurround = 6,
  kAudioChannelLabel_LeftCenter = 7,
  kAudioChannelLabel_RightCenter = 8,
  kAudioChannelLabel_CenterSurround = 9,
  kAudioChannelLabel_LeftSurroundDirect = 10,
  kAudioChannelLabel_RightSurroundDirect = 11,
  kAudioChannelLabel_TopCenterSurround = 12,
  kAudioChannelLabel_VerticalHeightLeft = 13,
  kAudioChannelLabel_VerticalHeightCenter = 14,
  kAudioChannelLabel_VerticalHeightRight = 15,
  kAudioChannelLabel_TopBackLeft = 16,
  kAudioChannelLabel_TopBackCenter = 17,
  kAudioChannelLabel_TopBackRight = 18,
  kAudioChannelLabel_RearSurroundLeft = 33,
  kAudioChannelLabel_RearSurroundRight = 34,
  kAudioChannelLabel_LeftWide = 35,
  kAudioChannelLabel_RightWide = 36,
  kAudioChannelLabel_LFE2 = 37,
  kAudioChannelLabel_LeftTotal = 38,
  kAudioChannelLabel_RightTotal = 39,
  kAudioChannelLabel_HearingImpaired = 40,
  kAudioChannelLabel_Narration = 41,
  kAudioChannelLabel_Mono = 42,
  kAudioChannelLabel_DialogCentricMix = 43,
  kAudioChannelLabel_CenterSurroundDirect = 44,
  kAudioChannelLabel_Haptic = 45,
  kAudioChannelLabel_Ambisonic_W = 200,
  kAudioChannelLabel_Ambisonic_X = 201,
  kAudioChannelLabel_Ambisonic_Y = 202,
  kAudioChannelLabel_Ambisonic_Z = 203,
  kAudioChannelLabel_MS_Mid = 204,
  kAudioChannelLabel_MS_Side = 205,
  kAudioChannelLabel_XY_X = 206,
  kAudioChannelLabel_XY_Y = 207,
  kAudioChannelLabel_HeadphonesLeft = 301,
  kAudioChannelLabel_HeadphonesRight = 302,
  kAudioChannelLabel_Discrete = 400,
};

constexpr std::uint32_t LayoutTag(std::uint32_t index, std::uint32_t channels) {
  return index << 16 | channels;
}

// Layout tags: (index << 16) | number of channels.
enum : std::uint32_t {
  kAudioChannelLayoutTag_UseChannelDescriptions = LayoutTag(0, 0),
  kAudioChannelLayoutTag_UseChannelBitmap = LayoutTag(1, 0),
  kAudioChannelLayoutTag_Mono = LayoutTag(100, 1),
  kAudioChannelLayoutTag_Stereo = LayoutTag(101, 2),
  kAudioChannelLayoutTag_StereoHeadphones = LayoutTag(102, 2),
  kAudioChannelLayoutTag_MatrixStereo = LayoutTag(103, 2),
  kAudioChannelLayoutTag_MidSide = LayoutTag(104, 2),
  kAudioChannelLayoutTag_XY = LayoutTag(105, 2),
  kAudioChannelLayoutTag_Binaural = LayoutTag(106, 2),
  kAudioChannelLayoutTag_Ambisonic_B_Format = LayoutTag(107, 4),
  kAudioChannelLayoutTag_Quadraphonic = LayoutTag(108, 4),
  kAudioChannelLayoutTag_Pentagonal = LayoutTag(109, 5),
  kAudioChannelLayoutTag_Hexagonal = LayoutTag(110, 6),
  kAudioChannelLayoutTag_Octagonal = LayoutTag(111, 8),
  kAudioChannelLayoutTag_Cube = LayoutTag(112, 8),
  kAudioChannelLayoutTag_MPEG_3_0_A = LayoutTag(113, 3),
  kAudioChannelLayoutTag_MPEG_3_0_B = LayoutTag(114, 3),
  kAudioChannelLayoutTag_MPEG_4_0_A = LayoutTag(115, 4),
  kAudioChannelLayoutTag_MPEG_4_0_B = LayoutTag(116, 4),
  kAudioChannelLayoutTag_MPEG_5_0_A = LayoutTag(117, 5),
  kAudioChannelLayoutTag_MPEG_5_0_B = LayoutTag(118, 5),
  kAudioChannelLayoutTag_MPEG_5_0_C = LayoutTag(119, 5),
  kAudioChannelLayoutTag_MPEG_5_0_D = LayoutTag(120, 5),
  kAudioChannelLayoutTag_MPEG_5_1_A = LayoutTag(121, 6),
  kAudioChannelLayoutTag_MPEG_5_1_B = LayoutTag(122, 6),
  kAudioChannelLayoutTag_MPEG_5_1_C = LayoutTag(123, 6),
  kAudioChannelLayoutTag_MPEG_5_1_D = LayoutTag(124, 6),
  kAudioChannelLayoutTag_MPEG_6_1_A = LayoutTag(125, 7),
  kAudioChannelLayoutTag_MPEG_7_1_A = LayoutTag(126, 8),
  kAudioChannelLayoutTag_MPEG_7_1_B = LayoutTag(127, 8),
  kAudioChannelLayoutTag_MPEG_7_1_C = LayoutTag(128, 8),
  kAudioChannelLayoutTag_Emagic_Default_7_1 = LayoutTag(129, 8),
  kAudioChannelLayoutTag_SMPTE_DTV = LayoutTag(130, 8),
  kAudioChannelLayoutTag_ITU_2_1 = LayoutTag(131, 3),
  kAudioChannelLayoutTag_ITU_2_2 = LayoutTag(132, 4),
  kAudioChannelLayoutTag_DVD_4 = LayoutTag(133, 3),
  kAudioChannelLayoutTag_DVD_5 = LayoutTag(134, 4),
  kAudioChannelLayoutTag_DVD_6 = LayoutTag(135, 5),
  kAudioChannelLayoutTag_DVD_10 = LayoutTag(136, 4),
  kAudioChannelLayoutTag_DVD_11 = LayoutTag(137, 5),
  kAudioChannelLayoutTag_DVD_18 = LayoutTag(138, 5),
  kAudioChannelLayoutTag_AudioUnit_6_0 = LayoutTag(139, 6),
  kAudioChannelLayoutTag_AudioUnit_7_0 = LayoutTag(140, 7),
  kAudioChannelLayoutTag_AAC_6_0 = LayoutTag(141, 6),
  kAudioChannelLayoutTag_AAC_6_1 = LayoutTag(142, 7),
  kAudioChannelLayoutTag_AAC_7_0 = LayoutTag(143, 7),
  kAudioChannelLayoutTag_AAC_Octagonal = LayoutTag(144, 8),
  kAudioChannelLayoutTag_TMH_10_2_std = LayoutTag(145, 16),
  kAudioChannelLayoutTag_TMH_10_2_full = LayoutTag(146, 21),
  kAudioChannelLayoutTag_DiscreteInOrder = LayoutTag(147, 0),
  kAudioChannelLayoutTag_AudioUnit_7_0_Front = LayoutTag(148, 7),
  kAudioChannelLayoutTag_AC3_1_0_1 = LayoutTag(149, 2),
  kAudioChannelLayoutTag_AC3_3_0 = LayoutTag(150, 3),
  kAudioChannelLayoutTag_AC3_3_1 = LayoutTag(151, 4),
  kAudioChannelLayoutTag_AC3_3_0_1 = LayoutTag(152, 4),
  kAudioChannelLayoutTag_AC3_2_1_1 = LayoutTag(153, 4),
  kAudioChannelLayoutTag_AC3_3_1_1 = LayoutTag(154, 5),
  kAudioChannelLayoutTag_Unknown = 0xFFFF0000,
};

}  // namespace kiva::qt::media
