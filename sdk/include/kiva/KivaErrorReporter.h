// The host's sink for human-readable messages that accompany a status code.
#pragma once

namespace kiva {

class KivaErrorReporter {
 public:
  virtual ~KivaErrorReporter() = default;  // slots 0, 1

  // slot 2. `text` is zero-terminated UTF-16, valid only during the call; the host copies it.
  virtual void SetErrorText(const char16_t* text) = 0;
};

}  // namespace kiva
