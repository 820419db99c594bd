// noxui's resource manager and draw supplier, uit's image provider, orb's application.

#include <noxui/drawbot/Supplier.h>
#include <noxui/utility/ResourceManager.h>
#include <orb/app/App.h>
#include <uit/ImageProvider.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>

namespace {

namespace fs = std::filesystem;

class ResourceBundle : public ::testing::Test {
 protected:
  void SetUp() override {
    // Tests run in parallel processes: each gets a bundle of its own.
    bundle =
        fs::path(::testing::TempDir()) /
        (std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) + ".bundle");
    fs::create_directories(bundle / "Contents" / "Resources");
    std::ofstream(bundle / "Contents" / "Resources" / "FormatOptions.ui") << "<ui/>";
    std::ofstream(bundle / "Contents" / "Resources" / "Icon.png") << "1x";
    std::ofstream(bundle / "Contents" / "Resources" / "Icon@2x.png") << "2x";
    std::ofstream(bundle / "Contents" / "Info.plist") << "";
  }
  void TearDown() override {
    std::error_code ignored;
    fs::remove_all(bundle, ignored);
  }
  fs::path bundle;
};

TEST_F(ResourceBundle, FindsResourcesInsideTheBundleOnly) {
  const noxui::utility::OS_ResourceManager resources(bundle.string());
  EXPECT_EQ(resources.FindResource("FormatOptions.ui"),
            (bundle / "Contents" / "Resources" / "FormatOptions.ui").string());
  EXPECT_EQ(resources.FindResource("Missing.ui"), "");
  EXPECT_EQ(resources.FindResource("../Info.plist"), "");
  EXPECT_EQ(resources.FindResource(""), "");
  EXPECT_EQ(resources.FindResource(".."), "");
}

TEST_F(ResourceBundle, ImageProviderPrefersTheImageForTheScreenScale) {
  const noxui::utility::OS_ResourceManager resources(bundle.string());
  std::unique_ptr<noxui::drawbot::SupplierInterface> supplier(noxui::drawbot::NewOSSupplier());
  setenv("QT_SCALE_FACTOR", "2", 1);
  EXPECT_EQ(uit::ImageProvider(&resources, supplier.get()).FindImage("Icon"),
            (bundle / "Contents" / "Resources" / "Icon@2x.png").string());
  unsetenv("QT_SCALE_FACTOR");
  EXPECT_EQ(uit::ImageProvider(&resources, supplier.get()).FindImage("Icon"),
            (bundle / "Contents" / "Resources" / "Icon.png").string());
  EXPECT_EQ(uit::ImageProvider(nullptr, supplier.get()).FindImage("Icon"), "");
}

TEST(DrawSupplier, ScaleFactorComesFromTheToolkitSetting) {
  std::unique_ptr<noxui::drawbot::SupplierInterface> supplier(noxui::drawbot::NewOSSupplier());
  unsetenv("QT_SCALE_FACTOR");
  EXPECT_EQ(supplier->GetScreenScaleFactor(), 1.0);
  setenv("QT_SCALE_FACTOR", "1.5", 1);
  EXPECT_EQ(supplier->GetScreenScaleFactor(), 1.5);
  setenv("QT_SCALE_FACTOR", "nonsense", 1);
  EXPECT_EQ(supplier->GetScreenScaleFactor(), 1.0);
  unsetenv("QT_SCALE_FACTOR");
}

TEST(Application, CurrentAppAndItsWorkspace) {
  EXPECT_EQ(orb::app::App::GetApp(), nullptr);
  {
    orb::app::App app;
    ASSERT_EQ(orb::app::App::GetApp(), &app);
    ASSERT_NE(app.GetWorkspace(), nullptr);
    EXPECT_NE(app.GetWorkspace()->GetDrawSupplier(), nullptr);
  }
  EXPECT_EQ(orb::app::App::GetApp(), nullptr);
}

}  // namespace
