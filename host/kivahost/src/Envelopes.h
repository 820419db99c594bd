// The outline of a file's audio that a preview draws: per channel, the lowest and highest sample
// of each of a number of equal stretches.
#pragma once

#include "OpenedFile.h"

#include <utility>
#include <vector>

namespace kivahost {

// [channel][column] = (lowest, highest) over that column's stretch, both 0 where nothing was
// read. The whole file is read through the plug-in once, in blocks.
std::vector<std::vector<std::pair<float, float>>> Envelopes(const OpenedFile& file, int columns);

}  // namespace kivahost
