#include "OffscreenPool.h"

#include <algorithm>
#include <new>

namespace kiva::qt::media::ffmpeg {

// A picture whose pixels go back to the pool that made it, if the pool is still there.
class OffscreenPool::Pooled final : public Offscreen {
 public:
  explicit Pooled(std::weak_ptr<OffscreenPool> pool) : pool(std::move(pool)) {}
  ~Pooled() override {
    if (auto owner = pool.lock()) owner->GiveBack(std::move(pixels));
  }

 private:
  std::weak_ptr<OffscreenPool> pool;
};

OSErr OffscreenPool::Make(std::int32_t width, std::int32_t height,
                          std::unique_ptr<Offscreen>& made) {
  auto picture = std::make_unique<Pooled>(weak_from_this());
  picture->width = width;
  picture->height = height;
  // Rows aligned for the scaler's vector code.
  picture->rowBytes =
      static_cast<std::int32_t>((static_cast<std::int64_t>(width) * 4 + 31) / 32 * 32);
  const std::size_t bytes =
      static_cast<std::size_t>(picture->rowBytes) * static_cast<std::size_t>(height);
  const auto same = std::find_if(kept.rbegin(), kept.rend(),
                                 [bytes](const auto& pixels) { return pixels.size() == bytes; });
  if (same != kept.rend()) {
    picture->pixels = std::move(*same);
    kept.erase(std::next(same).base());
  } else {
    try {
      picture->pixels.assign(bytes, 0);
    } catch (const std::bad_alloc&) {
      return kMemFullErr;
    }
    ++allocated;
  }
  made = std::move(picture);
  return kNoErr;
}

void OffscreenPool::GiveBack(std::vector<std::uint8_t>&& pixels) {
  if (pixels.empty()) return;
  kept.push_back(std::move(pixels));
  if (kept.size() > kKept) kept.erase(kept.begin());
}

}  // namespace kiva::qt::media::ffmpeg
