// The module's resource manager, draw supplier and image provider. This binary sits in
// KivaQTUnitTests.bundle/Contents/Linux, so the module finds that bundle as its own.

#include "Module/private/Module.h"
#include "Module/private/ModuleImageProvider.h"
#include "TraceCapture.h"

#include <noxcore/config/Error.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace {

using namespace kiva;

std::string Suffix(const std::string& text, std::size_t length) {
  return text.size() < length ? text : text.substr(text.size() - length);
}

TEST(ModuleResources, ResourceManagerIsNullUntilInitializedAndAfterTermination) {
  EXPECT_EQ(module::GetResourceManager(), nullptr);
  module::InitResourceManager();
  EXPECT_NE(module::GetResourceManager(), nullptr);
  module::TerminateResourceManager();
  EXPECT_EQ(module::GetResourceManager(), nullptr);
  module::InitResourceManager();
  EXPECT_NE(module::GetResourceManager(), nullptr);
  module::TerminateResourceManager();
}

TEST(ModuleResources, ResourceManagerIsBoundToTheModulesBundle) {
  module::InitResourceManager();
  const auto* resources = module::GetResourceManager();
  ASSERT_NE(resources, nullptr);
  EXPECT_EQ(Suffix(resources->GetBundlePath(), 23), "/KivaQTUnitTests.bundle");
  EXPECT_EQ(resources->GetResourceDirectory(), resources->GetBundlePath() + "/Contents/Resources");
  module::TerminateResourceManager();
}

TEST(ModuleResources, SecondInitializationIsAContractViolation) {
  kiva::test::TraceCapture trace("");
  module::InitResourceManager();
  try {
    module::InitResourceManager();
    FAIL() << "no exception";
  } catch (const noxcore::config::HostError& error) {
    EXPECT_EQ(error.Message(), u"An input contract violation has occurred!");
    EXPECT_EQ(error.Group(), 105);
    EXPECT_EQ(error.Code(), 25);
  }
  EXPECT_THAT(trace.Lines(), ::testing::ElementsAre("Contract violation: sResourceManager == 0 "
                                                    "(Common/Module/private/mac/Module_MAC:54)\n"));
  module::TerminateResourceManager();
}

TEST(ModuleResources, DrawSupplierIsMadeOnceAndKept) {
  auto* first = module::GetDrawSupplier();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(module::GetDrawSupplier(), first);
  module::Terminate();
}

TEST(ModuleResources, TerminateModuleImageProviderWithoutProviderOnlyClearsIt) {
  EXPECT_EQ(GetModuleImageProvider(), nullptr);
  TerminateModuleImageProvider();
  EXPECT_EQ(GetModuleImageProvider(), nullptr);
  EXPECT_EQ(module::GetResourceManager(), nullptr);
}

TEST(ModuleResources, ModuleStartBuildsProviderFromResourceManagerAndSupplier) {
  module::Initialize();
  auto* provider = GetModuleImageProvider();
  ASSERT_NE(provider, nullptr);
  EXPECT_EQ(provider->GetResourceManager(), module::GetResourceManager());
  EXPECT_EQ(provider->GetDrawSupplier(), module::GetDrawSupplier());
  module::Terminate();
  EXPECT_EQ(GetModuleImageProvider(), nullptr);
  EXPECT_EQ(module::GetResourceManager(), nullptr);
}

TEST(ModuleResources, ModuleCanStartAgainAfterTerminate) {
  module::Initialize();
  module::Terminate();
  EXPECT_NO_THROW(module::Initialize());
  EXPECT_NE(GetModuleImageProvider(), nullptr);
  module::Terminate();
}

TEST(ModuleResources, SecondModuleStartWithoutTerminateIsRefused) {
  module::Initialize();
  EXPECT_THROW(module::Initialize(), noxcore::config::HostError);
  module::Terminate();
}

TEST(ModuleResources, ImageProviderFindsImagesAmongTheBundlesResources) {
  module::Initialize();
  const std::string directory = module::GetResourceManager()->GetResourceDirectory();
  std::ofstream(directory + "/Probe.png") << "png";
  EXPECT_EQ(GetModuleImageProvider()->FindImage("Probe"), directory + "/Probe.png");
  EXPECT_EQ(GetModuleImageProvider()->FindImage("Missing"), "");
  std::remove((directory + "/Probe.png").c_str());
  module::Terminate();
}

}  // namespace
