// The plug-in side of the host ABI: an interface object with one virtual operation per request,
// and EntryPoint, which turns (selector, handle, record) into a call of one operation.
// A plug-in derives from KivaInterfaceTemplate, overrides what it offers, and exports
//   extern "C" int KivaInterface(int selector, void* handle, void* record)
// which builds the derived object on the stack and returns EntryPoint's result.
#pragma once

#include <kiva/KivaErrorReporter.h>
#include <kiva/KivaFormatInterface.h>
#include <kiva/KivaRequestRecords.h>
#include <kiva/KivaStatus.h>
#include <kiva/KivaVersion.h>

#include <cstdint>

namespace kiva {

// Selector numbers as the host sends them. 15 is a hole in the numbering.
enum KivaSelector : int {
  kSelGetKivaInfo = 0,
  kSelInitialize = 1,
  kSelTerminate = 2,
  kSelPreOpenForRead = 3,
  kSelRunImportSettingsDialog = 4,
  kSelOpenForRead = 5,
  kSelGetFormat = 6,
  kSelReadSamples = 7,
  kSelReadSamplesRaw = 8,
  kSelReadVideoFrame = 9,
  kSelReadMetadata = 10,
  kSelCloseForRead = 11,
  kSelGetDefaultExportSettings = 12,
  kSelGetExportSettingsInfo = 13,
  kSelRunExportSettingsDialog = 14,
  kSelWriteStart = 16,
  kSelWriteSamples = 17,
  kSelFinishWrite = 18,
};

// ReadSource and WriteSource are the plug-in's source classes; both must be polymorphic so that
// CloseForRead can destroy a reading source through its virtual destructor.
template <class ReadSource, class WriteSource>
class KivaInterfaceTemplate {
 public:
  virtual ~KivaInterfaceTemplate() = default;  // slots 0, 1

  virtual int GetKivaInfo(KivaGetKivaInfoInterface&) { return kKivaSuccess; }   // slot 2
  virtual int Initialize() { return kKivaSuccess; }                             // slot 3
  virtual int Terminate() { return kKivaSuccess; }                              // slot 4
  virtual int PreOpenForRead(KivaPreOpenInterface&) { return kKivaSuccess; }    // slot 5
  virtual int RunImportSettingsDialog(KivaRunImportSettingsDialogInterface&) {  // slot 6
    return kKivaNotSupported;
  }
  virtual int OpenForRead(KivaOpenInterface&) { return kKivaNotSupported; }  // slot 7
  virtual int GetFormat(ReadSource&, KivaFormatInterface&) {                 // slot 8
    return kKivaNotSupported;
  }
  virtual int ReadSamples(ReadSource&, KivaReadSamplesInterface&) {  // slot 9
    return kKivaNotSupported;
  }
  virtual int ReadSamplesRaw(ReadSource&, std::int64_t /*start*/, std::int64_t /*length*/,
                             void* /*buffer*/) {  // slot 10
    return kKivaNotSupported;
  }
  virtual int ReadVideoFrame(ReadSource&, KivaReadVideoFrameInterface&) {  // slot 11
    return kKivaNotSupported;
  }
  virtual int ReadMetadata(ReadSource&, std::int64_t /*value1*/, std::int64_t /*value2*/,
                           std::int64_t /*value3*/, void* /*buffer*/) {  // slot 12
    return kKivaNotSupported;
  }
  // slot 13. The source handed out by OpenForRead ends here.
  virtual int CloseForRead(ReadSource* source) {
    delete source;
    return kKivaSuccess;
  }
  virtual int GetDefaultExportSettings(KivaFormatInterface&) {  // slot 14
    return kKivaNotSupported;
  }
  virtual int GetExportSettingsInfo(KivaGetExportSettingsInfoInterface&) {  // slot 15
    return kKivaNotSupported;
  }
  // slot 16. `parentWindow` is the host's window or null; `canceled` is set when the user
  // dismissed the dialog.
  virtual int RunExportSettingsDialog(KivaFormatInterface&, void* /*parentWindow*/,
                                      bool& /*canceled*/) {
    return kKivaNotSupported;
  }
  // slot 17. On success `source` holds the new writing session, which the host then owns.
  virtual int WriteStart(KivaWriteStartInterface&, WriteSource*& /*source*/) {
    return kKivaNotSupported;
  }
  virtual int WriteSamples(WriteSource&, KivaWriteSamplesInterface&) {  // slot 18
    return kKivaNotSupported;
  }
  // slot 19. Ends the session begun by WriteStart.
  virtual int FinishWrite(WriteSource&, bool /*finishFlag*/, const KivaFormatInterface&) {
    return kKivaNotSupported;
  }

  // Serves one host request. Catches nothing: an exception thrown by an operation reaches the
  // host, which owns the error exception type.
  int EntryPoint(int selector, void* handle, void* record) {
    // A reporter must never survive from one request into the next.
    errorReporter = nullptr;
    if (static_cast<unsigned>(selector) > static_cast<unsigned>(kSelFinishWrite)) {
      return kKivaUnknownSelector;
    }
    auto* readSource = static_cast<ReadSource*>(handle);
    auto* writeSource = static_cast<WriteSource*>(handle);
    switch (selector) {
      case kSelGetKivaInfo: {
        if (record == nullptr) return kKivaBadArgument;
        auto& info = *static_cast<KivaGetKivaInfoInterface*>(record);
        info.SetInterfaceVersion(kKivaInterfaceVersionMajor, kKivaInterfaceVersionMinor);
        return GetKivaInfo(info);
      }
      case kSelInitialize:
        return Initialize();
      case kSelTerminate:
        return Terminate();
      case kSelPreOpenForRead: {
        if (record == nullptr) return kKivaBadArgument;
        auto& preOpen = *static_cast<KivaPreOpenInterface*>(record);
        errorReporter = preOpen.GetErrorReporter();
        return PreOpenForRead(preOpen);
      }
      case kSelRunImportSettingsDialog: {
        if (record == nullptr) return kKivaBadArgument;
        auto& dialog = *static_cast<KivaRunImportSettingsDialogInterface*>(record);
        errorReporter = dialog.GetErrorReporter();
        dialog.SetSettingsChanged(0);
        return RunImportSettingsDialog(dialog);
      }
      case kSelOpenForRead: {
        if (record == nullptr) return kKivaBadArgument;
        auto& open = *static_cast<KivaOpenInterface*>(record);
        errorReporter = open.GetErrorReporter();
        return OpenForRead(open);
      }
      case kSelGetFormat: {
        if (handle == nullptr || record == nullptr) return kKivaBadArgument;
        auto& format = *static_cast<KivaFormatInterface*>(record);
        errorReporter = format.GetErrorReporter();
        return GetFormat(*readSource, format);
      }
      case kSelReadSamples: {
        if (handle == nullptr || record == nullptr) return kKivaBadArgument;
        return ReadSamples(*readSource, *static_cast<KivaReadSamplesInterface*>(record));
      }
      case kSelReadSamplesRaw: {
        if (handle == nullptr || record == nullptr) return kKivaBadArgument;
        auto& raw = *static_cast<KivaReadSamplesRawInterface*>(record);
        void* buffer = raw.GetBuffer();
        const std::int64_t length = raw.GetLength();
        const std::int64_t start = raw.GetStartPosition();
        return ReadSamplesRaw(*readSource, start, length, buffer);
      }
      case kSelReadVideoFrame: {
        if (handle == nullptr || record == nullptr) return kKivaBadArgument;
        return ReadVideoFrame(*readSource, *static_cast<KivaReadVideoFrameInterface*>(record));
      }
      case kSelReadMetadata: {
        if (handle == nullptr || record == nullptr) return kKivaBadArgument;
        auto& metadata = *static_cast<KivaReadMetadataInterface*>(record);
        void* buffer = metadata.GetBuffer();
        const std::int64_t value3 = metadata.GetValue3();
        const std::int64_t value2 = metadata.GetValue2();
        const std::int64_t value1 = metadata.GetValue1();
        return ReadMetadata(*readSource, value1, value2, value3, buffer);
      }
      case kSelCloseForRead:
        if (handle == nullptr) return kKivaBadArgument;
        return CloseForRead(readSource);
      case kSelGetDefaultExportSettings: {
        if (record == nullptr) return kKivaBadArgument;
        auto& format = *static_cast<KivaFormatInterface*>(record);
        errorReporter = format.GetErrorReporter();
        return GetDefaultExportSettings(format);
      }
      case kSelGetExportSettingsInfo: {
        if (record == nullptr) return kKivaBadArgument;
        auto& info = *static_cast<KivaGetExportSettingsInfoInterface*>(record);
        errorReporter = info.GetErrorReporter();
        return GetExportSettingsInfo(info);
      }
      case kSelRunExportSettingsDialog: {
        if (record == nullptr) return kKivaBadArgument;
        auto& dialog = *static_cast<KivaRunExportSettingsDialogInterface*>(record);
        errorReporter = dialog.GetErrorReporter();
        bool canceled = false;
        void* parentWindow = dialog.GetParentWindow();
        KivaFormatInterface* format = dialog.GetFormat();
        // A record without a format has nothing the dialog could edit.
        if (format == nullptr) return kKivaBadArgument;
        const int result = RunExportSettingsDialog(*format, parentWindow, canceled);
        if (result != kKivaSuccess) return result;
        dialog.SetCanceled(canceled);
        return kKivaSuccess;
      }
      case kSelWriteStart: {
        if (record == nullptr) return kKivaBadArgument;
        auto& start = *static_cast<KivaWriteStartInterface*>(record);
        errorReporter = start.GetErrorReporter();
        WriteSource* source = nullptr;
        const int result = WriteStart(start, source);
        if (result != kKivaSuccess) return result;
        start.SetWriteHandle(source);
        return kKivaSuccess;
      }
      case kSelWriteSamples: {
        if (handle == nullptr || record == nullptr) return kKivaBadArgument;
        auto& samples = *static_cast<KivaWriteSamplesInterface*>(record);
        errorReporter = samples.GetErrorReporter();
        return WriteSamples(*writeSource, samples);
      }
      case kSelFinishWrite: {
        // The one selector whose argument check answers a general failure.
        if (handle == nullptr || record == nullptr) return kKivaGeneralError;
        auto& finish = *static_cast<KivaFinishWriteInterface*>(record);
        errorReporter = finish.GetErrorReporter();
        const KivaFormatInterface* format = finish.GetFormat();
        const bool finishFlag = finish.GetFinishFlag();
        if (format == nullptr) return kKivaGeneralError;
        return FinishWrite(*writeSource, finishFlag, *format);
      }
      default:  // the hole at 15
        return kKivaUnknownSelector;
    }
  }

 protected:
  // The reporter of the request being served, or null. Valid only during EntryPoint.
  KivaErrorReporter* GetErrorReporter() const { return errorReporter; }

 private:
  KivaErrorReporter* errorReporter = nullptr;
};

}  // namespace kiva
