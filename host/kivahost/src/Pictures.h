// kivahost's picture commands: one video frame, and a preview of a whole file.
#pragma once

#include "LevelScale.h"
#include "PlugIn.h"

#include <string>

namespace kivahost {

// Writes frame `index` of `path` at width x height (0: the movie's own size) as PNG; under
// `json` says what it wrote (or why not) as one JSON object.
int RunFrame(const PlugIn& plugIn, const std::string& path, int index, int width, int height,
             const std::string& output, bool json);

// Writes one picture with the file's facts, the waveform of every channel (its level on `scale`)
// over a time axis, and a strip of evenly spaced video frames with their times, everything read
// through the plug-in.
int RunPreview(const PlugIn& plugIn, const std::string& path, const std::string& output,
               LevelScale scale);

}  // namespace kivahost
