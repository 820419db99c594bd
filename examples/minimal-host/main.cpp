// minimal-host: the smallest complete host of the KivaQT plug-in. It loads the bundle, has the
// plug-in describe itself, opens a file, prints its format, reads its first second of audio as
// float, closes the file and unloads the plug-in.
//
//   minimal-host BUNDLE FILE        e.g. minimal-host /usr/lib/kivaqt/KivaQT.bundle song.wav

#include <kiva/KivaInterfaceTemplate.h>  // selectors
#include <kiva/KivaRequestRecords.h>     // the records a host implements
#include <kiva/KivaVersion.h>
#include <noxcore/utility/Strings.h>
#include <orb/app/App.h>

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

std::string Utf8(const char16_t* text) {
  std::string out;
  noxcore::utility::UTF16to8(text != nullptr ? std::u16string(text) : u"", out);
  return out;
}

// Every request that can fail reports its messages here.
struct Reporter final : kiva::KivaErrorReporter {
  void SetErrorText(const char16_t* text) override {
    std::fprintf(stderr, "  %s\n", Utf8(text).c_str());
  }
};

struct Info final : kiva::KivaGetKivaInfoInterface {
  int major = -1, minor = -1;
  void SetInterfaceVersion(int ma, int mi) override { major = ma, minor = mi; }
  void SetPlugInInfo(const char* id, const char16_t* name) override {
    std::printf("Plug-in: %s (%s)\n", Utf8(name).c_str(), id);
  }
  void AddImportFormat(const char16_t* name, const char16_t*, const std::vector<const char*>*,
                       const char16_t*) override {
    std::printf("Imports: %s\n", Utf8(name).c_str());
  }
  void AddExportFormat(const char16_t* name, const char16_t*, const std::vector<const char*>*,
                       const char16_t*) override {
    std::printf("Exports: %s\n", Utf8(name).c_str());
  }
};

struct Open final : kiva::KivaOpenInterface {
  std::u16string path;
  Reporter reporter;
  void* source = nullptr;
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  const char16_t* GetFilePath() override { return path.c_str(); }
  void SetSource(void* s) override { source = s; }
  void SetOpenOption(int) override {}
  void SetDescription(const char16_t* text) override {
    std::printf("File:    %s\n", Utf8(text).c_str());
  }
  void SetBitRate(std::int32_t) override {}
};

// The video facts are not needed here; the plug-in fills them all the same.
struct Video final : kiva::KivaVideoStreamInterface {
  void SetStreamCount(std::int32_t) override {}
  void SetFrameCount(std::int32_t, std::int32_t) override {}
  void SetFrameKind(std::int32_t, std::int32_t) override {}
  void SetFrameRateRational(std::int32_t, std::int64_t, std::int64_t) override {}
  void SetFrameRate(std::int32_t, double) override {}
  std::int32_t GetWidth(std::int32_t) override { return 0; }
  void SetWidth(std::int32_t, std::int32_t) override {}
  std::int32_t GetHeight(std::int32_t) override { return 0; }
  void SetHeight(std::int32_t, std::int32_t) override {}
  void SetPixelAspectRatio(std::int32_t, double) override {}
  void SetFormatDescription(std::int32_t, const std::u16string&) override {}
};

struct Format final : kiva::KivaFormatInterface {
  Reporter reporter;
  Video video;
  std::int32_t rate = 0, type = 0;
  std::vector<std::uint32_t> labels;
  std::int64_t frames = 0;
  kiva::KivaErrorReporter* GetErrorReporter() override { return &reporter; }
  std::int32_t GetSampleRate() override { return rate; }
  void SetSampleRate(std::int32_t hz) override { rate = hz; }
  std::int32_t GetSampleType() override { return type; }
  void SetSampleType(std::int32_t code) override { type = code; }
  std::int32_t GetNumChannels() override { return static_cast<std::int32_t>(labels.size()); }
  void SetNumChannels(std::int32_t n) override { labels.assign(static_cast<std::size_t>(n), 0); }
  std::uint32_t GetChannelLabel(std::int32_t c) override { return labels.at(std::size_t(c)); }
  void SetChannelLabel(std::int32_t c, std::uint32_t l) override { labels.at(std::size_t(c)) = l; }
  kiva::KivaVideoStreamInterface* GetVideoStreamInfo() override { return &video; }
  void SetFormatID(const std::u16string&) override {}
  const char16_t* GetPrivateSettings() override { return u""; }
  void SetPrivateSettings(const std::u16string&) override {}
  void SetMimeType(const char*) override {}
  void SetFileType(std::uint32_t) override {}
  void SetFileCreator(std::uint32_t) override {}
  std::uint32_t GetMetadataCount() override { return 0; }
  bool GetMetadataItem(std::uint32_t, std::u16string&, std::int64_t&, std::u16string&) override {
    return false;
  }
  void SetSampleCount(std::int64_t n) override { frames = n; }
  std::int64_t GetSampleCount() override { return frames; }
};

struct Read final : kiva::KivaReadSamplesInterface {
  std::int64_t count = 0, got = 0;
  std::vector<std::vector<float>> channels;
  std::int64_t GetStartFrame() override { return 0; }
  std::int64_t GetFrameCount() override { return count; }
  float* GetChannelBuffer(std::int32_t c) override { return channels.at(std::size_t(c)).data(); }
  void SetFramesRead(std::int64_t frames) override { got = frames; }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: minimal-host BUNDLE FILE\n");
    return 2;
  }
  orb::app::App app;  // the host's application object exists before any plug-in runs
  const std::string library = std::string(argv[1]) + "/Contents/Linux/KivaQT.so";
  void* bundle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (bundle == nullptr) {
    std::fprintf(stderr, "cannot load %s: %s\n", library.c_str(), dlerror());
    return 1;
  }
  using Entry = int (*)(int, void*, void*);
  const auto call = reinterpret_cast<Entry>(dlsym(bundle, "KivaInterface"));
  Info info;
  int status = call != nullptr ? call(kiva::kSelGetKivaInfo, nullptr, &info) : -1;
  if (status == 0 && !kiva::KivaInterfaceVersionIsCompatible(info.major, info.minor)) status = -1;
  if (status == 0) {
    Open open;
    noxcore::utility::UTF8to16(argv[2], open.path);
    status = call(kiva::kSelOpenForRead, nullptr, &open);
    Format format;
    if (status == 0) status = call(kiva::kSelGetFormat, open.source, &format);
    if (status == 0) {
      std::printf("Audio:   %d Hz, %zu channels, %lld frames\n", format.rate, format.labels.size(),
                  static_cast<long long>(format.frames));
      Read read;
      read.count = std::min<std::int64_t>(format.rate, format.frames);  // one second at most
      read.channels.assign(format.labels.size(), std::vector<float>(std::size_t(read.count)));
      status = call(kiva::kSelReadSamples, open.source, &read);
      double sum = 0;
      for (const auto& channel : read.channels)
        for (const float x : channel) sum += double(x) * x;
      const double frames = double(read.got) * double(read.channels.size());
      std::printf("Read:    %lld frames, RMS %.4f\n", static_cast<long long>(read.got),
                  frames > 0 ? std::sqrt(sum / frames) : 0.0);
    }
    if (open.source != nullptr) call(kiva::kSelCloseForRead, open.source, nullptr);
  }
  if (call != nullptr) call(kiva::kSelTerminate, nullptr, nullptr);
  dlclose(bundle);
  if (status != 0) std::fprintf(stderr, "failed (status %d)\n", status);
  return status == 0 ? 0 : 1;
}
