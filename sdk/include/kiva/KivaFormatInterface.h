// The host's stream-format record and its video sub-record. Both are host-owned: the plug-in
// only calls their operations during a request and never keeps a pointer to them.
// The slot order is the host's ABI: never reorder, insert or remove a virtual function here.
// Slots the plug-in never calls are padded with `Reserved<slot>` placeholders.
#pragma once

#include <kiva/KivaErrorReporter.h>

#include <cstdint>
#include <string>

namespace kiva {

class KivaVideoStreamInterface {
 public:
  virtual ~KivaVideoStreamInterface() = default;  // slots 0, 1

  virtual void Reserved2() {}                                                // slot 2
  virtual void SetStreamCount(std::int32_t count) = 0;                       // slot 3
  virtual void Reserved4() {}                                                // slot 4
  virtual void SetFrameCount(std::int32_t stream, std::int32_t frames) = 0;  // slot 5
  virtual void Reserved6() {}                                                // slot 6
  // slot 7. The plug-in always passes 1; its meaning is the host's.
  virtual void SetFrameKind(std::int32_t stream, std::int32_t value) = 0;
  virtual void Reserved8() {}  // slot 8
  virtual void SetFrameRateRational(std::int32_t stream, std::int64_t numerator,
                                    std::int64_t denominator) = 0;             // slot 9
  virtual void Reserved10() {}                                                 // slot 10
  virtual void SetFrameRate(std::int32_t stream, double framesPerSecond) = 0;  // slot 11
  // slot 12. In a frame request: the wanted picture width.
  virtual std::int32_t GetWidth(std::int32_t stream) = 0;
  virtual void SetWidth(std::int32_t stream, std::int32_t pixels) = 0;  // slot 13
  // slot 14. In a frame request: the wanted picture height.
  virtual std::int32_t GetHeight(std::int32_t stream) = 0;
  virtual void SetHeight(std::int32_t stream, std::int32_t pixels) = 0;     // slot 15
  virtual void Reserved16() {}                                              // slot 16
  virtual void SetPixelAspectRatio(std::int32_t stream, double ratio) = 0;  // slot 17
  virtual void Reserved18() {}                                              // slot 18
  // slot 19. The host copies the text.
  virtual void SetFormatDescription(std::int32_t stream, const std::u16string& text) = 0;
};

class KivaFormatInterface {
 public:
  virtual ~KivaFormatInterface() = default;  // slots 0, 1

  // slot 2. The request's reporter when this record is itself the request; may be null.
  virtual KivaErrorReporter* GetErrorReporter() = 0;
  virtual std::int32_t GetSampleRate() = 0;                // slot 3, Hz
  virtual void SetSampleRate(std::int32_t hz) = 0;         // slot 4
  virtual std::int32_t GetSampleType() = 0;                // slot 5, an AudioSampleType code
  virtual void SetSampleType(std::int32_t code) = 0;       // slot 6
  virtual std::int32_t GetNumChannels() = 0;               // slot 7
  virtual void SetNumChannels(std::int32_t channels) = 0;  // slot 8
  // slot 9. Host label (noxmediatypes::AudioChannelLabel) of one channel.
  virtual std::uint32_t GetChannelLabel(std::int32_t channel) = 0;
  virtual void SetChannelLabel(std::int32_t channel, std::uint32_t label) = 0;  // slot 10
  // slot 11. Host-owned sub-record; valid until the request returns.
  virtual KivaVideoStreamInterface* GetVideoStreamInfo() = 0;
  virtual void Reserved12() {}                             // slot 12
  virtual void SetFormatID(const std::u16string& id) = 0;  // slot 13, "General" or "AudioMov"
  // slot 14. Zero-terminated UTF-16 private settings; valid until the request returns.
  virtual const char16_t* GetPrivateSettings() = 0;
  virtual void SetPrivateSettings(const std::u16string& settings) = 0;  // slot 15
  virtual void SetMimeType(const char* mimeType) = 0;                   // slot 16, zero-terminated
  virtual void Reserved17() {}                                          // slot 17
  virtual void SetFileType(std::uint32_t fourCharCode) = 0;             // slot 18
  virtual void Reserved19() {}                                          // slot 19
  virtual void SetFileCreator(std::uint32_t fourCharCode) = 0;          // slot 20
  virtual void Reserved21() {}                                          // slot 21
  virtual void Reserved22() {}                                          // slot 22
  virtual std::uint32_t GetMetadataCount() = 0;                         // slot 23
  // slot 24. Out-parameters are filled only when it returns true; `size` is the item's byte size.
  virtual bool GetMetadataItem(std::uint32_t index, std::u16string& text, std::int64_t& size,
                               std::u16string& value) = 0;
  virtual void Reserved25() {}                           // slot 25
  virtual void SetSampleCount(std::int64_t frames) = 0;  // slot 26
  virtual std::int64_t GetSampleCount() = 0;             // slot 27
};

}  // namespace kiva
