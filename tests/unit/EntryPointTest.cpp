// Selector dispatch: which operation each selector reaches, what the entry does on the record
// before and after, and what it answers for bad selectors and null pointers.

#include "KivaQTInterface.h"
#include "RecordMocks.h"

#include <kiva/KivaInterfaceTemplate.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kiva;
using kiva::test::MockErrorReporter;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

// A source that tells when it is destroyed.
class ProbeSource {
 public:
  explicit ProbeSource(bool* destroyed = nullptr) : destroyed(destroyed) {}
  virtual ~ProbeSource() {
    if (destroyed != nullptr) *destroyed = true;
  }

 private:
  bool* destroyed;
};

// Overrides what the tests need to observe and answers scripted results.
class ProbeInterface : public KivaInterfaceTemplate<ProbeSource, ProbeSource> {
 public:
  int GetKivaInfo(KivaGetKivaInfoInterface& info) override {
    info.SetPlugInInfo("probe", u"Probe");
    return 0;
  }
  int OpenForRead(KivaOpenInterface&) override {
    reporterSeen = GetErrorReporter();
    return 0;
  }
  int ReadSamples(ProbeSource& source, KivaReadSamplesInterface&) override {
    reporterSeen = GetErrorReporter();
    sourceSeen = &source;
    return 0;
  }
  int ReadSamplesRaw(ProbeSource&, std::int64_t start, std::int64_t length, void* buffer) override {
    rawArguments = {start, length};
    bufferSeen = buffer;
    return 7;
  }
  int ReadMetadata(ProbeSource&, std::int64_t value1, std::int64_t value2, std::int64_t value3,
                   void* buffer) override {
    metadataArguments = {value1, value2, value3};
    bufferSeen = buffer;
    return 0;
  }
  int RunExportSettingsDialog(KivaFormatInterface& format, void* parentWindow,
                              bool& canceled) override {
    formatSeen = &format;
    parentSeen = parentWindow;
    canceled = userCancels;
    return dialogResult;
  }
  int WriteStart(KivaWriteStartInterface&, ProbeSource*& source) override {
    if (writeStartResult == 0) source = newSource;
    return writeStartResult;
  }
  int FinishWrite(ProbeSource& source, bool flag, const KivaFormatInterface& format) override {
    sourceSeen = &source;
    flagSeen = flag;
    formatSeen = &format;
    return 0;
  }

  // Script.
  bool userCancels = false;
  int dialogResult = 0;
  int writeStartResult = 0;
  ProbeSource* newSource = nullptr;
  // Record.
  KivaErrorReporter* reporterSeen = nullptr;
  ProbeSource* sourceSeen = nullptr;
  const KivaFormatInterface* formatSeen = nullptr;
  void* parentSeen = nullptr;
  void* bufferSeen = nullptr;
  bool flagSeen = false;
  std::vector<std::int64_t> rawArguments;
  std::vector<std::int64_t> metadataArguments;
};

TEST(EntryPoint, UnknownSelectorsTouchNothing) {
  for (const int selector : {19, 100, -1, 15, -2147483647 - 1}) {
    KivaQTInterface kivaInterface;
    bool destroyed = false;
    auto* source = new ProbeSource(&destroyed);
    StrictMock<kiva::test::MockFinishWrite> record;  // any call on it fails the test
    EXPECT_EQ(kivaInterface.EntryPoint(selector, source, &record), kKivaUnknownSelector)
        << "selector " << selector;
    EXPECT_FALSE(destroyed);
    delete source;
  }
}

TEST(EntryPoint, GetKivaInfoNeedsARecord) {
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelGetKivaInfo, nullptr, nullptr), kKivaBadArgument);
}

TEST(EntryPoint, GetKivaInfoSetsTheInterfaceVersionFirst) {
  ProbeInterface probe;
  StrictMock<kiva::test::MockKivaInfo> info;
  {
    InSequence order;
    EXPECT_CALL(info, SetInterfaceVersion(1, 0));
    EXPECT_CALL(info, SetPlugInInfo(::testing::StrEq("probe"), ::testing::_));
  }
  EXPECT_EQ(probe.EntryPoint(kSelGetKivaInfo, nullptr, &info), kKivaSuccess);
}

TEST(EntryPoint, ImportDialogClearsTheChangedFlagAndIsNotSupported) {
  KivaQTInterface kivaInterface;
  StrictMock<kiva::test::MockRunImportSettingsDialog> dialog;
  {
    InSequence order;
    EXPECT_CALL(dialog, GetErrorReporter()).WillOnce(Return(nullptr));
    EXPECT_CALL(dialog, SetSettingsChanged(0));
  }
  EXPECT_EQ(kivaInterface.EntryPoint(kSelRunImportSettingsDialog, nullptr, &dialog),
            kKivaNotSupported);
}

TEST(EntryPoint, ReadSamplesRawReadsTheGettersBackwardsAndIsNotSupported) {
  KivaQTInterface kivaInterface;
  qt::Source source;
  StrictMock<kiva::test::MockReadSamplesRaw> raw;
  {
    InSequence order;
    EXPECT_CALL(raw, GetBuffer()).WillOnce(Return(nullptr));
    EXPECT_CALL(raw, GetLength()).WillOnce(Return(10));
    EXPECT_CALL(raw, GetStartPosition()).WillOnce(Return(5));
  }
  EXPECT_EQ(kivaInterface.EntryPoint(kSelReadSamplesRaw, &source, &raw), kKivaNotSupported);
}

TEST(EntryPoint, ReadSamplesRawPassesTheValuesItRead) {
  ProbeInterface probe;
  ProbeSource source;
  char buffer[4];
  StrictMock<kiva::test::MockReadSamplesRaw> raw;
  EXPECT_CALL(raw, GetBuffer()).WillOnce(Return(buffer));
  EXPECT_CALL(raw, GetLength()).WillOnce(Return(10));
  EXPECT_CALL(raw, GetStartPosition()).WillOnce(Return(5));
  EXPECT_EQ(probe.EntryPoint(kSelReadSamplesRaw, &source, &raw), 7);
  EXPECT_EQ(probe.rawArguments, (std::vector<std::int64_t>{5, 10}));
  EXPECT_EQ(probe.bufferSeen, buffer);
}

TEST(EntryPoint, ReadMetadataReadsTheGettersBackwardsAndIsNotSupported) {
  KivaQTInterface kivaInterface;
  qt::Source source;
  StrictMock<kiva::test::MockReadMetadata> metadata;
  {
    InSequence order;
    EXPECT_CALL(metadata, GetBuffer()).WillOnce(Return(nullptr));
    EXPECT_CALL(metadata, GetValue3()).WillOnce(Return(3));
    EXPECT_CALL(metadata, GetValue2()).WillOnce(Return(2));
    EXPECT_CALL(metadata, GetValue1()).WillOnce(Return(1));
  }
  EXPECT_EQ(kivaInterface.EntryPoint(kSelReadMetadata, &source, &metadata), kKivaNotSupported);
}

TEST(EntryPoint, ReadMetadataPassesTheValuesInOrder) {
  ProbeInterface probe;
  ProbeSource source;
  StrictMock<kiva::test::MockReadMetadata> metadata;
  EXPECT_CALL(metadata, GetBuffer()).WillOnce(Return(nullptr));
  EXPECT_CALL(metadata, GetValue3()).WillOnce(Return(30));
  EXPECT_CALL(metadata, GetValue2()).WillOnce(Return(20));
  EXPECT_CALL(metadata, GetValue1()).WillOnce(Return(10));
  EXPECT_EQ(probe.EntryPoint(kSelReadMetadata, &source, &metadata), 0);
  EXPECT_EQ(probe.metadataArguments, (std::vector<std::int64_t>{10, 20, 30}));
}

TEST(EntryPoint, PreOpenForReadSucceeds) {
  KivaQTInterface kivaInterface;
  StrictMock<kiva::test::MockPreOpen> preOpen;
  EXPECT_CALL(preOpen, GetErrorReporter()).WillOnce(Return(nullptr));
  EXPECT_EQ(kivaInterface.EntryPoint(kSelPreOpenForRead, nullptr, &preOpen), kKivaSuccess);
}

TEST(EntryPoint, CloseForReadNeedsAHandle) {
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelCloseForRead, nullptr, nullptr), kKivaBadArgument);
}

TEST(EntryPoint, CloseForReadDestroysTheSource) {
  ProbeInterface probe;
  bool destroyed = false;
  EXPECT_EQ(probe.EntryPoint(kSelCloseForRead, new ProbeSource(&destroyed), nullptr), kKivaSuccess);
  EXPECT_TRUE(destroyed);
}

TEST(EntryPoint, CloseForReadOfThePlugInsSourceSucceeds) {
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelCloseForRead, new qt::Source(), nullptr), kKivaSuccess);
}

TEST(EntryPoint, FinishWriteWithANullArgumentIsAGeneralError) {
  KivaQTInterface kivaInterface;
  qt::Source source;
  StrictMock<kiva::test::MockFinishWrite> finish;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelFinishWrite, nullptr, &finish), kKivaGeneralError);
  EXPECT_EQ(kivaInterface.EntryPoint(kSelFinishWrite, &source, nullptr), kKivaGeneralError);
}

TEST(EntryPoint, WriteSamplesWithANullHandleIsABadArgument) {
  KivaQTInterface kivaInterface;
  StrictMock<kiva::test::MockWriteSamples> samples;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelWriteSamples, nullptr, &samples), kKivaBadArgument);
}

TEST(EntryPoint, EverySelectorWithAHandleRefusesANullHandle) {
  KivaQTInterface kivaInterface;
  StrictMock<kiva::test::MockReadSamples> record;
  for (const int selector : {kSelGetFormat, kSelReadSamples, kSelReadSamplesRaw, kSelReadVideoFrame,
                             kSelReadMetadata, kSelWriteSamples}) {
    EXPECT_EQ(kivaInterface.EntryPoint(selector, nullptr, &record), kKivaBadArgument)
        << "selector " << selector;
  }
}

TEST(EntryPoint, EverySelectorWithARecordRefusesANullRecord) {
  KivaQTInterface kivaInterface;
  qt::Source source;
  for (const int selector :
       {kSelPreOpenForRead, kSelRunImportSettingsDialog, kSelOpenForRead, kSelGetFormat,
        kSelReadSamples, kSelReadSamplesRaw, kSelReadVideoFrame, kSelReadMetadata,
        kSelGetDefaultExportSettings, kSelGetExportSettingsInfo, kSelRunExportSettingsDialog,
        kSelWriteStart, kSelWriteSamples}) {
    EXPECT_EQ(kivaInterface.EntryPoint(selector, &source, nullptr), kKivaBadArgument)
        << "selector " << selector;
  }
}

TEST(EntryPoint, FinishWriteReadsFormatThenFlagAndPassesThem) {
  ProbeInterface probe;
  ProbeSource source;
  StrictMock<kiva::test::MockFinishWrite> finish;
  StrictMock<kiva::test::MockFormat> format;
  MockErrorReporter reporter;
  {
    InSequence order;
    EXPECT_CALL(finish, GetErrorReporter()).WillOnce(Return(&reporter));
    EXPECT_CALL(finish, GetFormat()).WillOnce(Return(&format));
    EXPECT_CALL(finish, GetFinishFlag()).WillOnce(Return(true));
  }
  EXPECT_EQ(probe.EntryPoint(kSelFinishWrite, &source, &finish), kKivaSuccess);
  EXPECT_EQ(probe.sourceSeen, &source);
  EXPECT_TRUE(probe.flagSeen);
  EXPECT_EQ(probe.formatSeen, &format);
}

TEST(EntryPoint, FinishWriteWithoutAFormatIsAGeneralError) {
  ProbeInterface probe;
  ProbeSource source;
  StrictMock<kiva::test::MockFinishWrite> finish;
  EXPECT_CALL(finish, GetErrorReporter()).WillOnce(Return(nullptr));
  EXPECT_CALL(finish, GetFormat()).WillOnce(Return(nullptr));
  EXPECT_CALL(finish, GetFinishFlag()).WillOnce(Return(false));
  EXPECT_EQ(probe.EntryPoint(kSelFinishWrite, &source, &finish), kKivaGeneralError);
  EXPECT_EQ(probe.sourceSeen, nullptr);
}

TEST(EntryPoint, FailedWriteStartReturnsItsCodeWithoutAWriteHandle) {
  ProbeInterface probe;
  probe.writeStartResult = -1;
  StrictMock<kiva::test::MockWriteStart> start;
  EXPECT_CALL(start, GetErrorReporter()).WillOnce(Return(nullptr));
  // SetWriteHandle is not expected: a StrictMock fails on it.
  EXPECT_EQ(probe.EntryPoint(kSelWriteStart, nullptr, &start), -1);
}

TEST(EntryPoint, SuccessfulWriteStartHandsTheNewSourceToTheHost) {
  ProbeInterface probe;
  ProbeSource newSource;
  probe.newSource = &newSource;
  StrictMock<kiva::test::MockWriteStart> start;
  {
    InSequence order;
    EXPECT_CALL(start, GetErrorReporter()).WillOnce(Return(nullptr));
    EXPECT_CALL(start, SetWriteHandle(static_cast<void*>(&newSource)));
  }
  EXPECT_EQ(probe.EntryPoint(kSelWriteStart, nullptr, &start), kKivaSuccess);
}

void RunExportDialog(bool userCancels) {
  ProbeInterface probe;
  probe.userCancels = userCancels;
  StrictMock<kiva::test::MockRunExportSettingsDialog> dialog;
  StrictMock<kiva::test::MockFormat> format;
  int window = 0;
  {
    InSequence order;
    EXPECT_CALL(dialog, GetErrorReporter()).WillOnce(Return(nullptr));
    EXPECT_CALL(dialog, GetParentWindow()).WillOnce(Return(&window));
    EXPECT_CALL(dialog, GetFormat()).WillOnce(Return(&format));
    EXPECT_CALL(dialog, SetCanceled(userCancels));
  }
  EXPECT_EQ(probe.EntryPoint(kSelRunExportSettingsDialog, nullptr, &dialog), kKivaSuccess);
  EXPECT_EQ(probe.formatSeen, &format);
  EXPECT_EQ(probe.parentSeen, &window);
}

TEST(EntryPoint, ExportDialogCanceledReportsCanceled) { RunExportDialog(true); }

TEST(EntryPoint, ExportDialogConfirmedReportsNotCanceled) { RunExportDialog(false); }

TEST(EntryPoint, FailingExportDialogReturnsItsCodeWithoutSetCanceled) {
  ProbeInterface probe;
  probe.dialogResult = -1;
  StrictMock<kiva::test::MockRunExportSettingsDialog> dialog;
  StrictMock<kiva::test::MockFormat> format;
  EXPECT_CALL(dialog, GetErrorReporter()).WillOnce(Return(nullptr));
  EXPECT_CALL(dialog, GetParentWindow()).WillOnce(Return(nullptr));
  EXPECT_CALL(dialog, GetFormat()).WillOnce(Return(&format));
  EXPECT_EQ(probe.EntryPoint(kSelRunExportSettingsDialog, nullptr, &dialog), -1);
}

TEST(EntryPoint, TheReporterOfOneRequestNeverReachesTheNext) {
  ProbeInterface probe;
  MockErrorReporter reporter;
  StrictMock<kiva::test::MockOpen> open;
  EXPECT_CALL(open, GetErrorReporter()).WillOnce(Return(&reporter));
  ASSERT_EQ(probe.EntryPoint(kSelOpenForRead, nullptr, &open), 0);
  ASSERT_EQ(probe.reporterSeen, &reporter);

  ProbeSource source;
  StrictMock<kiva::test::MockReadSamples> read;  // ReadSamples fetches no reporter
  ASSERT_EQ(probe.EntryPoint(kSelReadSamples, &source, &read), 0);
  EXPECT_EQ(probe.reporterSeen, nullptr);
  EXPECT_EQ(probe.sourceSeen, &source);
}

TEST(EntryPoint, InitializeAndTerminateNeedNoPointers) {
  KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.EntryPoint(kSelInitialize, nullptr, nullptr), kKivaSuccess);
  EXPECT_EQ(kivaInterface.EntryPoint(kSelTerminate, nullptr, nullptr), kKivaSuccess);
}

}  // namespace
