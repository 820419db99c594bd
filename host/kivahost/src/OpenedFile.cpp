#include "OpenedFile.h"

#include <kiva/KivaInterfaceTemplate.h>

namespace kivahost {

PlugInError::PlugInError(const std::string& what, int status, std::vector<std::string> messages)
    : std::runtime_error(what), status(status), messages(std::move(messages)) {}

OpenedFile::OpenedFile(const PlugIn& plugIn, const std::string& path) : plugIn(plugIn), open(path) {
  const int status = plugIn.Call(kiva::kSelOpenForRead, nullptr, &open);
  if (status != 0) {
    throw PlugInError("cannot open " + path, status, open.reporter.Messages());
  }
  handle = open.source;
  const int formatStatus = plugIn.Call(kiva::kSelGetFormat, handle, &format);
  if (formatStatus != 0) {
    plugIn.Call(kiva::kSelCloseForRead, handle, nullptr);
    throw PlugInError("cannot read the format of " + path, formatStatus,
                      format.reporter.Messages());
  }
}

OpenedFile::~OpenedFile() { plugIn.Call(kiva::kSelCloseForRead, handle, nullptr); }

int OpenedFile::Read(std::int64_t start, std::int64_t frames, const std::vector<float*>& buffers,
                     std::int64_t& framesRead) const {
  HostReadSamples read(start, frames, buffers);
  const int status = plugIn.Call(kiva::kSelReadSamples, handle, &read);
  framesRead = read.framesRead;
  return status;
}

int OpenedFile::ReadFrame(int index, int width, int height, std::vector<std::uint8_t>& pixels) {
  if (width <= 0 || height <= 0) return kiva::kKivaBadArgument;
  pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4, 0);
  const VideoStreamFacts& video = format.video.facts;
  if (!framesAsked && width == video.width && height == video.height) {
    std::vector<std::uint8_t> tiny(4);
    HostReadVideoFrame warmUp(index, 1, 1, reinterpret_cast<char*>(tiny.data()));
    plugIn.Call(kiva::kSelReadVideoFrame, handle, &warmUp);
  }
  framesAsked = true;
  HostReadVideoFrame request(index, width, height, reinterpret_cast<char*>(pixels.data()));
  return plugIn.Call(kiva::kSelReadVideoFrame, handle, &request);
}

std::string LabelName(std::uint32_t label) {
  static const char* const kNames[] = {"L",   "R",   "C",   "LFE", "Ls",   "Rs",   "Cs",
                                       "Lc",  "Rc",  "Lsd", "Rsd", "Ts",   "Vhl",  "Vhr",
                                       "Vhc", "Ltb", "Rtb", "Ctb", "?118", "?119", "Lw",
                                       "Rls", "Csd", "Rw",  "Rrs", "?125", "LFE2"};
  if (label >= 100 && label <= 126) return kNames[label - 100];
  return label == 0 ? "-" : std::to_string(label);
}

}  // namespace kivahost
