// Every test of a program linking this starts from a freshly loaded module: the media layer not
// started, no export catalogue. The module keeps both for its whole lifetime on purpose, so
// without this a test would see what an earlier one in the same process left.

#include "QTExportCatalogue.h"
#include "QTMediaLayer.h"

#include <gtest/gtest.h>

namespace {

class FreshModulePerTest final : public ::testing::EmptyTestEventListener {
  void OnTestStart(const ::testing::TestInfo&) override {
    kiva::qt::ForgetStartForTesting();
    kiva::qt::ForgetExportDescriptionsForTesting();
  }
};

// Registered before main runs: the listener list belongs to GoogleTest's singleton.
const bool sRegistered = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new FreshModulePerTest);
  return true;
}();

}  // namespace
