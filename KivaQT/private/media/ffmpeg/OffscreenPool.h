// Makes the pictures a movie draws into, and keeps the pixels of the last few given back: a
// host that alternates a thumbnail strip and a viewer gets its picture of each size again
// instead of a new allocation (zero-filled, page by page) on every change of size.
#pragma once

#include "../MediaStatus.h"
#include "../Offscreen.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace kiva::qt::media::ffmpeg {

class OffscreenPool : public std::enable_shared_from_this<OffscreenPool> {
 public:
  static constexpr std::size_t kKept = 4;

  OSErr Make(std::int32_t width, std::int32_t height, std::unique_ptr<Offscreen>& made);

  // Pixel buffers allocated so far (for tests of the reuse).
  std::int64_t Allocated() const { return allocated; }

 private:
  class Pooled;
  void GiveBack(std::vector<std::uint8_t>&& pixels);

  std::vector<std::vector<std::uint8_t>> kept;  // most recently given back last
  std::int64_t allocated = 0;
};

}  // namespace kiva::qt::media::ffmpeg
