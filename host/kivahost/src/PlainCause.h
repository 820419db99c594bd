// Why a request failed, in plain words, found on the host's side: the plug-in answers a missing
// file, a closed one, a directory or a picture of a file without pictures with bare status
// codes, and a person should not have to look them up.
#pragma once

#include "HostRecords.h"

#include <string>

namespace kivahost {

// What about `path` itself keeps it from being read ("FILE does not exist", "permission
// denied", "it is a directory", ...); empty when the path is a readable file, so that the
// reason lies in what it holds.
std::string InputCause(const std::string& path);

// Why frame `index` at width x height of a file with `video` cannot be drawn; empty when the
// request was one the file can answer.
std::string FrameCause(const VideoStreamFacts& video, int index, int width, int height);

}  // namespace kivahost
