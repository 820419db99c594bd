// The host's channel labels. 0 means "no label"; the numbers are the host's and never change.
#pragma once

#include <cstdint>

namespace noxmediatypes {

enum AudioChannelLabel : std::uint32_t {
  kChannelLabel_None = 0,
  kChannelLabel_Left = 100,
  kChannelLabel_Right = 101,
  kChannelLabel_Center = 102,
  kChannelLabel_LFE = 103,
  kChannelLabel_LeftSurround = 104,
  kChannelLabel_RightSurround = 105,
  kChannelLabel_CenterSurround = 106,
  kChannelLabel_LeftCenter = 107,
  kChannelLabel_RightCenter = 108,
  kChannelLabel_LeftSurroundDirect = 109,
  kChannelLabel_RightSurroundDirect = 110,
  kChannelLabel_TopCenterSurround = 111,
  kChannelLabel_VerticalHeightLeft = 112,
  kChannelLabel_VerticalHeightRight = 113,
  kChannelLabel_VerticalHeightCenter = 114,
  kChannelLabel_TopBackLeft = 115,
  kChannelLabel_TopBackRight = 116,
  kChannelLabel_TopBackCenter = 117,
  kChannelLabel_Reserved118 = 118,  // no counterpart in the media layer's labels
  kChannelLabel_Reserved119 = 119,  // no counterpart in the media layer's labels
  kChannelLabel_LeftWide = 120,
  kChannelLabel_RearSurroundLeft = 121,
  kChannelLabel_CenterSurroundDirect = 122,
  kChannelLabel_RightWide = 123,
  kChannelLabel_RearSurroundRight = 124,
  kChannelLabel_Reserved125 = 125,  // no counterpart in the media layer's labels
  kChannelLabel_LFE2 = 126,
};

}  // namespace noxmediatypes
