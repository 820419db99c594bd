// A file opened through the plug-in (selector 5) with its reported format (selector 6); closed
// through the plug-in (selector 11) when the object goes.
#pragma once

#include "HostRecords.h"
#include "PlugIn.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace kivahost {

class OpenedFile {
 public:
  // Throws PlugInError with the status and the plug-in's messages when the open fails.
  OpenedFile(const PlugIn& plugIn, const std::string& path);
  ~OpenedFile();
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;

  const HostOpen& Open() const { return open; }
  const HostFormat& Format() const { return format; }
  void* Handle() const { return handle; }

  // Frames [start, start + frames) into one buffer per channel; returns the plug-in's status
  // and sets `framesRead`.
  int Read(std::int64_t start, std::int64_t frames, const std::vector<float*>& buffers,
           std::int64_t& framesRead) const;

  // Frame `index` at width x height as B, G, R, A bytes, rows packed; returns the status.
  // The plug-in draws nothing at the movie's own size until another size was asked for: this
  // asks for a tiny picture first when that happens, as a host must.
  int ReadFrame(int index, int width, int height, std::vector<std::uint8_t>& pixels);

 private:
  const PlugIn& plugIn;
  HostOpen open;
  HostFormat format;
  void* handle = nullptr;
  bool framesAsked = false;
};

// A failed request: the status and what the plug-in's reporter got.
class PlugInError : public std::runtime_error {
 public:
  PlugInError(const std::string& what, int status, std::vector<std::string> messages);
  int Status() const { return status; }
  const std::vector<std::string>& Messages() const { return messages; }

 private:
  int status;
  std::vector<std::string> messages;
};

// The host's name of a channel label ("L", "R", "C", "LFE", ... or "-" for none).
std::string LabelName(std::uint32_t label);

}  // namespace kivahost
