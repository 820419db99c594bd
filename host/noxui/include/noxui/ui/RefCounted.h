// Base of the UI objects that modules hold through boost::intrusive_ptr. The count is atomic so
// that a pointer may be released on another thread than the one that took it.
#pragma once

#include <atomic>

namespace noxui::ui {

class RefCounted {
 public:
  RefCounted(const RefCounted&) = delete;
  RefCounted& operator=(const RefCounted&) = delete;

 protected:
  RefCounted() = default;
  virtual ~RefCounted();

 private:
  friend void intrusive_ptr_add_ref(const RefCounted* object) {
    object->references.fetch_add(1, std::memory_order_relaxed);
  }
  friend void intrusive_ptr_release(const RefCounted* object) {
    if (object->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete object;
  }

  mutable std::atomic<int> references{0};
};

}  // namespace noxui::ui
