// A settings dialog resource whose format popup is of another control type. This binary sits in
// KivaQTBrokenUITests.bundle, whose FormatOptions.ui has a push button where the popup belongs.

#include "FakeToolbox.h"
#include "KivaQTInterface.h"
#include "Module/private/Module.h"
#include "RecordMocks.h"

#include <kiva/KivaInterfaceTemplate.h>
#include <noxcore/config/Error.h>
#include <noxui/ui/DialogScript.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::Return;
using ::testing::StrictMock;

TEST(BrokenDialogResource, AControlOfTheWrongTypeIsAHostErrorAndNothingIsStored) {
  kiva::module::InitResourceManager();
  kiva::test::FakeToolbox::Instance().components = {kiva::test::MakeExporter("lpcm")};
  std::string error;
  ASSERT_TRUE(noxui::ui::DialogScript::Get().AddRuns("FormatOptions: OKButtonID", error));
  // Strict mocks: neither SetPrivateSettings nor SetCanceled may be called.
  StrictMock<kiva::test::MockRunExportSettingsDialog> request;
  StrictMock<kiva::test::MockFormat> format;
  EXPECT_CALL(request, GetErrorReporter()).WillOnce(Return(nullptr));
  EXPECT_CALL(request, GetParentWindow()).WillOnce(Return(nullptr));
  EXPECT_CALL(request, GetFormat()).WillOnce(Return(&format));
  EXPECT_CALL(format, GetPrivateSettings()).WillOnce(Return(u"FormatIndex:0:0;"));
  kiva::KivaQTInterface plugIn;
  try {
    plugIn.EntryPoint(kiva::kSelRunExportSettingsDialog, nullptr, &request);
    ADD_FAILURE() << "no host error";
  } catch (const noxcore::config::HostError& hostError) {
    EXPECT_EQ(hostError.Message(), u"Invalid type conversion.");
  }
  kiva::module::TerminateResourceManager();
}

}  // namespace
