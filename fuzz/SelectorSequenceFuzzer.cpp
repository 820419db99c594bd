// Fuzzes the entry point with sequences of requests: any selector (unknown and negative ones
// too), a null handle or one the plug-in handed out (a file opened for reading, an export
// session), and a null record or a host record filled with the input's values. The sequence
// keeps the host's side of the contract: a handle is never used after CloseForRead or
// FinishWrite ended it, every buffer is as large as its record says, and whatever is still
// open when the input ends is closed. The argument checks that every selector answers the same
// way are verified on the way.

#include "FuzzHost.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace kiva;
using kiva::fuzz::ByteReader;
using kiva::fuzz::Call;
using kiva::fuzz::Check;

constexpr int kMaximumRequests = 48;
constexpr std::size_t kMaximumReadHandles = 3;
constexpr std::size_t kMaximumWriteHandles = 2;
constexpr int kMostChannels = 8;
constexpr const char* kReadableFiles[] = {"av.mp4", "pcm.wav", "mp3.mp3", "video.mp4", "aac.m4a"};

// An export session as the host remembers it: the plug-in's handle, what was asked at the
// start, and where the next block begins.
struct WriteSession {
  void* handle = nullptr;
  std::int32_t channels = 0;
  std::int64_t position = 0;
  std::string path;
};

class Sequence {
 public:
  explicit Sequence(ByteReader& input) : input(input) {}
  ~Sequence() { CloseEverything(); }

  void Run() {
    for (int request = 0; request < kMaximumRequests && !input.Empty(); ++request) Step();
  }

 private:
  // Selectors by number, with a few draws left for values outside the table.
  int TakeSelector() {
    const std::uint8_t choice = input.Byte();
    if (choice < 230) return choice % 19;
    return input.Integer<std::int32_t>();
  }

  // 0: null; 1: a reading handle; 2: a writing handle. Either kind may reach any selector.
  void* TakeHandle() {
    switch (input.Byte() % 3) {
      case 1:
        if (!reading.empty()) return reading[input.Byte() % reading.size()];
        return nullptr;
      case 2:
        if (!writing.empty()) return writing[input.Byte() % writing.size()].handle;
        return nullptr;
      default:
        return nullptr;
    }
  }

  std::int64_t TakePosition() {
    switch (input.Byte() % 4) {
      case 0:
        return input.Between(0, 2048);
      case 1:
        return input.Between(-4, 4);
      case 2:
        return input.Between(0, 200000);
      default:
        return input.Integer<std::int64_t>();
    }
  }

  std::u16string TakeSettings() {
    switch (input.Byte() % 3) {
      case 0:
        return u"";
      case 1:
        return kivahost::ToUtf16("FormatIndex:0:" + std::to_string(input.Between(-2, 12)) + ";");
      default:
        return input.Text(48);
    }
  }

  // An export format: every field the plug-in reads, from the input.
  void FillFormat(kivahost::HostFormat& format) {
    format.SetNumChannels(static_cast<std::int32_t>(input.Between(-1, 9)));
    for (auto& label : format.labels) label = input.Byte() < 200 ? 100 + input.Byte() % 30 : 0;
    static constexpr std::int32_t kRates[] = {8000, 44100, 48000, 96000, 1, 0, -44100};
    const std::uint8_t rate = input.Byte();
    format.sampleRate = rate < 200 ? kRates[rate % 7] : input.Integer<std::int32_t>();
    static constexpr std::int32_t kTypes[] = {10, 20, 30, 40};
    const std::uint8_t type = input.Byte();
    format.sampleType = type < 220 ? kTypes[type % 4] : input.Integer<std::int32_t>();
    format.sampleCount = TakePosition();
    format.privateSettings = TakeSettings();
  }

  bool NeedsHandle(int selector) const {
    return (selector >= kSelGetFormat && selector <= kSelCloseForRead) ||
           selector == kSelWriteSamples || selector == kSelFinishWrite;
  }

  void Step() {
    const int selector = TakeSelector();
    void* handle = TakeHandle();
    const bool withRecord = input.Byte() % 8 != 0;
    if (selector < 0 || selector > kSelFinishWrite || selector == 15) {
      // Nothing may be touched: the record's type does not matter, not even a wrong one.
      kivahost::HostFormat any;
      Check(Call(selector, handle, withRecord ? &any : nullptr) == kKivaUnknownSelector);
      return;
    }
    const int refused = selector == kSelFinishWrite ? kKivaGeneralError : kKivaBadArgument;
    if (handle == nullptr && NeedsHandle(selector)) {
      kivahost::HostFormat any;
      const bool noRecordNeeded = selector == kSelCloseForRead;
      Check(Call(selector, nullptr, noRecordNeeded ? nullptr : &any) == refused);
      return;
    }
    const bool recordless =
        selector == kSelInitialize || selector == kSelTerminate || selector == kSelCloseForRead;
    if (!withRecord && !recordless) {
      Check(Call(selector, handle, nullptr) == refused);
      return;
    }
    Serve(selector, handle);
  }

  void Serve(int selector, void* handle) {
    switch (selector) {
      case kSelGetKivaInfo:
        // Asked once per load, and only inside a bundle (see StartPlugIn): only its argument
        // check is exercised (above).
        return;
      case kSelInitialize:
        Check(Call(selector, nullptr, nullptr) == kKivaSuccess);
        return;
      case kSelTerminate:
        // A host closes what it opened before it lets the plug-in go, and starts it again when
        // it loads it next time.
        CloseEverything();
        Check(Call(selector, nullptr, nullptr) == kKivaSuccess);
        fuzz::StartPlugIn();
        return;
      case kSelPreOpenForRead: {
        kivahost::HostPreOpen record;
        Call(selector, nullptr, &record);
        return;
      }
      case kSelRunImportSettingsDialog: {
        kivahost::HostImportSettingsDialog record;
        Call(selector, nullptr, &record);
        return;
      }
      case kSelOpenForRead:
        return Open();
      case kSelGetFormat: {
        kivahost::HostFormat format;
        Call(selector, handle, &format);
        return;
      }
      case kSelReadSamples:
        return Read(handle);
      case kSelReadSamplesRaw: {
        kivahost::HostReadSamplesRaw record(TakePosition(), TakePosition());
        Call(selector, handle, &record);
        return;
      }
      case kSelReadVideoFrame:
        return Frame(handle);
      case kSelReadMetadata: {
        kivahost::HostReadMetadata record;
        Call(selector, handle, &record);
        return;
      }
      case kSelCloseForRead:
        Call(selector, handle, nullptr);
        Forget(handle);
        return;
      case kSelGetDefaultExportSettings: {
        kivahost::HostFormat format;
        Call(selector, nullptr, &format);
        return;
      }
      case kSelGetExportSettingsInfo: {
        kivahost::HostFormat format;
        FillFormat(format);
        kivahost::HostExportSettingsInfo info(format);
        Call(selector, nullptr, &info);
        return;
      }
      case kSelRunExportSettingsDialog:
        // The dialog waits for a person; only its argument check is exercised (above).
        return;
      case kSelWriteStart:
        return Start();
      case kSelWriteSamples:
        return Write(handle);
      case kSelFinishWrite: {
        kivahost::HostFormat format;
        FillFormat(format);
        kivahost::HostFinishWrite finish(format);
        Call(selector, handle, &finish);
        Forget(handle);
        return;
      }
      default:
        return;
    }
  }

  void Open() {
    std::u16string path;
    const std::uint8_t choice = input.Byte();
    if (choice < 200) {
      path = kivahost::ToUtf16(fuzz::MediaPath(kReadableFiles[choice % std::size(kReadableFiles)]));
    } else {
      // A name of any characters inside the scratch directory: missing files, names that do
      // not convert, the directory itself.
      std::u16string name = input.Text(24);
      std::replace(name.begin(), name.end(), u'/', u'_');
      path = kivahost::ToUtf16(scratch.string() + "/") + name;
    }
    kivahost::HostOpen open("");
    open.path = path;
    if (Call(kSelOpenForRead, nullptr, &open) != kKivaSuccess) return;
    Check(open.source != nullptr);
    if (reading.size() < kMaximumReadHandles) {
      reading.push_back(open.source);
    } else {
      Check(Call(kSelCloseForRead, open.source, nullptr) == kKivaSuccess);
    }
  }

  void Read(void* handle) {
    const std::int64_t start = TakePosition();
    const std::uint8_t kind = input.Byte();
    const int channels = static_cast<int>(input.Between(0, 8));
    std::int64_t frames = 0;
    std::vector<std::vector<float>> planes;
    std::vector<float*> buffers;
    if (kind < 200) {
      frames = input.Between(-2, 4096);
      for (int c = 0; c < channels; ++c) {
        const bool wanted = input.Byte() % 4 != 0;
        planes.emplace_back(wanted ? static_cast<std::size_t>(std::max<std::int64_t>(frames, 0))
                                   : 0);
        buffers.push_back(wanted ? planes.back().data() : nullptr);
      }
    } else {
      // Any count at all, with no channel wanted: nothing may be written anywhere.
      frames = input.Integer<std::int64_t>();
      buffers.assign(static_cast<std::size_t>(channels), nullptr);
    }
    kivahost::HostReadSamples read(start, frames, buffers);
    Call(kSelReadSamples, handle, &read);
  }

  void Frame(void* handle) {
    const std::int32_t index = static_cast<std::int32_t>(TakePosition());
    std::int32_t width = static_cast<std::int32_t>(input.Between(-2, 80));
    std::int32_t height = static_cast<std::int32_t>(input.Between(-2, 80));
    const std::uint8_t large = input.Byte();
    static constexpr std::int32_t kEdges[] = {4000, 4001, std::numeric_limits<std::int32_t>::max(),
                                              std::numeric_limits<std::int32_t>::min()};
    if (large >= 240) width = kEdges[large % 4];
    if (large >= 224 && large < 240) height = kEdges[large % 4];
    const std::uint32_t flags = input.Integer<std::uint32_t>();
    // The destination holds width x height pixels whenever that is a size a host could hold.
    const std::int64_t bytes = std::int64_t{std::max(width, 0)} * std::max(height, 0) * 4;
    std::vector<char> pixels(bytes <= 4001 * 80 * 4 ? static_cast<std::size_t>(bytes) : 0);
    const bool withBuffer = input.Byte() % 8 != 0 && !pixels.empty();
    kivahost::HostReadVideoFrame request(index, width, height, withBuffer ? pixels.data() : nullptr,
                                         flags);
    Call(kSelReadVideoFrame, handle, &request);
  }

  void Start() {
    kivahost::HostFormat format;
    FillFormat(format);
    WriteSession session;
    session.path = (scratch / ("export-" + std::to_string(exports++) + ".mov")).string();
    kivahost::HostWriteStart start(session.path, format);
    if (Call(kSelWriteStart, nullptr, &start) != kKivaSuccess) return;
    Check(start.handle != nullptr);
    session.handle = start.handle;
    session.channels = format.GetNumChannels();
    if (writing.size() < kMaximumWriteHandles) {
      writing.push_back(session);
    } else {
      kivahost::HostFinishWrite finish(format);
      Call(kSelFinishWrite, session.handle, &finish);
    }
  }

  void Write(void* handle) {
    auto session = std::find_if(writing.begin(), writing.end(),
                                [&](const WriteSession& s) { return s.handle == handle; });
    // The host gives one buffer per channel it started the session with; a reading handle gets
    // more than any file the sequence opens has channels.
    const int channels = session != writing.end() ? session->channels : kMostChannels;
    kivahost::HostFormat format;
    FillFormat(format);
    const std::uint8_t kind = input.Byte();
    std::int64_t start =
        input.Byte() % 4 != 0 && session != writing.end() ? session->position : TakePosition();
    std::int64_t frames = input.Between(-2, 4096);
    if (kind >= 230) {
      // Counts that must be refused before any sample is read, whatever the sample width and
      // channel count: negative, 2^31 bytes or more, more than 32 bits of frames.
      static constexpr std::int64_t kRefused[] = {-1, std::numeric_limits<std::int64_t>::min(),
                                                  std::int64_t{1} << 31, std::int64_t{1} << 32,
                                                  std::numeric_limits<std::int64_t>::max()};
      frames = kRefused[kind % 5];
    }
    const std::size_t bytes =
        kind >= 230 ? 16 : static_cast<std::size_t>(std::max<std::int64_t>(frames, 0)) * 4;
    std::vector<std::vector<char>> planes;
    std::vector<void*> buffers;
    for (int c = 0; c < channels; ++c) {
      const bool given = input.Byte() % 16 != 0;
      planes.emplace_back(given ? bytes : 0);
      buffers.push_back(given ? planes.back().data() : nullptr);
    }
    kivahost::HostWriteSamples samples(start, frames, buffers, format);
    const int status = Call(kSelWriteSamples, handle, &samples);
    if (status == kKivaSuccess && session != writing.end()) session->position += frames;
  }

  void Forget(void* handle) {
    reading.erase(std::remove(reading.begin(), reading.end(), handle), reading.end());
    writing.erase(std::remove_if(writing.begin(), writing.end(),
                                 [&](const WriteSession& s) { return s.handle == handle; }),
                  writing.end());
  }

  void CloseEverything() {
    for (void* handle : reading) Check(Call(kSelCloseForRead, handle, nullptr) == kKivaSuccess);
    reading.clear();
    for (const auto& session : writing) {
      kivahost::HostFormat format;
      kivahost::HostFinishWrite finish(format);
      Call(kSelFinishWrite, session.handle, &finish);
    }
    writing.clear();
  }

  ByteReader& input;
  std::vector<void*> reading;
  std::vector<WriteSession> writing;
  int exports = 0;

 public:
  // One scratch directory per process for exports and odd paths; emptied after every input.
  static inline const std::filesystem::path scratch =
      std::filesystem::temp_directory_path() / ("kivaqt-selector-fuzz-" + std::to_string(getpid()));
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool started = (fuzz::StartPlugIn(), true);
  (void)started;
  std::filesystem::create_directories(Sequence::scratch);
  {
    ByteReader input(data, size);
    Sequence sequence(input);
    sequence.Run();
  }
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(Sequence::scratch, ignored)) {
    std::filesystem::remove_all(entry.path(), ignored);
  }
  return 0;
}
