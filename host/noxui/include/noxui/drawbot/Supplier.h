// The draw supplier: the host's source of drawing services for a module's UI. The windowing
// toolkit is brought up only when something is first drawn, never when a supplier is made, so a
// module may hold a supplier in a process without a display.
#pragma once

#include <memory>

namespace noxui::drawbot {

class SupplierInterface {
 public:
  virtual ~SupplierInterface() = default;
  // Device pixels per layout pixel of the main screen (1.0 where there is no screen).
  virtual double GetScreenScaleFactor() const = 0;
};

// A supplier for this platform; the caller owns it and deletes it through the interface.
SupplierInterface* NewOSSupplier();

}  // namespace noxui::drawbot
