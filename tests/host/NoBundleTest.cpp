// The module's resource set-up when the module does not sit in a bundle (this test binary is a
// plain executable in bin/).

#include "Module/private/Module.h"

#include <noxcore/config/Error.h>
#include <noxcore/debug/Trace.h>

#include <gtest/gtest.h>

namespace {

TEST(ModuleOutsideABundle, BundleLookupFindsNothing) {
  EXPECT_EQ(kiva::module::GetBundleIdentifier(), "");
}

TEST(ModuleOutsideABundle, ResourceManagerSetUpIsAContractViolation) {
  std::string trace;
  noxcore::debug::SetTraceSink([&trace](std::string_view line) { trace += line; });
  EXPECT_THROW(kiva::module::InitResourceManager(), noxcore::config::HostError);
  noxcore::debug::SetTraceSink({});
  EXPECT_EQ(trace,
            "Contract violation: resourceBundle != 0 (Common/Module/private/mac/Module_MAC:57)\n");
  EXPECT_EQ(kiva::module::GetResourceManager(), nullptr);
}

}  // namespace
