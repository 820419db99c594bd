// The export settings dialog over the fake media port, with the plug-in's own dialog resource,
// driven by dialog scripts and by simulated clicks on the offscreen platform. This binary sits
// in KivaQTUITests.bundle/Contents/Linux, so the module finds that bundle's resources as its own.

#include "FakeToolbox.h"
#include "KivaQTInterface.h"
#include "KivaQTSettingsDialog.h"
#include "Module/private/Module.h"
#include "QTExportCatalogue.h"
#include "RecordMocks.h"

#include <kiva/KivaInterfaceTemplate.h>
#include <noxui/ui/DialogScript.h>
#include <orb/app/App.h>

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace {

using kiva::KivaQTInterface;
using kiva::test::FakeComponent;
using kiva::test::FakeToolbox;
using kiva::test::MakeExporter;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

// Runs `inspect` on the modal dialog as soon as it is showing; it must end the dialog.
void OnceTheDialogShows(std::function<void(QDialog&)> inspect) {
  QTimer::singleShot(0, [inspect = std::move(inspect)]() mutable {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr) {
      OnceTheDialogShows(std::move(inspect));
      return;
    }
    inspect(*dialog);
  });
}

QComboBox& FormatPopup(QDialog& dialog) {
  return *dialog.findChild<QComboBox*>("ExportFormatPopupID");
}

void Click(QDialog& dialog, const char* id) {
  QTest::mouseClick(dialog.findChild<QPushButton*>(id), Qt::LeftButton);
}

class SettingsDialog : public ::testing::Test {
 protected:
  void SetUp() override {
    kiva::module::InitResourceManager();
    UseCatalogue({MakeExporter("lpcm"), MakeExporter("aac "), MakeExporter("alac")});
  }
  void TearDown() override {
    noxui::ui::DialogScript::Get().Clear();
    kiva::module::TerminateResourceManager();
  }

  // Installs the exporters and rebuilds the catalogue from them.
  void UseCatalogue(std::vector<std::shared_ptr<FakeComponent>> exporters) {
    this->exporters = exporters;
    toolbox.components.assign(exporters.begin(), exporters.end());
    std::vector<std::string> extensions;
    kiva::qt::InitExportDescriptions(extensions, nullptr, false);
  }

  void Script(const std::string& text) {
    std::string error;
    ASSERT_TRUE(noxui::ui::DialogScript::Get().AddRuns(text, error)) << error;
  }

  // Runs the host request with `stored` as the host's settings. Expects, in order, the request's
  // getters, the settings read, then either the new string `written` and "not canceled", or
  // (without `written`) nothing stored and "canceled".
  void RunRequest(const std::u16string& stored, const std::u16string* written) {
    StrictMock<kiva::test::MockRunExportSettingsDialog> request;
    StrictMock<kiva::test::MockFormat> format;
    {
      InSequence order;
      EXPECT_CALL(request, GetErrorReporter()).WillOnce(Return(nullptr));
      EXPECT_CALL(request, GetParentWindow()).WillOnce(Return(nullptr));
      EXPECT_CALL(request, GetFormat()).WillOnce(Return(&format));
      EXPECT_CALL(format, GetPrivateSettings()).WillOnce(Return(stored.c_str()));
      if (written != nullptr) EXPECT_CALL(format, SetPrivateSettings(*written));
      EXPECT_CALL(request, SetCanceled(written == nullptr));
    }
    KivaQTInterface plugIn;
    EXPECT_EQ(plugIn.EntryPoint(kiva::kSelRunExportSettingsDialog, nullptr, &request),
              kiva::kKivaSuccess);
  }
  void ExpectWritten(const std::u16string& stored, const std::u16string& written) {
    RunRequest(stored, &written);
  }
  void ExpectCanceled(const std::u16string& stored) { RunRequest(stored, nullptr); }

  orb::app::App app;
  FakeToolbox& toolbox = FakeToolbox::Instance();
  std::vector<std::shared_ptr<FakeComponent>> exporters;
};

TEST_F(SettingsDialog, OkWithoutChangesWritesBackTheLoadedIndex) {
  Script("FormatOptions: OKButtonID");
  ExpectWritten(u"", u"FormatIndex:0:0;");
  Script("FormatOptions: OKButtonID");
  ExpectWritten(u"FormatIndex:0:2;AtomicSettings:1:YWJj;",
                u"FormatIndex:0:2;AtomicSettings:1:YWJj;");
}

TEST_F(SettingsDialog, OkStoresTheChosenFormat) {
  Script("FormatOptions: ExportFormatPopupID=alac, OKButtonID");
  ExpectWritten(u"FormatIndex:0:1;", u"FormatIndex:0:2;");
}

TEST_F(SettingsDialog, CancelStoresNothingEvenAfterTheExporterDialogWasAccepted) {
  exporters[1]->settings = {'x', 'y', 'z'};
  Script("FormatOptions: ExportFormatPopupID=aac, OptionButtonID, CancelButtonID");
  ExpectCanceled(u"FormatIndex:0:0;");
  EXPECT_EQ(exporters[1]->dialogCalls, 1);
  EXPECT_EQ(exporters[1]->settingsCalls, 1);
}

TEST_F(SettingsDialog, TheAcceptedExporterSettingsAreStoredOnOk) {
  exporters[1]->settings = {'x', 'y', 'z'};
  Script("FormatOptions: ExportFormatPopupID=aac, OptionButtonID, OKButtonID");
  ExpectWritten(u"FormatIndex:0:0;AtomicSettings:1:YWJj;",
                u"FormatIndex:0:1;AtomicSettings:1:eHl6;");
  // Only the chosen entry's exporter was opened, and it was closed again.
  EXPECT_EQ(exporters[0]->exporterOpens + exporters[2]->exporterOpens, 0);
  EXPECT_EQ(exporters[1]->exporterOpens, 1);
  EXPECT_EQ(exporters[1]->exporterCloses, 1);
}

TEST_F(SettingsDialog, ChangingTheFormatAfterTheOptionsKeepsTheirSettings) {
  exporters[1]->settings = {'x', 'y', 'z'};
  Script(
      "FormatOptions: ExportFormatPopupID=aac, OptionButtonID, ExportFormatPopupID=alac, "
      "OKButtonID");
  ExpectWritten(u"", u"FormatIndex:0:2;AtomicSettings:1:eHl6;");
}

TEST_F(SettingsDialog, AFailingOrCanceledExporterDialogChangesNothing) {
  exporters[1]->settings = {'x', 'y', 'z'};
  exporters[1]->dialogCanceled = true;
  Script("FormatOptions: ExportFormatPopupID=aac, OptionButtonID, OKButtonID");
  ExpectWritten(u"AtomicSettings:1:YWJj;", u"FormatIndex:0:1;AtomicSettings:1:YWJj;");
  EXPECT_EQ(exporters[1]->settingsCalls, 0);

  exporters[1]->dialogCanceled = false;
  exporters[1]->dialogError = -50;
  Script("FormatOptions: ExportFormatPopupID=aac, OptionButtonID, OKButtonID");
  ExpectWritten(u"AtomicSettings:1:YWJj;", u"FormatIndex:0:1;AtomicSettings:1:YWJj;");
  EXPECT_EQ(exporters[1]->settingsCalls, 0);

  exporters[1]->dialogError = 0;
  exporters[1]->settingsError = -108;
  Script("FormatOptions: ExportFormatPopupID=aac, OptionButtonID, OKButtonID");
  ExpectWritten(u"AtomicSettings:1:YWJj;", u"FormatIndex:0:1;AtomicSettings:1:YWJj;");
  EXPECT_EQ(exporters[1]->settingsCalls, 1);
  EXPECT_EQ(exporters[1]->exporterOpens, 3);
  EXPECT_EQ(exporters[1]->exporterCloses, 3);

  exporters[1]->exporterOpenError = -2005;
  Script("FormatOptions: ExportFormatPopupID=aac, OptionButtonID, OKButtonID");
  ExpectWritten(u"AtomicSettings:1:YWJj;", u"FormatIndex:0:1;AtomicSettings:1:YWJj;");
  EXPECT_EQ(exporters[1]->dialogCalls, 3);
}

TEST_F(SettingsDialog, AStoredIndexBeyondTheCatalogueShowsNoSelectionAndIsKept) {
  int shownValue = 0;
  int shownItems = 0;
  OnceTheDialogShows([&](QDialog& dialog) {
    shownValue = FormatPopup(dialog).currentIndex();
    shownItems = FormatPopup(dialog).count();
    Click(dialog, "OKButtonID");
  });
  ExpectWritten(u"FormatIndex:0:5;", u"FormatIndex:0:5;");
  EXPECT_EQ(shownValue, -1);
  EXPECT_EQ(shownItems, 3);
  // Picking an item replaces it.
  Script("FormatOptions: ExportFormatPopupID=#0, OKButtonID");
  ExpectWritten(u"FormatIndex:0:5;", u"FormatIndex:0:0;");
}

TEST_F(SettingsDialog, TheOptionsButtonWithoutASelectionDoesNothing) {
  Script("FormatOptions: OptionButtonID, OKButtonID");
  ExpectWritten(u"FormatIndex:0:5;", u"FormatIndex:0:5;");
  for (const auto& exporter : exporters) EXPECT_EQ(exporter->exporterOpens, 0);
}

TEST_F(SettingsDialog, ItemsShowTheSubtypeCodesInCatalogueOrderWithTheStoredOneChosen) {
  UseCatalogue({MakeExporter("Wxy1"), MakeExporter("ab0 "), MakeExporter("aac ")});
  QStringList items;
  int shownValue = -2;
  QString title;
  OnceTheDialogShows([&](QDialog& dialog) {
    for (int i = 0; i < FormatPopup(dialog).count(); ++i) items << FormatPopup(dialog).itemText(i);
    shownValue = FormatPopup(dialog).currentIndex();
    title = dialog.windowTitle();
    Click(dialog, "CancelButtonID");
  });
  ExpectCanceled(u"FormatIndex:0:1;");
  EXPECT_EQ(items, (QStringList{"Wxy1", "ab", "aac"}));
  EXPECT_EQ(shownValue, 1);
  EXPECT_EQ(title, "QT Settings");
}

TEST_F(SettingsDialog, AnEmptyCatalogueGivesAnEmptyPopupAndOkKeepsTheIndex) {
  UseCatalogue({});
  int shownItems = -1;
  OnceTheDialogShows([&](QDialog& dialog) {
    shownItems = FormatPopup(dialog).count();
    Click(dialog, "OKButtonID");
  });
  ExpectWritten(u"FormatIndex:0:2;", u"FormatIndex:0:2;");
  EXPECT_EQ(shownItems, 0);
}

TEST_F(SettingsDialog, ClickingTheOptionsButtonOpensTheChosenExporter) {
  exporters[2]->settings = {'a', 'b', 'c'};
  OnceTheDialogShows([](QDialog& dialog) {
    QComboBox& popup = FormatPopup(dialog);
    popup.setFocus();
    QTest::keyClick(&popup, Qt::Key_End);  // the user picks the last item with the keyboard
    Click(dialog, "OptionButtonID");
    Click(dialog, "OKButtonID");
  });
  ExpectWritten(u"", u"FormatIndex:0:2;AtomicSettings:1:YWJj;");
  EXPECT_EQ(exporters[2]->dialogCalls, 1);
}

TEST_F(SettingsDialog, OkAndCancelStandInThePlatformsOrder) {
  double okLeft = 0;
  double cancelLeft = 0;
  OnceTheDialogShows([&](QDialog& dialog) {
    okLeft = dialog.findChild<QPushButton*>("OKButtonID")->x();
    cancelLeft = dialog.findChild<QPushButton*>("CancelButtonID")->x();
    Click(dialog, "CancelButtonID");
  });
  ExpectCanceled(u"");
  // The order the toolkit's own button boxes use on this platform.
  QDialogButtonBox reference(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  reference.resize(400, 40);
  reference.show();
  const bool okFirst =
      reference.button(QDialogButtonBox::Ok)->x() < reference.button(QDialogButtonBox::Cancel)->x();
  EXPECT_EQ(okLeft < cancelLeft, okFirst);
  EXPECT_TRUE(okFirst);
}

TEST(FlipNodePositions, TwoNodesTradePlacesAndKeepTheirSizes) {
  kiva::module::InitResourceManager();
  noxui::ui::UI_ArchivedDialogPtr dialog(
      new noxui::ui::UI_ArchivedDialog(nullptr, kiva::module::GetResourceManager(), "FormatOptions",
                                       u"", nullptr, true, false, noxui::ui::Point{}, {}));
  const auto popup = dialog->GetNodeForID("ExportFormatPopupID");
  const auto ok = dialog->GetNodeForID("OKButtonID");
  const noxui::ui::Rect popupFrame = popup->GetFrame(noxui::ui::kFrameInParent);
  const noxui::ui::Rect okFrame = ok->GetFrame(noxui::ui::kFrameInParent);
  kiva::FlipNodePositionsOnMac(popup, ok);
  EXPECT_EQ(popup->GetFrame(noxui::ui::kFrameInParent),
            (noxui::ui::Rect{okFrame.left, okFrame.top, okFrame.left + popupFrame.Width(),
                             okFrame.top + popupFrame.Height()}));
  EXPECT_EQ(ok->GetFrame(noxui::ui::kFrameInParent),
            (noxui::ui::Rect{popupFrame.left, popupFrame.top, popupFrame.left + okFrame.Width(),
                             popupFrame.top + okFrame.Height()}));
  kiva::module::TerminateResourceManager();
}

}  // namespace
