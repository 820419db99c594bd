// The plug-in's interface object: one is made on the stack for every host request.
#pragma once

#include "QTSource.h"

#include <kiva/KivaInterfaceTemplate.h>

namespace kiva {

class KivaQTInterface : public KivaInterfaceTemplate<qt::Source, qt::Source> {
 public:
  int GetKivaInfo(KivaGetKivaInfoInterface& info) override;
  int Initialize() override;
  int Terminate() override;
  int OpenForRead(KivaOpenInterface& open) override;
  int GetFormat(qt::Source& source, KivaFormatInterface& format) override;
  int ReadSamples(qt::Source& source, KivaReadSamplesInterface& read) override;
  int ReadVideoFrame(qt::Source& source, KivaReadVideoFrameInterface& request) override;
  int GetDefaultExportSettings(KivaFormatInterface& format) override;
  int GetExportSettingsInfo(KivaGetExportSettingsInfoInterface& info) override;
  // Shows the export settings dialog; on OK the host's settings string gets the choice.
  int RunExportSettingsDialog(KivaFormatInterface& format, void* parentWindow,
                              bool& canceled) override;
  int WriteStart(KivaWriteStartInterface& start, qt::Source*& source) override;
  int WriteSamples(qt::Source& source, KivaWriteSamplesInterface& samples) override;
  int FinishWrite(qt::Source& source, bool finishFlag, const KivaFormatInterface& format) override;

  // Sends the coded "could not open" text for an open error, if one was recorded.
  void SetExtendedError(qt::Source::ExtendedErrorInfo info);

 private:
  // Sends a localised text through the request's reporter; dropped when there is none.
  void SendMessage(const std::u16string& text);
};

}  // namespace kiva
