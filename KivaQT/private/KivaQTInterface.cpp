#include "KivaQTInterface.h"

#include "../../Common/Module/private/Module.h"
#include "KivaQTFormatIDs.h"
#include "KivaQTMessages.h"
#include "QTExtensions.h"
#include "QTMediaLayer.h"

#include <noxcore/config/Localizer.h>
#include <noxcore/utility/Strings.h>

#include <algorithm>
#include <string>
#include <vector>

namespace kiva {

namespace {

constexpr const char* kPlugInIdentifier = "01914214-F044-47F7-A43B-5E98267FAFD0";
constexpr const char* kPlugInName =
    "$$$/KivaPlugIns/KivaQT/PlugInName=Cadenza QuickTime Kiva plug-in";
constexpr const char* kFormatName = "$$$/KivaPlugIns/KivaQT/FormatNameQT=QuickTime";
constexpr const char* kImportFilter =
    "$$$/KivaPlugIns/KivaQT/InputFormat=QuickTime (*.mov, *.aac, *.aiff, *.avi, *.m4a, *.mp3, "
    "*.mp4, *.wav, ...)";
constexpr const char* kExportFilter =
    "$$$/KivaPlugIns/KivaQT/ExportFormat=QuickTime (audio-only) (*.mov)";

std::u16string Localize(const char* key) {
  return noxcore::config::Localizer::Get().GetLocalizedString(key);
}

// The host takes extension lists as pointers to zero-terminated strings; they point into
// `extensions`, which must outlive the list.
std::vector<const char*> PointersTo(const std::vector<std::string>& extensions) {
  std::vector<const char*> pointers;
  pointers.reserve(extensions.size());
  for (const auto& extension : extensions) pointers.push_back(extension.c_str());
  return pointers;
}

}  // namespace

int KivaQTInterface::GetKivaInfo(KivaGetKivaInfoInterface& info) {
  module::Initialize();
  // Without a usable media layer the host gets no format of ours, and that is not an error.
  if (!qt::Initialize()) return kKivaSuccess;

  std::vector<std::string> extensions;
  const std::vector<std::string> importMimePrefixes{"audio", "video"};
  const std::vector<std::string> exportMimePrefixes{"audio"};

  qt::QueryImportExtensions(extensions, &importMimePrefixes, true);
  if (!extensions.empty()) {
    // Hosts filter .m4a files by this list even where no importer names the extension.
    if (std::find(extensions.begin(), extensions.end(), "m4a") == extensions.end()) {
      extensions.emplace_back("m4a");
    }
  } else {
    extensions.emplace_back("mov");
  }
  std::vector<const char*> pointers = PointersTo(extensions);

  info.SetPlugInInfo(kPlugInIdentifier, Localize(kPlugInName).c_str());
  const std::u16string formatName = Localize(kFormatName);
  info.AddImportFormat(formatName.c_str(), kGeneralQTID.c_str(), &pointers,
                       Localize(kImportFilter).c_str());

  extensions.clear();
  qt::QueryExportExtensions(extensions, &exportMimePrefixes, true);
  if (extensions.empty()) extensions.emplace_back("mov");
  pointers = PointersTo(extensions);
  info.AddExportFormat(formatName.c_str(), kAudioOnlyMovID.c_str(), &pointers,
                       Localize(kExportFilter).c_str());
  return kKivaSuccess;
}

int KivaQTInterface::Initialize() { return kKivaSuccess; }

int KivaQTInterface::Terminate() {
  qt::Terminate();
  module::Terminate();
  return kKivaSuccess;
}

void KivaQTInterface::SetExtendedError(qt::Source::ExtendedErrorInfo info) {
  if (info.kind != 1) return;
  std::u16string moreInfo;
  if (info.code == -2048) moreInfo = Localize(messages::kOpenCode2048);
  const std::u16string code = noxcore::utility::NumberToString(info.code);
  if (!moreInfo.empty()) {
    SendMessage(noxcore::utility::ReplaceInString(Localize(messages::kGeneralOpenCodeMoreInfo),
                                                  code, moreInfo));
  } else {
    SendMessage(noxcore::utility::ReplaceInString(Localize(messages::kGeneralOpenCode), code));
  }
}

void KivaQTInterface::SendMessage(const std::u16string& text) {
  if (KivaErrorReporter* reporter = GetErrorReporter()) reporter->SetErrorText(text.c_str());
}

}  // namespace kiva
