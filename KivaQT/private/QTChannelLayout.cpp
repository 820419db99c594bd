#include "QTChannelLayout.h"

#include <array>
#include <utility>

namespace kiva::qt {

namespace {

using namespace media;

struct TagLabels {
  std::uint32_t tag;
  std::vector<std::uint32_t> labels;
};

// The published channel orders of the known tags. Mono and the hearing- and visually-impaired
// channels of TMH 10.2 are Discrete: they have no place among the host's labels.
constexpr std::uint32_t L = kAudioChannelLabel_Left, R = kAudioChannelLabel_Right,
                        C = kAudioChannelLabel_Center, LFE = kAudioChannelLabel_LFEScreen,
                        Ls = kAudioChannelLabel_LeftSurround, Rs = kAudioChannelLabel_RightSurround,
                        Lc = kAudioChannelLabel_LeftCenter, Rc = kAudioChannelLabel_RightCenter,
                        Cs = kAudioChannelLabel_CenterSurround,
                        Lsd = kAudioChannelLabel_LeftSurroundDirect,
                        Rsd = kAudioChannelLabel_RightSurroundDirect,
                        Vhl = kAudioChannelLabel_VerticalHeightLeft,
                        Vhc = kAudioChannelLabel_VerticalHeightCenter,
                        Vhr = kAudioChannelLabel_VerticalHeightRight,
                        Tbl = kAudioChannelLabel_TopBackLeft, Tbr = kAudioChannelLabel_TopBackRight,
                        Rls = kAudioChannelLabel_RearSurroundLeft,
                        Rrs = kAudioChannelLabel_RearSurroundRight,
                        Lw = kAudioChannelLabel_LeftWide, Rw = kAudioChannelLabel_RightWide,
                        LFE2 = kAudioChannelLabel_LFE2, Lt = kAudioChannelLabel_LeftTotal,
                        Rt = kAudioChannelLabel_RightTotal,
                        Csd = kAudioChannelLabel_CenterSurroundDirect,
                        Haptic = kAudioChannelLabel_Haptic, D = kAudioChannelLabel_Discrete;

const TagLabels kTagTable[] = {
    {kAudioChannelLayoutTag_Mono, {D}},
    {kAudioChannelLayoutTag_Stereo, {L, R}},
    {kAudioChannelLayoutTag_StereoHeadphones,
     {kAudioChannelLabel_HeadphonesLeft, kAudioChannelLabel_HeadphonesRight}},
    {kAudioChannelLayoutTag_Binaural,
     {kAudioChannelLabel_HeadphonesLeft, kAudioChannelLabel_HeadphonesRight}},
    {kAudioChannelLayoutTag_MatrixStereo, {Lt, Rt}},
    {kAudioChannelLayoutTag_MidSide, {kAudioChannelLabel_MS_Mid, kAudioChannelLabel_MS_Side}},
    {kAudioChannelLayoutTag_XY, {kAudioChannelLabel_XY_X, kAudioChannelLabel_XY_Y}},
    {kAudioChannelLayoutTag_Ambisonic_B_Format,
     {kAudioChannelLabel_Ambisonic_W, kAudioChannelLabel_Ambisonic_X,
      kAudioChannelLabel_Ambisonic_Y, kAudioChannelLabel_Ambisonic_Z}},
    {kAudioChannelLayoutTag_Quadraphonic, {L, R, Ls, Rs}},
    {kAudioChannelLayoutTag_ITU_2_2, {L, R, Ls, Rs}},
    {kAudioChannelLayoutTag_Pentagonal, {L, R, Ls, Rs, C}},
    {kAudioChannelLayoutTag_MPEG_5_0_B, {L, R, Ls, Rs, C}},
    {kAudioChannelLayoutTag_Hexagonal, {L, R, Ls, Rs, C, Cs}},
    {kAudioChannelLayoutTag_AudioUnit_6_0, {L, R, Ls, Rs, C, Cs}},
    {kAudioChannelLayoutTag_Octagonal, {L, R, Ls, Rs, C, Cs, Lsd, Rsd}},
    {kAudioChannelLayoutTag_Cube, {L, R, Ls, Rs, Vhl, Vhr, Tbl, Tbr}},
    {kAudioChannelLayoutTag_MPEG_3_0_A, {L, R, C}},
    {kAudioChannelLayoutTag_MPEG_3_0_B, {C, L, R}},
    {kAudioChannelLayoutTag_MPEG_4_0_A, {L, R, C, Cs}},
    {kAudioChannelLayoutTag_MPEG_4_0_B, {C, L, R, Cs}},
    {kAudioChannelLayoutTag_MPEG_5_0_A, {L, R, C, Ls, Rs}},
    {kAudioChannelLayoutTag_MPEG_5_0_C, {L, C, R, Ls, Rs}},
    {kAudioChannelLayoutTag_MPEG_5_0_D, {C, L, R, Ls, Rs}},
    {kAudioChannelLayoutTag_MPEG_5_1_A, {L, R, C, LFE, Ls, Rs}},
    {kAudioChannelLayoutTag_MPEG_5_1_B, {L, R, Ls, Rs, C, LFE}},
    {kAudioChannelLayoutTag_MPEG_5_1_C, {L, C, R, Ls, Rs, LFE}},
    {kAudioChannelLayoutTag_MPEG_5_1_D, {C, L, R, Ls, Rs, LFE}},
    {kAudioChannelLayoutTag_MPEG_6_1_A, {L, R, C, LFE, Ls, Rs, Cs}},
    {kAudioChannelLayoutTag_MPEG_7_1_A, {L, R, C, LFE, Ls, Rs, Lc, Rc}},
    {kAudioChannelLayoutTag_MPEG_7_1_B, {C, Lc, Rc, L, R, Ls, Rs, LFE}},
    {kAudioChannelLayoutTag_MPEG_7_1_C, {L, R, C, LFE, Ls, Rs, Rls, Rrs}},
    {kAudioChannelLayoutTag_Emagic_Default_7_1, {L, R, Ls, Rs, C, LFE, Lc, Rc}},
    {kAudioChannelLayoutTag_SMPTE_DTV, {L, R, C, LFE, Ls, Rs, Lt, Rt}},
    {kAudioChannelLayoutTag_ITU_2_1, {L, R, Cs}},
    {kAudioChannelLayoutTag_DVD_4, {L, R, LFE}},
    {kAudioChannelLayoutTag_DVD_5, {L, R, LFE, Cs}},
    {kAudioChannelLayoutTag_DVD_6, {L, R, LFE, Ls, Rs}},
    {kAudioChannelLayoutTag_DVD_10, {L, R, C, LFE}},
    {kAudioChannelLayoutTag_DVD_11, {L, R, C, LFE, Cs}},
    {kAudioChannelLayoutTag_DVD_18, {L, R, Ls, Rs, LFE}},
    {kAudioChannelLayoutTag_AudioUnit_7_0, {L, R, Ls, Rs, C, Rls, Rrs}},
    {kAudioChannelLayoutTag_AudioUnit_7_0_Front, {L, R, Ls, Rs, C, Lc, Rc}},
    {kAudioChannelLayoutTag_AAC_6_0, {C, L, R, Ls, Rs, Cs}},
    {kAudioChannelLayoutTag_AAC_6_1, {C, L, R, Ls, Rs, Cs, LFE}},
    {kAudioChannelLayoutTag_AAC_7_0, {C, L, R, Ls, Rs, Rls, Rrs}},
    {kAudioChannelLayoutTag_AAC_Octagonal, {C, L, R, Ls, Rs, Rls, Rrs, Cs}},
    {kAudioChannelLayoutTag_TMH_10_2_std,
     {L, R, C, Vhc, Lsd, Rsd, Ls, Rs, Vhl, Vhr, Lw, Rw, Csd, Cs, LFE, LFE2}},
    {kAudioChannelLayoutTag_TMH_10_2_full,
     {L, R, C, Vhc, Lsd, Rsd, Ls, Rs, Vhl, Vhr, Lw, Rw, Csd, Cs, LFE, LFE2, Lc, Rc, D, D, Haptic}},
    {kAudioChannelLayoutTag_AC3_1_0_1, {C, LFE}},
    {kAudioChannelLayoutTag_AC3_3_0, {L, C, R}},
    {kAudioChannelLayoutTag_AC3_3_1, {L, C, R, Cs}},
    {kAudioChannelLayoutTag_AC3_3_0_1, {L, C, R, LFE}},
    {kAudioChannelLayoutTag_AC3_2_1_1, {L, R, Cs, LFE}},
    {kAudioChannelLayoutTag_AC3_3_1_1, {L, C, R, Cs, LFE}},
};

// The host's labels and the media-layer labels they stand for. The host numbers some pairs in
// another order (106 before 107; right before centre for vertical height and top back).
constexpr std::array<std::pair<std::uint32_t, std::uint32_t>, 24> kHostLabels{{
    {noxmediatypes::kChannelLabel_Left, L},
    {noxmediatypes::kChannelLabel_Right, R},
    {noxmediatypes::kChannelLabel_Center, C},
    {noxmediatypes::kChannelLabel_LFE, LFE},
    {noxmediatypes::kChannelLabel_LeftSurround, Ls},
    {noxmediatypes::kChannelLabel_RightSurround, Rs},
    {noxmediatypes::kChannelLabel_CenterSurround, Cs},
    {noxmediatypes::kChannelLabel_LeftCenter, Lc},
    {noxmediatypes::kChannelLabel_RightCenter, Rc},
    {noxmediatypes::kChannelLabel_LeftSurroundDirect, Lsd},
    {noxmediatypes::kChannelLabel_RightSurroundDirect, Rsd},
    {noxmediatypes::kChannelLabel_TopCenterSurround, kAudioChannelLabel_TopCenterSurround},
    {noxmediatypes::kChannelLabel_VerticalHeightLeft, Vhl},
    {noxmediatypes::kChannelLabel_VerticalHeightRight, Vhr},
    {noxmediatypes::kChannelLabel_VerticalHeightCenter, Vhc},
    {noxmediatypes::kChannelLabel_TopBackLeft, Tbl},
    {noxmediatypes::kChannelLabel_TopBackRight, Tbr},
    {noxmediatypes::kChannelLabel_TopBackCenter, kAudioChannelLabel_TopBackCenter},
    {noxmediatypes::kChannelLabel_LeftWide, Lw},
    {noxmediatypes::kChannelLabel_RearSurroundLeft, Rls},
    {noxmediatypes::kChannelLabel_CenterSurroundDirect, Csd},
    {noxmediatypes::kChannelLabel_RightWide, Rw},
    {noxmediatypes::kChannelLabel_RearSurroundRight, Rrs},
    {noxmediatypes::kChannelLabel_LFE2, LFE2},
}};

constexpr int kBitmapBits = 18;  // Left (bit 0) to TopBackRight (bit 17)

}  // namespace

void AudioChannelLayoutToChannelLabelVector(const AudioChannelLayout* layout,
                                            std::vector<std::uint32_t>& labels) {
  labels.clear();
  if (layout == nullptr) return;
  switch (layout->mChannelLayoutTag) {
    case kAudioChannelLayoutTag_UseChannelDescriptions:
      for (const auto& description : layout->mChannelDescriptions) {
        labels.push_back(description.mChannelLabel);
      }
      return;
    case kAudioChannelLayoutTag_UseChannelBitmap:
      for (int bit = 0; bit < kBitmapBits; ++bit) {
        if ((layout->mChannelBitmap >> bit) & 1u)
          labels.push_back(static_cast<std::uint32_t>(bit + 1));
      }
      return;
    default:
      for (const auto& entry : kTagTable) {
        if (entry.tag == layout->mChannelLayoutTag) {
          labels.assign(entry.labels.begin(), entry.labels.end());
          return;
        }
      }
  }
}

std::uint32_t TranslateChannelLabel(std::uint32_t label) {
  switch (label) {
    case kAudioChannelLabel_LeftTotal:
    case kAudioChannelLabel_HeadphonesLeft:
      return noxmediatypes::kChannelLabel_Left;
    case kAudioChannelLabel_RightTotal:
    case kAudioChannelLabel_HeadphonesRight:
      return noxmediatypes::kChannelLabel_Right;
    default:
      for (const auto& [host, media] : kHostLabels) {
        if (media == label) return host;
      }
      return noxmediatypes::kChannelLabel_None;
  }
}

std::uint32_t TranslateChannelLabel_KivaToQT(noxmediatypes::AudioChannelLabel hostLabel) {
  for (const auto& [host, media] : kHostLabels) {
    if (host == hostLabel) return media;
  }
  return kAudioChannelLabel_Discrete;
}

}  // namespace kiva::qt
