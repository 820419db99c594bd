// How kivahost names the plug-in's codes and counts for people: sample types, channel sets,
// counted nouns. Text and JSON output use the same names.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kivahost {

// "8-bit", "16-bit", "24-bit", "32-bit float", or "code N" for one the host does not know.
std::string SampleTypeName(int code);

// A channel label's name for JSON: kivahost's short name ("L", "R", "C", "LFE", "Ls", ...), or
// "unlabelled" for 0, a channel that has no place (the plug-in gives one to some mono files).
std::string LabelJsonName(std::uint32_t label);

// What a set of channels is: "mono" for one channel whatever its label (a container may give
// it a place or none), "unlabelled" when no channel has a place (as in WAV files
// without a channel mask), else the labels' short names ("L R", "L R C LFE Ls Rs").
std::string ChannelSetName(const std::vector<std::uint32_t>& labels);

// "1 channel", "2 channels", "1 frame", ...
std::string Counted(std::int64_t count, const std::string& noun);

}  // namespace kivahost
