#include "PlainCause.h"

#include "OutputFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kivahost {

namespace {

// The largest picture the plug-in draws, in either direction.
constexpr int kLargestPicture = 4000;

}  // namespace

std::string InputCause(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    const int error = errno;
    if (error != ENOENT) return DescribeError(error);
    // A link whose target is gone is there to see in a listing: "does not exist" would puzzle.
    struct stat link {};
    if (::lstat(path.c_str(), &link) == 0) return path + " is a link to a file that does not exist";
    return path + " does not exist";
  }
  if (S_ISDIR(info.st_mode)) return "it is a directory";
  if (::access(path.c_str(), R_OK) != 0) return DescribeError(errno);
  if (S_ISREG(info.st_mode) && info.st_size == 0) return "the file is empty";
  return "";
}

std::string FrameCause(const VideoStreamFacts& video, int index, int width, int height) {
  if (video.streamCount == 0) return "the file has no video track";
  if (video.frameCount > 0 && index >= video.frameCount) {
    return "the video has " + std::to_string(video.frameCount) + " frames (0 to " +
           std::to_string(video.frameCount - 1) + ")";
  }
  if (width > kLargestPicture || height > kLargestPicture) {
    return "a picture is at most " + std::to_string(kLargestPicture) +
           " pixels in either direction";
  }
  return "";
}

}  // namespace kivahost
