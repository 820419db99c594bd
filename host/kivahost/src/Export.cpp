#include "Export.h"

#include "Console.h"
#include "EncoderCheck.h"
#include "Failure.h"
#include "JsonText.h"
#include "Naming.h"
#include "OpenedFile.h"
#include "OutputFile.h"
#include "Progress.h"
#include "StoredBitRate.h"

#include <kiva/KivaInterfaceTemplate.h>

#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>
#include <optional>

namespace kivahost {

namespace {

int CodeFor(const std::string& sampleType) {
  if (sampleType == "8") return 10;
  if (sampleType == "16") return 20;
  if (sampleType == "24") return 30;
  if (sampleType == "32f") return 40;
  return 0;
}

// One channel of floats in the host's sample format: integers rounded and clipped.
void Convert(const float* in, std::int64_t frames, int code, std::uint8_t* out) {
  for (std::int64_t i = 0; i < frames; ++i) {
    const float x = in[i];
    switch (code) {
      case 10:
        out[i] = static_cast<std::uint8_t>(std::clamp(std::lrintf(x * 128.0f) + 128, 0L, 255L));
        break;
      case 20: {
        const auto value =
            static_cast<std::int16_t>(std::clamp(std::lrintf(x * 32768.0f), -32768L, 32767L));
        std::memcpy(out + 2 * i, &value, 2);
        break;
      }
      case 30: {
        const long value = std::clamp(std::lrintf(x * 8388608.0f), -8388608L, 8388607L);
        out[3 * i] = static_cast<std::uint8_t>(value);
        out[3 * i + 1] = static_cast<std::uint8_t>(value >> 8);
        out[3 * i + 2] = static_cast<std::uint8_t>(value >> 16);
        break;
      }
      default:
        std::memcpy(out + 4 * i, &x, 4);
    }
  }
}

// What the export will be, before it is written: the format the settings name (as the settings
// dialog names it), the samples' rate and channels; for PCM also its sample size and bit rate.
std::string WhatIsWritten(const std::string& formatName, int code, int rate, int channels) {
  const std::string shape = ", " + std::to_string(rate) + " Hz, " + Counted(channels, "channel");
  if (formatName.empty() || formatName == "lpcm") {
    const int bits = code == 10 ? 8 : code == 20 ? 16 : code == 30 ? 24 : 32;
    return "Linear PCM, " + SampleTypeName(code) + shape + ", " +
           std::to_string(static_cast<std::int64_t>(rate) * bits * channels / 1000) + " kb/s";
  }
  return formatName + " (the plug-in's " + formatName + " exporter)" + shape;
}

// The plug-in's answer, with the path it was given (the temporary) shown as the user's, and the
// cause where the host can tell it.
int Fail(const char* what, int status, const std::vector<std::string>& messages,
         const OutputFile& out, bool json, const std::string& cause = "") {
  Failure failure{what, status, {}, cause};
  for (std::string message : messages) {
    for (const std::string& temporary : {out.PlugInPath(), out.TemporaryPath()}) {
      for (auto at = message.find(temporary); at != std::string::npos;
           at = message.find(temporary, at + out.Target().size())) {
        message.replace(at, temporary.size(), out.Target());
      }
    }
    failure.messages.push_back(message);
  }
  if (failure.cause.empty()) failure.cause = out.FailureCause();
  return Report(failure, json);
}

}  // namespace

int RunExport(const PlugIn& plugIn, const std::string& input, const std::string& output,
              const std::string& settings, const std::string& sampleType,
              const std::string& formatName, bool json) {
  const int code = CodeFor(sampleType);
  if (code == 0) return Report({"--sample-type takes 8, 16, 24 or 32f", 0, {}, ""}, json, 2);
  try {
    OutputFile out(output, {input});
    const OpenedFile source(plugIn, input);
    const HostFormat& read = source.Format();
    const int channels = static_cast<int>(read.labels.size());
    if (channels == 0 || read.sampleCount <= 0 || read.sampleRate <= 0) {
      return Report({"cannot export " + input, 0, {}, "the file has no audio track"}, json);
    }
    HostFormat format;
    format.SetNumChannels(channels);
    for (int c = 0; c < channels; ++c)
      format.SetChannelLabel(c, read.labels[static_cast<std::size_t>(c)]);
    format.sampleRate = read.sampleRate;
    format.sampleType = code;
    format.sampleCount = read.sampleCount;
    format.privateSettings = settings.empty() ? read.privateSettings : ToUtf16(settings);

    HostExportSettingsInfo info(format);
    plugIn.Call(kiva::kSelGetExportSettingsInfo, nullptr, &info);
    if (!json) {
      // The plug-in describes and sizes every export as uncompressed PCM, whatever the settings
      // name: shown as its answer, beside what is really written.
      Summary() << "Settings:        " << ToUtf8(format.privateSettings) << "\n"
                << "Plug-in's note:  " << info.description << " (estimate " << info.estimate
                << " bytes, as if uncompressed)\n"
                << "Writing:         " << WhatIsWritten(formatName, code, read.sampleRate, channels)
                << "\n";
    }

    // Asked first: the plug-in's answer to a refused rate or channel count names neither.
    const std::string encoder = ExpectedEncoder(formatName, ToUtf8(format.privateSettings));
    const std::string refusal =
        encoder.empty() ? "" : EncoderRefusal(encoder, read.sampleRate, channels);
    HostWriteStart start(out.PlugInPath(), format);
    if (const int status = plugIn.Call(kiva::kSelWriteStart, nullptr, &start); status != 0) {
      return Fail("cannot start the export", status, start.reporter.Messages(), out, json, refusal);
    }
    constexpr std::int64_t kBlock = 65536;
    std::vector<std::vector<float>> planes(static_cast<std::size_t>(channels),
                                           std::vector<float>(kBlock));
    std::vector<float*> readBuffers;
    for (auto& plane : planes) readBuffers.push_back(plane.data());
    const int bytes = code == 10 ? 1 : code == 20 ? 2 : code == 30 ? 3 : 4;
    std::vector<std::vector<std::uint8_t>> converted(static_cast<std::size_t>(channels),
                                                     std::vector<std::uint8_t>(kBlock * bytes));
    std::optional<Progress> progress(std::in_place, "Exporting", read.sampleCount, read.sampleRate);
    int status = 0;
    for (std::int64_t position = 0; position < read.sampleCount && status == 0;
         position += kBlock) {
      const std::int64_t count = std::min(kBlock, read.sampleCount - position);
      std::int64_t got = 0;
      if ((status = source.Read(position, count, readBuffers, got)) != 0) break;
      std::vector<void*> blocks;
      for (int c = 0; c < channels; ++c) {
        Convert(planes[static_cast<std::size_t>(c)].data(), count, code,
                converted[static_cast<std::size_t>(c)].data());
        blocks.push_back(converted[static_cast<std::size_t>(c)].data());
      }
      HostWriteSamples samples(position, count, blocks, format);
      status = plugIn.Call(kiva::kSelWriteSamples, start.handle, &samples);
      progress->Update(position + count);
    }
    progress.reset();  // the line ends before anything else is said
    HostFinishWrite finish(format);
    const int finished = plugIn.Call(kiva::kSelFinishWrite, start.handle, &finish);
    if (status != 0) return Fail("writing the export failed", status, {}, out, json);
    if (finished != 0) {
      return Fail("finishing the export failed", finished, finish.reporter.Messages(), out, json);
    }
    // Only a movie that reads back with its channels replaces what the user had.
    std::string coding;
    try {
      const OpenedFile written(plugIn, out.PlugInPath());
      if (written.Format().labels.size() != static_cast<std::size_t>(channels)) {
        throw OutputError("the movie written does not read back with its channels");
      }
      coding = written.Open().description;
    } catch (const PlugInError& error) {
      return Fail("the movie written does not read back", error.Status(), error.Messages(), out,
                  json);
    }
    const std::optional<std::int64_t> bitRate = StoredAudioBitRate(out.TemporaryPath());
    out.Commit();
    if (json) {
      Results() << JsonText(nlohmann::ordered_json{
                       {"input", InputName(input)},
                       {"output", output},
                       {"settings", ToUtf8(format.privateSettings)},
                       {"format", info.description},
                       {"sampleType", {{"code", code}, {"name", SampleTypeName(code)}}},
                       {"frames", read.sampleCount},
                       {"durationSeconds", static_cast<double>(read.sampleCount) / read.sampleRate},
                       {"channels", channels},
                       {"sampleRate", read.sampleRate},
                       {"estimatedBytes", info.estimate},
                       {"coding", coding},
                       {"storedBitRate", bitRate ? nlohmann::json(*bitRate) : nlohmann::json()},
                       {"bytes", out.CommittedSize()}})
                << '\n';
    } else {
      Summary() << "Wrote " << Counted(read.sampleCount, "frame") << " of "
                << Counted(channels, "channel") << " at " << read.sampleRate << " Hz to "
                << out.Name() << ": " << coding;
      if (bitRate) Summary() << ", " << (*bitRate + 500) / 1000 << " kb/s as stored";
      Summary() << '\n';
    }
    return 0;
  } catch (const PlugInError& error) {
    return ReportFailure(error, input, json);
  } catch (const OutputError& error) {
    return ReportOutputFailure(output, error, json);
  }
}

}  // namespace kivahost
