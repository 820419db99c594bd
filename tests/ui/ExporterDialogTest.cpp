// The exporters' own settings dialogs over FFmpeg, and the export settings dialog with the real
// catalogue, on the offscreen platform. Screenshots of both go to the build tree. This binary
// sits in KivaQTExporterUITests.bundle/Contents/Linux with the plug-in's dialog resources.

#include "CommandOutput.h"
#include "KivaQTInterface.h"
#include "Module/private/Module.h"
#include "QTExportCatalogue.h"
#include "RecordMocks.h"
#include "media/Toolbox.h"

#include <kiva/KivaInterfaceTemplate.h>
#include <noxui/ui/DialogScript.h>
#include <orb/app/App.h>

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

namespace {

namespace media = kiva::qt::media;
using ::testing::_;
using ::testing::NiceMock;
using ::testing::Return;
using ::testing::SaveArg;

class ExporterDialog : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(media::DefaultToolbox().Start(), media::kNoErr);
    kiva::module::InitResourceManager();
  }
  void TearDown() override {
    noxui::ui::DialogScript::Get().Clear();
    kiva::module::TerminateResourceManager();
  }

  // A fresh instance of the exporter of `subType` ("aac ").
  std::unique_ptr<media::MovieExporter> Open(const char (&subType)[5]) {
    media::ComponentDescription search;
    search.componentType = media::kMovieExportType;
    search.componentSubType = media::FourCharCode(subType);
    const auto found = media::DefaultToolbox().FindComponents(search);
    std::unique_ptr<media::MovieExporter> exporter;
    if (found.empty() || found.front()->OpenExporter(exporter) != media::kNoErr) return nullptr;
    return exporter;
  }

  static std::string Settings(media::MovieExporter& exporter) {
    std::vector<std::uint8_t> bytes;
    EXPECT_EQ(exporter.GetSettingsAsAtomContainer(bytes), media::kNoErr);
    return std::string(bytes.begin(), bytes.end());
  }

  void Script(const std::string& text) {
    std::string error;
    ASSERT_TRUE(noxui::ui::DialogScript::Get().AddRuns(text, error)) << error;
  }

  orb::app::App app;
};

// Runs `inspect` on the newest modal dialog titled `title` once it shows; it must end it.
void OnceShowing(const QString& title, std::function<void(QDialog&)> inspect) {
  QTimer::singleShot(0, [title, inspect = std::move(inspect)]() mutable {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr || dialog->windowTitle() != title) {
      OnceShowing(title, std::move(inspect));
      return;
    }
    inspect(*dialog);
  });
}

void SaveScreenshot(QDialog& dialog, const std::string& name) {
  const QString path = QString::fromStdString(std::string(KIVA_SCREENSHOTS) + "/" + name);
  EXPECT_TRUE(dialog.grab().save(path, "PNG")) << path.toStdString();
}

// The bit rate the ffmpeg command encodes at when it is not told one (stereo, 44.1 kHz): what it
// prints for its output stream, or where it prints none, what ffprobe reads from the frames.
int DefaultBitRateOfTheFFmpegCommand(const std::string& encoder, const std::string& extension) {
  const std::string file = "/tmp/kivaqt-default-rate-" + std::to_string(::getpid()) + extension;
  const std::string log = kiva::test::CommandOutput(
      "ffmpeg -hide_banner -y -f lavfi -i sine=frequency=440:sample_rate=44100 -ac 2 -t 1 -c:a " +
      encoder + " " + file + " 2>&1 | sed -n '/^Output/,$p' | grep 'Audio:'");
  const std::size_t unit = log.find(" kb/s");
  int rate = 0;
  if (unit != std::string::npos) {
    rate = 1000 * std::atoi(log.c_str() + log.rfind(' ', unit - 1) + 1);
  } else {
    rate = std::atoi(kiva::test::CommandOutput("ffprobe -v error -select_streams a:0 "
                                               "-show_entries stream=bit_rate -of "
                                               "default=nw=1:nk=1 " +
                                               file)
                         .c_str());
  }
  std::remove(file.c_str());
  return rate;
}

TEST_F(ExporterDialog, BitRateExportersOpenOnTheEncodersOwnDefault) {
  for (const auto& [subType, encoder, extension] :
       std::vector<std::tuple<const char*, std::string, std::string>>{
           {"aac ", "aac", ".m4a"}, {"ac-3", "ac3", ".ac3"}, {".mp3", "libmp3lame", ".mp3"}}) {
    char code[5] = {};
    std::memcpy(code, subType, 4);
    auto exporter = Open(reinterpret_cast<const char(&)[5]>(*code));
    ASSERT_NE(exporter, nullptr) << subType;
    const int expected = DefaultBitRateOfTheFFmpegCommand(encoder, extension);
    ASSERT_GT(expected, 0) << encoder;
    EXPECT_EQ(Settings(*exporter),
              "codec=" + encoder + "\nbit_rate=" + std::to_string(expected) + "\n");
  }
}

TEST_F(ExporterDialog, OkTakesTheChosenBitRateAndCancelChangesNothing) {
  auto exporter = Open("aac ");
  ASSERT_NE(exporter, nullptr);
  const std::string defaults = Settings(*exporter);
  bool canceled = false;
  Script("ExporterOptions: BitRatePopupID=256 kbps, CancelButtonID");
  ASSERT_EQ(exporter->DoUserDialog(canceled), media::kNoErr);
  EXPECT_TRUE(canceled);
  EXPECT_EQ(Settings(*exporter), defaults);
  Script("ExporterOptions: BitRatePopupID=256 kbps, OKButtonID");
  ASSERT_EQ(exporter->DoUserDialog(canceled), media::kNoErr);
  EXPECT_FALSE(canceled);
  EXPECT_EQ(Settings(*exporter), "codec=aac\nbit_rate=256000\n");
}

TEST_F(ExporterDialog, FormatsWithoutOptionsSaySoAndKeepTheirSettings) {
  for (const auto& [subType, name, codec] :
       std::vector<std::tuple<const char*, QString, std::string>>{
           {"alac", "ALAC", "alac"},
           {"lpcm", "Linear PCM", "lpcm"},
           {"ima4", "IMA 4:1 ADPCM", "adpcm_ima_qt"}}) {
    char code[5] = {};
    std::memcpy(code, subType, 4);
    auto exporter = Open(reinterpret_cast<const char(&)[5]>(*code));
    ASSERT_NE(exporter, nullptr) << subType;
    QString message;
    bool popupShown = true;
    OnceShowing(name + " Settings", [&](QDialog& dialog) {
      message = dialog.findChild<QLabel*>("MessageID")->text();
      popupShown = dialog.findChild<QComboBox*>("BitRatePopupID")->isVisible();
      if (codec == "alac") SaveScreenshot(dialog, "ExporterOptions-alac.png");
      QTest::mouseClick(dialog.findChild<QPushButton*>("OKButtonID"), Qt::LeftButton);
    });
    bool canceled = true;
    ASSERT_EQ(exporter->DoUserDialog(canceled), media::kNoErr);
    EXPECT_FALSE(canceled);
    EXPECT_EQ(message, name + " has no settings to choose.");
    EXPECT_FALSE(popupShown);
    EXPECT_EQ(Settings(*exporter), "codec=" + codec + "\n");
  }
}

TEST_F(ExporterDialog, TheSettingsDialogListsTheCatalogueAndOpensTheChosenExportersDialog) {
  std::vector<media::ComponentDescription> catalogue;
  kiva::qt::GetExportComponentDescriptions(catalogue);
  ASSERT_GE(catalogue.size(), 2u);
  QStringList items;
  QStringList rates;
  OnceShowing("QT Settings", [&](QDialog& dialog) {
    auto* popup = dialog.findChild<QComboBox*>("ExportFormatPopupID");
    for (int i = 0; i < popup->count(); ++i) items << popup->itemText(i);
    popup->setFocus();
    QTest::keyClick(popup, Qt::Key_Down);  // from "lpcm" to "aac"
    SaveScreenshot(dialog, "FormatOptions.png");
    OnceShowing("AAC Settings", [&](QDialog& options) {
      auto* rate = options.findChild<QComboBox*>("BitRatePopupID");
      for (int i = 0; i < rate->count(); ++i) rates << rate->itemText(i);
      rate->setFocus();
      QTest::keyClick(rate, Qt::Key_End);
      SaveScreenshot(options, "ExporterOptions-aac.png");
      QTest::mouseClick(options.findChild<QPushButton*>("OKButtonID"), Qt::LeftButton);
    });
    QTest::mouseClick(dialog.findChild<QPushButton*>("OptionButtonID"), Qt::LeftButton);
    QTest::mouseClick(dialog.findChild<QPushButton*>("OKButtonID"), Qt::LeftButton);
  });

  NiceMock<kiva::test::MockRunExportSettingsDialog> request;
  NiceMock<kiva::test::MockFormat> format;
  std::u16string written;
  ON_CALL(request, GetFormat()).WillByDefault(Return(&format));
  ON_CALL(format, GetPrivateSettings()).WillByDefault(Return(u""));
  EXPECT_CALL(format, SetPrivateSettings(_)).WillOnce(SaveArg<0>(&written));
  EXPECT_CALL(request, SetCanceled(false));
  kiva::KivaQTInterface plugIn;
  ASSERT_EQ(plugIn.EntryPoint(kiva::kSelRunExportSettingsDialog, nullptr, &request),
            kiva::kKivaSuccess);

  EXPECT_EQ(items.size(), static_cast<int>(catalogue.size()));
  EXPECT_EQ(items.mid(0, 2), (QStringList{"lpcm", "aac"}));
  EXPECT_EQ(rates.last(), "320 kbps");
  // "codec=aac\nbit_rate=320000\n" in base64.
  EXPECT_EQ(written, u"FormatIndex:0:1;AtomicSettings:1:Y29kZWM9YWFjCmJpdF9yYXRlPTMyMDAwMAo=;");
}

}  // namespace
