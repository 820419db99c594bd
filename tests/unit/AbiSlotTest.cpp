// The host calls the plug-in, and the plug-in calls the host's records, through vtable slots.
// These tests pin the slot of every operation either side calls, so that no edit of the headers
// can move one silently.

#include "KivaQTInterface.h"

#include <kiva/KivaInterfaceTemplate.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace {

// Itanium C++ ABI: a pointer to a virtual member function holds 1 + the function's byte offset
// from the vtable's address point, where slot 0 (the complete-object destructor) sits.
template <class MemberFunction>
std::ptrdiff_t SlotOf(MemberFunction function) {
  static_assert(sizeof(MemberFunction) == 2 * sizeof(std::ptrdiff_t));
  std::ptrdiff_t raw[2];
  std::memcpy(raw, &function, sizeof raw);
  EXPECT_EQ(raw[0] % static_cast<std::ptrdiff_t>(sizeof(void*)), 1) << "not a virtual function";
  return (raw[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

using namespace kiva;
using Template = KivaInterfaceTemplate<qt::Source, qt::Source>;

TEST(AbiSlots, InterfaceOperations) {
  EXPECT_EQ(SlotOf(&Template::GetKivaInfo), 2);
  EXPECT_EQ(SlotOf(&Template::Initialize), 3);
  EXPECT_EQ(SlotOf(&Template::Terminate), 4);
  EXPECT_EQ(SlotOf(&Template::PreOpenForRead), 5);
  EXPECT_EQ(SlotOf(&Template::RunImportSettingsDialog), 6);
  EXPECT_EQ(SlotOf(&Template::OpenForRead), 7);
  EXPECT_EQ(SlotOf(&Template::GetFormat), 8);
  EXPECT_EQ(SlotOf(&Template::ReadSamples), 9);
  EXPECT_EQ(SlotOf(&Template::ReadSamplesRaw), 10);
  EXPECT_EQ(SlotOf(&Template::ReadVideoFrame), 11);
  EXPECT_EQ(SlotOf(&Template::ReadMetadata), 12);
  EXPECT_EQ(SlotOf(&Template::CloseForRead), 13);
  EXPECT_EQ(SlotOf(&Template::GetDefaultExportSettings), 14);
  EXPECT_EQ(SlotOf(&Template::GetExportSettingsInfo), 15);
  EXPECT_EQ(SlotOf(&Template::RunExportSettingsDialog), 16);
  EXPECT_EQ(SlotOf(&Template::WriteStart), 17);
  EXPECT_EQ(SlotOf(&Template::WriteSamples), 18);
  EXPECT_EQ(SlotOf(&Template::FinishWrite), 19);
  // The plug-in's overrides stay in the template's slots.
  EXPECT_EQ(SlotOf(&KivaQTInterface::GetKivaInfo), 2);
  EXPECT_EQ(SlotOf(&KivaQTInterface::Terminate), 4);
}

TEST(AbiSlots, ErrorReporter) { EXPECT_EQ(SlotOf(&KivaErrorReporter::SetErrorText), 2); }

TEST(AbiSlots, GetKivaInfoRecord) {
  EXPECT_EQ(SlotOf(&KivaGetKivaInfoInterface::SetInterfaceVersion), 2);
  EXPECT_EQ(SlotOf(&KivaGetKivaInfoInterface::SetPlugInInfo), 4);
  EXPECT_EQ(SlotOf(&KivaGetKivaInfoInterface::AddImportFormat), 5);
  EXPECT_EQ(SlotOf(&KivaGetKivaInfoInterface::AddExportFormat), 6);
}

TEST(AbiSlots, PreOpenAndImportDialogRecords) {
  EXPECT_EQ(SlotOf(&KivaPreOpenInterface::GetErrorReporter), 2);
  EXPECT_EQ(SlotOf(&KivaRunImportSettingsDialogInterface::GetErrorReporter), 2);
  EXPECT_EQ(SlotOf(&KivaRunImportSettingsDialogInterface::SetSettingsChanged), 7);
}

TEST(AbiSlots, OpenRecord) {
  EXPECT_EQ(SlotOf(&KivaOpenInterface::GetErrorReporter), 2);
  EXPECT_EQ(SlotOf(&KivaOpenInterface::GetFilePath), 3);
  EXPECT_EQ(SlotOf(&KivaOpenInterface::SetSource), 6);
  EXPECT_EQ(SlotOf(&KivaOpenInterface::SetOpenOption), 8);
  EXPECT_EQ(SlotOf(&KivaOpenInterface::SetDescription), 10);
  EXPECT_EQ(SlotOf(&KivaOpenInterface::SetBitRate), 12);
}

TEST(AbiSlots, FormatRecord) {
  EXPECT_EQ(SlotOf(&KivaFormatInterface::GetErrorReporter), 2);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::GetSampleRate), 3);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::SetSampleRate), 4);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::GetSampleType), 5);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::SetSampleType), 6);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::GetNumChannels), 7);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::SetNumChannels), 8);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::GetChannelLabel), 9);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::SetChannelLabel), 10);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::GetVideoStreamInfo), 11);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::SetFormatID), 13);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::GetPrivateSettings), 14);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::SetPrivateSettings), 15);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::SetMimeType), 16);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::SetFileType), 18);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::SetFileCreator), 20);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::GetMetadataCount), 23);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::GetMetadataItem), 24);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::SetSampleCount), 26);
  EXPECT_EQ(SlotOf(&KivaFormatInterface::GetSampleCount), 27);
}

TEST(AbiSlots, VideoStreamRecord) {
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::SetStreamCount), 3);
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::SetFrameCount), 5);
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::SetFrameKind), 7);
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::SetFrameRateRational), 9);
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::SetFrameRate), 11);
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::GetWidth), 12);
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::SetWidth), 13);
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::GetHeight), 14);
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::SetHeight), 15);
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::SetPixelAspectRatio), 17);
  EXPECT_EQ(SlotOf(&KivaVideoStreamInterface::SetFormatDescription), 19);
}

TEST(AbiSlots, ReadRecords) {
  EXPECT_EQ(SlotOf(&KivaReadSamplesInterface::GetStartFrame), 2);
  EXPECT_EQ(SlotOf(&KivaReadSamplesInterface::GetFrameCount), 3);
  EXPECT_EQ(SlotOf(&KivaReadSamplesInterface::GetChannelBuffer), 4);
  EXPECT_EQ(SlotOf(&KivaReadSamplesInterface::SetFramesRead), 6);
  EXPECT_EQ(SlotOf(&KivaReadSamplesRawInterface::GetStartPosition), 2);
  EXPECT_EQ(SlotOf(&KivaReadSamplesRawInterface::GetLength), 3);
  EXPECT_EQ(SlotOf(&KivaReadSamplesRawInterface::GetBuffer), 4);
  EXPECT_EQ(SlotOf(&KivaReadVideoFrameInterface::GetFrameIndex), 2);
  EXPECT_EQ(SlotOf(&KivaReadVideoFrameInterface::GetVideoStreamInfo), 4);
  EXPECT_EQ(SlotOf(&KivaReadVideoFrameInterface::GetRenderFlags), 5);
  EXPECT_EQ(SlotOf(&KivaReadVideoFrameInterface::GetFrameBuffer), 6);
  EXPECT_EQ(SlotOf(&KivaReadMetadataInterface::GetValue1), 2);
  EXPECT_EQ(SlotOf(&KivaReadMetadataInterface::GetValue2), 3);
  EXPECT_EQ(SlotOf(&KivaReadMetadataInterface::GetValue3), 4);
  EXPECT_EQ(SlotOf(&KivaReadMetadataInterface::GetBuffer), 5);
}

TEST(AbiSlots, ExportRecords) {
  EXPECT_EQ(SlotOf(&KivaGetExportSettingsInfoInterface::GetErrorReporter), 2);
  EXPECT_EQ(SlotOf(&KivaGetExportSettingsInfoInterface::GetFormatInterface), 3);
  EXPECT_EQ(SlotOf(&KivaGetExportSettingsInfoInterface::SetEstimatedFileSize), 5);
  EXPECT_EQ(SlotOf(&KivaGetExportSettingsInfoInterface::SetFirstOption), 7);
  EXPECT_EQ(SlotOf(&KivaGetExportSettingsInfoInterface::SetSecondOption), 9);
  EXPECT_EQ(SlotOf(&KivaGetExportSettingsInfoInterface::SetDescription), 11);
  EXPECT_EQ(SlotOf(&KivaRunExportSettingsDialogInterface::GetErrorReporter), 2);
  EXPECT_EQ(SlotOf(&KivaRunExportSettingsDialogInterface::GetFormat), 3);
  EXPECT_EQ(SlotOf(&KivaRunExportSettingsDialogInterface::GetParentWindow), 4);
  EXPECT_EQ(SlotOf(&KivaRunExportSettingsDialogInterface::SetCanceled), 5);
  EXPECT_EQ(SlotOf(&KivaWriteStartInterface::GetErrorReporter), 2);
  EXPECT_EQ(SlotOf(&KivaWriteStartInterface::GetFilePath), 3);
  EXPECT_EQ(SlotOf(&KivaWriteStartInterface::GetFormat), 5);
  EXPECT_EQ(SlotOf(&KivaWriteStartInterface::SetWriteHandle), 10);
  EXPECT_EQ(SlotOf(&KivaWriteSamplesInterface::GetErrorReporter), 2);
  EXPECT_EQ(SlotOf(&KivaWriteSamplesInterface::GetStartSample), 3);
  EXPECT_EQ(SlotOf(&KivaWriteSamplesInterface::GetSampleCount), 4);
  EXPECT_EQ(SlotOf(&KivaWriteSamplesInterface::GetChannelBuffer), 5);
  EXPECT_EQ(SlotOf(&KivaWriteSamplesInterface::GetFormat), 6);
  EXPECT_EQ(SlotOf(&KivaFinishWriteInterface::GetErrorReporter), 2);
  EXPECT_EQ(SlotOf(&KivaFinishWriteInterface::GetFinishFlag), 3);
  EXPECT_EQ(SlotOf(&KivaFinishWriteInterface::GetFormat), 4);
}

// The source is destroyed through its vtable by the host and by CloseForRead.
TEST(AbiSlots, SourceIsPolymorphic) { EXPECT_TRUE(std::has_virtual_destructor_v<qt::Source>); }

}  // namespace
