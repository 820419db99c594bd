// Runs a shell command (ffmpeg, ffprobe, GStreamer's tools) and collects what it prints, so that
// tests can compare the plug-in with independent readers.

#pragma once

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace kiva::test {

inline std::string CommandOutput(const std::string& command) {
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string output;
  if (!pipe) return output;
  char buffer[65536];
  std::size_t read = 0;
  while ((read = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0) output.append(buffer, read);
  return output;
}

// The command's output read as native 32-bit floats (ffmpeg's "-f f32le -"); a trailing partial
// value is dropped.
inline std::vector<float> CommandFloats(const std::string& command) {
  const std::string bytes = CommandOutput(command);
  std::vector<float> values(bytes.size() / sizeof(float));
  if (!values.empty()) std::memcpy(values.data(), bytes.data(), values.size() * sizeof(float));
  return values;
}

}  // namespace kiva::test
