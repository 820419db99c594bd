// GoogleMock stand-ins for the host's request records.
#pragma once

#include <kiva/KivaRequestRecords.h>

#include <gmock/gmock.h>

namespace kiva::test {

class MockErrorReporter : public KivaErrorReporter {
 public:
  MOCK_METHOD(void, SetErrorText, (const char16_t* text), (override));
};

class MockVideoStream : public KivaVideoStreamInterface {
 public:
  MOCK_METHOD(void, SetStreamCount, (std::int32_t), (override));
  MOCK_METHOD(void, SetFrameCount, (std::int32_t, std::int32_t), (override));
  MOCK_METHOD(void, SetFrameKind, (std::int32_t, std::int32_t), (override));
  MOCK_METHOD(void, SetFrameRateRational, (std::int32_t, std::int64_t, std::int64_t), (override));
  MOCK_METHOD(void, SetFrameRate, (std::int32_t, double), (override));
  MOCK_METHOD(std::int32_t, GetWidth, (std::int32_t), (override));
  MOCK_METHOD(void, SetWidth, (std::int32_t, std::int32_t), (override));
  MOCK_METHOD(std::int32_t, GetHeight, (std::int32_t), (override));
  MOCK_METHOD(void, SetHeight, (std::int32_t, std::int32_t), (override));
  MOCK_METHOD(void, SetPixelAspectRatio, (std::int32_t, double), (override));
  MOCK_METHOD(void, SetFormatDescription, (std::int32_t, const std::u16string&), (override));
};

class MockFormat : public KivaFormatInterface {
 public:
  MOCK_METHOD(KivaErrorReporter*, GetErrorReporter, (), (override));
  MOCK_METHOD(std::int32_t, GetSampleRate, (), (override));
  MOCK_METHOD(void, SetSampleRate, (std::int32_t), (override));
  MOCK_METHOD(std::int32_t, GetSampleType, (), (override));
  MOCK_METHOD(void, SetSampleType, (std::int32_t), (override));
  MOCK_METHOD(std::int32_t, GetNumChannels, (), (override));
  MOCK_METHOD(void, SetNumChannels, (std::int32_t), (override));
  MOCK_METHOD(std::uint32_t, GetChannelLabel, (std::int32_t), (override));
  MOCK_METHOD(void, SetChannelLabel, (std::int32_t, std::uint32_t), (override));
  MOCK_METHOD(KivaVideoStreamInterface*, GetVideoStreamInfo, (), (override));
  MOCK_METHOD(void, SetFormatID, (const std::u16string&), (override));
  MOCK_METHOD(const char16_t*, GetPrivateSettings, (), (override));
  MOCK_METHOD(void, SetPrivateSettings, (const std::u16string&), (override));
  MOCK_METHOD(void, SetMimeType, (const char*), (override));
  MOCK_METHOD(void, SetFileType, (std::uint32_t), (override));
  MOCK_METHOD(void, SetFileCreator, (std::uint32_t), (override));
  MOCK_METHOD(std::uint32_t, GetMetadataCount, (), (override));
  MOCK_METHOD(bool, GetMetadataItem,
              (std::uint32_t, std::u16string&, std::int64_t&, std::u16string&), (override));
  MOCK_METHOD(void, SetSampleCount, (std::int64_t), (override));
  MOCK_METHOD(std::int64_t, GetSampleCount, (), (override));
};

class MockKivaInfo : public KivaGetKivaInfoInterface {
 public:
  MOCK_METHOD(void, SetInterfaceVersion, (int, int), (override));
  MOCK_METHOD(void, SetPlugInInfo, (const char*, const char16_t*), (override));
  MOCK_METHOD(void, AddImportFormat,
              (const char16_t*, const char16_t*, const std::vector<const char*>*, const char16_t*),
              (override));
  MOCK_METHOD(void, AddExportFormat,
              (const char16_t*, const char16_t*, const std::vector<const char*>*, const char16_t*),
              (override));
};

class MockPreOpen : public KivaPreOpenInterface {
 public:
  MOCK_METHOD(KivaErrorReporter*, GetErrorReporter, (), (override));
};

class MockRunImportSettingsDialog : public KivaRunImportSettingsDialogInterface {
 public:
  MOCK_METHOD(KivaErrorReporter*, GetErrorReporter, (), (override));
  MOCK_METHOD(void, SetSettingsChanged, (int), (override));
};

class MockOpen : public KivaOpenInterface {
 public:
  MOCK_METHOD(KivaErrorReporter*, GetErrorReporter, (), (override));
  MOCK_METHOD(const char16_t*, GetFilePath, (), (override));
  MOCK_METHOD(void, SetSource, (void*), (override));
  MOCK_METHOD(void, SetOpenOption, (int), (override));
  MOCK_METHOD(void, SetDescription, (const char16_t*), (override));
  MOCK_METHOD(void, SetBitRate, (std::int32_t), (override));
};

class MockReadSamples : public KivaReadSamplesInterface {
 public:
  MOCK_METHOD(std::int64_t, GetStartFrame, (), (override));
  MOCK_METHOD(std::int64_t, GetFrameCount, (), (override));
  MOCK_METHOD(float*, GetChannelBuffer, (std::int32_t), (override));
  MOCK_METHOD(void, SetFramesRead, (std::int64_t), (override));
};

class MockReadSamplesRaw : public KivaReadSamplesRawInterface {
 public:
  MOCK_METHOD(std::int64_t, GetStartPosition, (), (override));
  MOCK_METHOD(std::int64_t, GetLength, (), (override));
  MOCK_METHOD(void*, GetBuffer, (), (override));
};

class MockReadVideoFrame : public KivaReadVideoFrameInterface {
 public:
  MOCK_METHOD(std::int32_t, GetFrameIndex, (), (override));
  MOCK_METHOD(KivaVideoStreamInterface*, GetVideoStreamInfo, (), (override));
  MOCK_METHOD(std::uint32_t, GetRenderFlags, (), (override));
  MOCK_METHOD(char*, GetFrameBuffer, (), (override));
};

class MockReadMetadata : public KivaReadMetadataInterface {
 public:
  MOCK_METHOD(std::int64_t, GetValue1, (), (override));
  MOCK_METHOD(std::int64_t, GetValue2, (), (override));
  MOCK_METHOD(std::int64_t, GetValue3, (), (override));
  MOCK_METHOD(void*, GetBuffer, (), (override));
};

class MockGetExportSettingsInfo : public KivaGetExportSettingsInfoInterface {
 public:
  MOCK_METHOD(KivaErrorReporter*, GetErrorReporter, (), (override));
  MOCK_METHOD(KivaFormatInterface*, GetFormatInterface, (), (override));
  MOCK_METHOD(void, SetEstimatedFileSize, (std::int64_t), (override));
  MOCK_METHOD(void, SetFirstOption, (std::int32_t), (override));
  MOCK_METHOD(void, SetSecondOption, (std::int32_t), (override));
  MOCK_METHOD(void, SetDescription, (const std::u16string&), (override));
};

class MockRunExportSettingsDialog : public KivaRunExportSettingsDialogInterface {
 public:
  MOCK_METHOD(KivaErrorReporter*, GetErrorReporter, (), (override));
  MOCK_METHOD(KivaFormatInterface*, GetFormat, (), (override));
  MOCK_METHOD(void*, GetParentWindow, (), (override));
  MOCK_METHOD(void, SetCanceled, (bool), (override));
};

class MockWriteStart : public KivaWriteStartInterface {
 public:
  MOCK_METHOD(KivaErrorReporter*, GetErrorReporter, (), (override));
  MOCK_METHOD(const char16_t*, GetFilePath, (), (override));
  MOCK_METHOD(KivaFormatInterface*, GetFormat, (), (override));
  MOCK_METHOD(void, SetWriteHandle, (void*), (override));
};

class MockWriteSamples : public KivaWriteSamplesInterface {
 public:
  MOCK_METHOD(KivaErrorReporter*, GetErrorReporter, (), (override));
  MOCK_METHOD(std::int64_t, GetStartSample, (), (override));
  MOCK_METHOD(std::int64_t, GetSampleCount, (), (override));
  MOCK_METHOD(float*, GetChannelBuffer, (int), (override));
  MOCK_METHOD(KivaFormatInterface*, GetFormat, (), (override));
};

class MockFinishWrite : public KivaFinishWriteInterface {
 public:
  MOCK_METHOD(KivaErrorReporter*, GetErrorReporter, (), (override));
  MOCK_METHOD(bool, GetFinishFlag, (), (override));
  MOCK_METHOD(KivaFormatInterface*, GetFormat, (), (override));
};

}  // namespace kiva::test
