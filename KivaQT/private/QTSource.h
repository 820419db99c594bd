// One open movie: the reading session and the writing session alike. The host holds a source as
// an opaque handle and destroys it through CloseForRead or FinishWrite.
#pragma once

#include <cstdint>
#include <string>

namespace kiva::qt {

class Source {
 public:
  // What went wrong while opening a file, for the message the host shows.
  struct ExtendedErrorInfo {
    std::int32_t kind = 0;   // 0 = nothing recorded; 1 = an open error with a code
    std::int32_t code = 0;   // the failing step's status; -1 when the path could not be converted
    std::u16string text1;    // carried along, unused for the message
    std::u16string text2;    // carried along, unused for the message
    std::int32_t value = 0;  // carried along, unused for the message
  };

  Source() = default;
  virtual ~Source() = default;
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
};

}  // namespace kiva::qt
