#include "FakeToolbox.h"

#include <gtest/gtest.h>

namespace kiva::test {

namespace {

class FakeMovieExporter final : public qt::media::MovieExporter {
 public:
  explicit FakeMovieExporter(FakeComponent& component) : component(component) {
    ++component.exporterOpens;
  }
  ~FakeMovieExporter() override { ++component.exporterCloses; }
  qt::media::OSErr DoUserDialog(bool& canceled) override {
    ++component.dialogCalls;
    canceled = component.dialogCanceled;
    return component.dialogError;
  }
  qt::media::OSErr GetSettingsAsAtomContainer(std::vector<std::uint8_t>& settings) override {
    ++component.settingsCalls;
    if (component.settingsError == qt::media::kNoErr) settings = component.settings;
    return component.settingsError;
  }

 private:
  FakeComponent& component;
};

}  // namespace

qt::media::OSErr FakeComponent::OpenExporter(std::unique_ptr<qt::media::MovieExporter>& exporter) {
  if (exporterOpenError != qt::media::kNoErr) return exporterOpenError;
  exporter = std::make_unique<FakeMovieExporter>(*this);
  return qt::media::kNoErr;
}

std::shared_ptr<FakeComponent> MakeImporter(const char (&subType)[5],
                                            std::vector<std::string> mimeTypes,
                                            std::vector<std::string> extensionAtoms) {
  auto importer = std::make_shared<FakeComponent>();
  importer->description.componentType = qt::media::kMovieImportType;
  importer->description.componentSubType = qt::media::FourCharCode(subType);
  importer->description.componentFlags =
      qt::media::kCanMovieImportFiles | qt::media::kHasMovieImportMIMEList;
  importer->mimeList.mimeTypes = std::move(mimeTypes);
  importer->mimeList.extensions = std::move(extensionAtoms);
  return importer;
}

std::shared_ptr<FakeComponent> MakeExporter(const char (&subType)[5]) {
  auto exporter = std::make_shared<FakeComponent>();
  exporter->description.componentType = qt::media::kMovieExportType;
  exporter->description.componentSubType = qt::media::FourCharCode(subType);
  exporter->description.componentFlags = qt::media::kCanMovieExportValidateMovie;
  return exporter;
}

FakeToolbox& FakeToolbox::Instance() {
  static FakeToolbox toolbox;
  return toolbox;
}

namespace {

// Every test starts with the toolbox as built: nothing staged, nothing counted.
class FreshToolboxPerTest final : public ::testing::EmptyTestEventListener {
  void OnTestStart(const ::testing::TestInfo&) override { FakeToolbox::Instance() = FakeToolbox(); }
};

const bool sFreshToolboxRegistered = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new FreshToolboxPerTest);
  return true;
}();

}  // namespace

qt::media::OSErr FakeToolbox::GetVersion(std::int32_t& response) {
  ++versionCalls;
  // Like the platform call, a failing query leaves the response untouched.
  if (versionError == qt::media::kNoErr) response = versionResponse;
  return versionError;
}

qt::media::OSErr FakeToolbox::Start() {
  ++startCalls;
  return startError;
}

void FakeToolbox::Stop() { ++stopCalls; }

qt::media::OSErr FakeToolbox::NewMovieFromPath(const std::string& path,
                                               std::unique_ptr<qt::media::Movie>& movie) {
  openedPaths.push_back(path);
  const auto found = movies.find(path);
  if (found == movies.end()) return openError;
  auto made = found->second();
  lastMovie = made.get();
  movie = std::move(made);
  return qt::media::kNoErr;
}

qt::media::OSErr FakeToolbox::CreateMovieStorage(const std::string& path,
                                                 std::unique_ptr<qt::media::MovieStorage>& made) {
  createdPaths.push_back(path);
  if (createError != 0) return createError;
  storage = StorageRecord{};
  made = std::make_unique<FakeMovieStorage>(storage, storageScript);
  return 0;
}

std::string FakeToolbox::GetCompressionName(std::uint32_t formatCode) {
  const auto found = compressionNames.find(formatCode);
  return found != compressionNames.end() ? found->second : std::string();
}

}  // namespace kiva::test

namespace kiva::qt::media {

Toolbox& DefaultToolbox() { return test::FakeToolbox::Instance(); }

}  // namespace kiva::qt::media
