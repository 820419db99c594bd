// The host's request records: one abstract object per KivaInterface call, owned by the host.
// The plug-in never creates, copies, keeps or destroys a record; every pointer it receives from
// one is valid only until the call returns unless the operation's contract says otherwise.
// The slot order is the host's ABI: never reorder, insert or remove a virtual function here.
// Slots the plug-in never calls are padded with `Reserved<slot>` placeholders.
#pragma once

#include <kiva/KivaErrorReporter.h>
#include <kiva/KivaFormatInterface.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kiva {

// Selector 0: the plug-in describes itself.
class KivaGetKivaInfoInterface {
 public:
  virtual ~KivaGetKivaInfoInterface() = default;               // slots 0, 1
  virtual void SetInterfaceVersion(int major, int minor) = 0;  // slot 2
  virtual void Reserved3() {}                                  // slot 3
  // slot 4. Both strings zero-terminated; the host copies them.
  virtual void SetPlugInInfo(const char* identifier, const char16_t* displayName) = 0;
  // slot 5. `extensions` lists zero-terminated extensions without dots; all copied by the host.
  virtual void AddImportFormat(const char16_t* formatName, const char16_t* formatID,
                               const std::vector<const char*>* extensions,
                               const char16_t* filterText) = 0;
  // slot 6. Same contract as AddImportFormat.
  virtual void AddExportFormat(const char16_t* formatName, const char16_t* formatID,
                               const std::vector<const char*>* extensions,
                               const char16_t* filterText) = 0;
};

// Selector 3.
class KivaPreOpenInterface {
 public:
  virtual ~KivaPreOpenInterface() = default;          // slots 0, 1
  virtual KivaErrorReporter* GetErrorReporter() = 0;  // slot 2, may be null
};

// Selector 4.
class KivaRunImportSettingsDialogInterface {
 public:
  virtual ~KivaRunImportSettingsDialogInterface() = default;  // slots 0, 1
  virtual KivaErrorReporter* GetErrorReporter() = 0;          // slot 2, may be null
  virtual void Reserved3() {}                                 // slot 3
  virtual void Reserved4() {}                                 // slot 4
  virtual void Reserved5() {}                                 // slot 5
  virtual void Reserved6() {}                                 // slot 6
  virtual void SetSettingsChanged(int changed) = 0;           // slot 7, used as a flag
};

// Selector 5: open a file for reading.
class KivaOpenInterface {
 public:
  virtual ~KivaOpenInterface() = default;             // slots 0, 1
  virtual KivaErrorReporter* GetErrorReporter() = 0;  // slot 2, may be null
  virtual const char16_t* GetFilePath() = 0;          // slot 3, zero-terminated UTF-16
  virtual void Reserved4() {}                         // slot 4
  virtual void Reserved5() {}                         // slot 5
  // slot 6. Hands over the new reading source: the host owns it from here on and gives it back
  // as the handle of later calls until CloseForRead destroys it.
  virtual void SetSource(void* source) = 0;
  virtual void Reserved7() {}                               // slot 7
  virtual void SetOpenOption(int option) = 0;               // slot 8, always 0
  virtual void Reserved9() {}                               // slot 9
  virtual void SetDescription(const char16_t* text) = 0;    // slot 10, copied by the host
  virtual void Reserved11() {}                              // slot 11
  virtual void SetBitRate(std::int32_t bitsPerSecond) = 0;  // slot 12
};

// Selector 7: deliver audio, one float buffer per channel.
class KivaReadSamplesInterface {
 public:
  virtual ~KivaReadSamplesInterface() = default;  // slots 0, 1
  virtual std::int64_t GetStartFrame() = 0;       // slot 2
  virtual std::int64_t GetFrameCount() = 0;       // slot 3
  // slot 4. Destination for one channel (GetFrameCount floats), or null when not wanted.
  virtual float* GetChannelBuffer(std::int32_t channel) = 0;
  virtual void Reserved5() {}                           // slot 5
  virtual void SetFramesRead(std::int64_t frames) = 0;  // slot 6
};

// Selector 8.
class KivaReadSamplesRawInterface {
 public:
  virtual ~KivaReadSamplesRawInterface() = default;  // slots 0, 1
  virtual std::int64_t GetStartPosition() = 0;       // slot 2
  virtual std::int64_t GetLength() = 0;              // slot 3
  virtual void* GetBuffer() = 0;                     // slot 4
};

// Selector 9: render one video frame.
class KivaReadVideoFrameInterface {
 public:
  virtual ~KivaReadVideoFrameInterface() = default;  // slots 0, 1
  virtual std::int32_t GetFrameIndex() = 0;          // slot 2, from 0
  virtual void Reserved3() {}                        // slot 3
  // slot 4. Describes the wanted picture (GetWidth/GetHeight of stream 0).
  virtual KivaVideoStreamInterface* GetVideoStreamInfo() = 0;
  virtual std::uint32_t GetRenderFlags() = 0;  // slot 5, bit value 2 = high quality
  // slot 6. Destination of height x width x 4 bytes, rows packed.
  virtual char* GetFrameBuffer() = 0;
};

// Selector 10.
class KivaReadMetadataInterface {
 public:
  virtual ~KivaReadMetadataInterface() = default;  // slots 0, 1
  virtual std::int64_t GetValue1() = 0;            // slot 2
  virtual std::int64_t GetValue2() = 0;            // slot 3
  virtual std::int64_t GetValue3() = 0;            // slot 4
  virtual void* GetBuffer() = 0;                   // slot 5
};

// Selector 13: describe an export without running it.
class KivaGetExportSettingsInfoInterface {
 public:
  virtual ~KivaGetExportSettingsInfoInterface() = default;      // slots 0, 1
  virtual KivaErrorReporter* GetErrorReporter() = 0;            // slot 2, may be null
  virtual KivaFormatInterface* GetFormatInterface() = 0;        // slot 3, host-owned
  virtual void Reserved4() {}                                   // slot 4
  virtual void SetEstimatedFileSize(std::int64_t bytes) = 0;    // slot 5
  virtual void Reserved6() {}                                   // slot 6
  virtual void SetFirstOption(std::int32_t value) = 0;          // slot 7
  virtual void Reserved8() {}                                   // slot 8
  virtual void SetSecondOption(std::int32_t value) = 0;         // slot 9
  virtual void Reserved10() {}                                  // slot 10
  virtual void SetDescription(const std::u16string& text) = 0;  // slot 11, copied by the host
};

// Selector 14: the export settings dialog.
class KivaRunExportSettingsDialogInterface {
 public:
  virtual ~KivaRunExportSettingsDialogInterface() = default;  // slots 0, 1
  virtual KivaErrorReporter* GetErrorReporter() = 0;          // slot 2, may be null
  // slot 3. The export format whose private settings the dialog edits.
  virtual KivaFormatInterface* GetFormat() = 0;
  // slot 4. The host window to parent the dialog to (a QWidget*), or null.
  virtual void* GetParentWindow() = 0;
  virtual void SetCanceled(bool canceled) = 0;  // slot 5
};

// Selector 16: start an export.
class KivaWriteStartInterface {
 public:
  virtual ~KivaWriteStartInterface() = default;       // slots 0, 1
  virtual KivaErrorReporter* GetErrorReporter() = 0;  // slot 2, may be null
  virtual const char16_t* GetFilePath() = 0;          // slot 3, zero-terminated UTF-16
  virtual void Reserved4() {}                         // slot 4
  virtual KivaFormatInterface* GetFormat() = 0;       // slot 5, what will be written
  virtual void Reserved6() {}                         // slot 6
  virtual void Reserved7() {}                         // slot 7
  virtual void Reserved8() {}                         // slot 8
  virtual void Reserved9() {}                         // slot 9
  // slot 10. Hands over the new writing source; it comes back as the handle of selectors 17
  // and 18, and FinishWrite destroys it.
  virtual void SetWriteHandle(void* source) = 0;
};

// Selector 17: one block of samples for the export.
class KivaWriteSamplesInterface {
 public:
  virtual ~KivaWriteSamplesInterface() = default;     // slots 0, 1
  virtual KivaErrorReporter* GetErrorReporter() = 0;  // slot 2, may be null
  virtual std::int64_t GetStartSample() = 0;          // slot 3
  virtual std::int64_t GetSampleCount() = 0;          // slot 4
  // slot 5. One channel's samples in the session's sample format (read as bytes of that width).
  virtual float* GetChannelBuffer(int channel) = 0;
  virtual KivaFormatInterface* GetFormat() = 0;  // slot 6
};

// Selector 18: end an export.
class KivaFinishWriteInterface {
 public:
  virtual ~KivaFinishWriteInterface() = default;      // slots 0, 1
  virtual KivaErrorReporter* GetErrorReporter() = 0;  // slot 2, may be null
  virtual bool GetFinishFlag() = 0;                   // slot 3
  virtual KivaFormatInterface* GetFormat() = 0;       // slot 4
};

}  // namespace kiva
