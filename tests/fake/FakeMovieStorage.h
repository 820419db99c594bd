// A scriptable movie storage: records every call and the samples it was given, and fails the
// operations a test chooses.
#pragma once

#include "media/MovieStorage.h"

#include <string>
#include <vector>

namespace kiva::test {

struct StorageRecord {
  std::vector<std::string> calls;
  std::vector<std::vector<std::uint8_t>> samples;  // the bytes of each AddMediaSample
  std::vector<std::int64_t> sampleCounts;
  qt::media::SoundFormat format;  // as given to NewSoundMedia
  std::int32_t timeScale = 0;
  bool closed = false;
};

struct StorageScript {
  qt::media::OSErr newTrack = 0, newMedia = 0, beginEdits = 0, addSample = 0, endEdits = 0,
                   insert = 0, addMovie = 0;
  int refuseSampleNumber = 0;  // the AddMediaSample call of this number (from 1) fails (-34)
};

class FakeMovieStorage final : public qt::media::MovieStorage {
 public:
  FakeMovieStorage(StorageRecord& record, const StorageScript& script)
      : record(record), script(script) {}
  ~FakeMovieStorage() override { Close(); }
  qt::media::OSErr NewSoundTrack() override { return Note("NewSoundTrack", script.newTrack); }
  qt::media::OSErr NewSoundMedia(std::int32_t scale,
                                 const qt::media::SoundFormat& format) override {
    record.timeScale = scale;
    record.format = format;
    return Note("NewSoundMedia", script.newMedia);
  }
  qt::media::OSErr BeginMediaEdits() override { return Note("BeginMediaEdits", script.beginEdits); }
  qt::media::OSErr AddMediaSample(const void* data, std::size_t size, std::int64_t duration,
                                  const qt::media::SoundFormat&, std::int64_t samples) override {
    if (script.addSample != 0) return Note("AddMediaSample", script.addSample);
    if (++samplesAsked == script.refuseSampleNumber) return Note("AddMediaSample", -34);
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    record.samples.emplace_back(bytes, bytes + size);
    record.sampleCounts.push_back(samples);
    mediaDuration += samples * duration;
    return Note("AddMediaSample", 0);
  }
  qt::media::OSErr EndMediaEdits() override { return Note("EndMediaEdits", script.endEdits); }
  std::int64_t GetMediaDuration() const override { return mediaDuration; }
  qt::media::OSErr InsertMediaIntoTrack(std::int64_t, std::int64_t, std::int64_t duration,
                                        std::int32_t rate) override {
    return Note("InsertMediaIntoTrack " + std::to_string(duration) + " " + std::to_string(rate),
                script.insert);
  }
  qt::media::OSErr AddMovieToStorage() override {
    return Note("AddMovieToStorage", script.addMovie);
  }
  qt::media::OSErr Close() override {
    if (!record.closed) record.calls.emplace_back("Close");
    record.closed = true;
    return 0;
  }

 private:
  qt::media::OSErr Note(const std::string& call, qt::media::OSErr result) {
    record.calls.push_back(call);
    return result;
  }
  StorageRecord& record;
  StorageScript script;
  std::int64_t mediaDuration = 0;
  int samplesAsked = 0;
};

}  // namespace kiva::test
