// Channel layouts to channel labels, and the media layer's labels to the host's and back.
#pragma once

#include "media/AudioChannelLayout.h"

#include <kiva/KivaChannelLabels.h>

#include <cstdint>
#include <vector>

namespace kiva::qt {

// One media-layer label per channel of `layout` (cleared first; left empty for a null layout or
// a tag it does not know, so that the caller pads with Discrete).
void AudioChannelLayoutToChannelLabelVector(const media::AudioChannelLayout* layout,
                                            std::vector<std::uint32_t>& labels);

// Media-layer label to host label; 0 for labels the host has no name for.
std::uint32_t TranslateChannelLabel(std::uint32_t label);

// Host label to media-layer label; Discrete for host values without a counterpart.
std::uint32_t TranslateChannelLabel_KivaToQT(noxmediatypes::AudioChannelLabel hostLabel);

}  // namespace kiva::qt
