#include <noxui/drawbot/Supplier.h>

#include <cstdlib>
#include <string>

namespace noxui::drawbot {

namespace {

// Reads the scale the toolkit will use (QT_SCALE_FACTOR) without starting the toolkit.
class OSSupplier final : public SupplierInterface {
 public:
  double GetScreenScaleFactor() const override {
    const char* value = std::getenv("QT_SCALE_FACTOR");
    if (value == nullptr) return 1.0;
    char* end = nullptr;
    const double factor = std::strtod(value, &end);
    return end != value && factor > 0.0 ? factor : 1.0;
  }
};

}  // namespace

SupplierInterface* NewOSSupplier() { return new OSSupplier(); }

}  // namespace noxui::drawbot
