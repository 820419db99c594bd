// A scriptable media-layer toolbox: tests set what it answers and read what it was asked.
#pragma once

#include "FakeAudioCompressor.h"
#include "FakeMovie.h"
#include "FakeMovieStorage.h"
#include "media/Toolbox.h"

#include <functional>
#include <map>
#include <string>
#include <utility>

#include <memory>
#include <vector>

namespace kiva::test {

// An installed component with a scripted description, open result and MIME list, and as an
// exporter a scripted settings dialog.
class FakeComponent final : public qt::media::Component {
 public:
  qt::media::ComponentDescription GetDescription() const override { return description; }
  qt::media::OSErr Open() override {
    ++openCalls;
    return openError;
  }
  qt::media::OSErr GetMIMETypeList(qt::media::MIMETypeList& list) override {
    if (mimeListError == qt::media::kNoErr) list = mimeList;
    return mimeListError;
  }

  qt::media::OSErr OpenExporter(std::unique_ptr<qt::media::MovieExporter>& exporter) override;

  qt::media::ComponentDescription description;
  qt::media::OSErr openError = qt::media::kNoErr;
  qt::media::OSErr mimeListError = qt::media::kNoErr;
  qt::media::MIMETypeList mimeList;
  int openCalls = 0;

  // The exporter: how its dialog ends and the settings it then gives.
  qt::media::OSErr exporterOpenError = qt::media::kNoErr;
  qt::media::OSErr dialogError = qt::media::kNoErr;
  bool dialogCanceled = false;
  qt::media::OSErr settingsError = qt::media::kNoErr;
  std::vector<std::uint8_t> settings;
  // What the exporter was asked: instances opened and closed, dialogs shown, settings taken.
  int exporterOpens = 0;
  int exporterCloses = 0;
  int dialogCalls = 0;
  int settingsCalls = 0;
};

// An exporter of the given subtype, as the export catalogue searches for.
std::shared_ptr<FakeComponent> MakeExporter(const char (&subType)[5]);

// An importer that can import files and publishes a MIME list, as the plug-in searches for.
std::shared_ptr<FakeComponent> MakeImporter(const char (&subType)[5],
                                            std::vector<std::string> mimeTypes,
                                            std::vector<std::string> extensionAtoms);

class FakeToolbox final : public qt::media::Toolbox {
 public:
  // The toolbox DefaultToolbox() answers with in the unit tests.
  static FakeToolbox& Instance();

  qt::media::OSErr GetVersion(std::int32_t& response) override;
  qt::media::OSErr Start() override;
  void Stop() override;
  std::vector<std::shared_ptr<qt::media::Component>> GetComponents() override {
    ++getComponentsCalls;
    return components;
  }
  int getComponentsCalls = 0;
  // Hands out the movie staged for the path, or `openError`.
  qt::media::OSErr NewMovieFromPath(const std::string& path,
                                    std::unique_ptr<qt::media::Movie>& movie) override;
  std::string GetCompressionName(std::uint32_t formatCode) override;
  qt::media::OSErr OpenAudioCompressor(std::unique_ptr<qt::media::AudioCompressor>& made) override {
    compressor = CompressorRecord{};
    made = std::make_unique<FakeAudioCompressor>(compressor, compressorScript);
    return 0;
  }
  // A storage recording into `storage`, or `createError`.
  qt::media::OSErr CreateMovieStorage(const std::string& path,
                                      std::unique_ptr<qt::media::MovieStorage>& made) override;

  // Makes the movie at `path` a fresh FakeMovie that `make` fills in, on every open.
  void StageMovie(const std::string& path, std::function<void(FakeMovie&)> make) {
    movies[path] = [make = std::move(make)] {
      auto movie = std::make_unique<FakeMovie>();
      make(*movie);
      return movie;
    };
  }

  // Script.
  std::vector<std::shared_ptr<qt::media::Component>> components;
  std::map<std::string, std::function<std::unique_ptr<FakeMovie>()>> movies;
  qt::media::OSErr openError = -43;
  std::map<std::uint32_t, std::string> compressionNames;
  qt::media::OSErr createError = 0;
  StorageScript storageScript;
  StorageRecord storage;
  CompressorScript compressorScript;
  CompressorRecord compressor;
  std::vector<std::string> createdPaths;
  qt::media::OSErr versionError = qt::media::kNoErr;
  std::int32_t versionResponse = 59 << 16;
  qt::media::OSErr startError = qt::media::kNoErr;

  // Record.
  int versionCalls = 0;
  int startCalls = 0;
  int stopCalls = 0;
  std::vector<std::string> openedPaths;
  FakeMovie* lastMovie = nullptr;
};

}  // namespace kiva::test
