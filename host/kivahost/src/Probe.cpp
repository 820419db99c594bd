#include "Probe.h"

#include "Console.h"
#include "Failure.h"
#include "JsonText.h"
#include "Naming.h"
#include "OpenedFile.h"
#include "StoredBitRate.h"

#include <nlohmann/json.hpp>

#include <iomanip>
#include <iostream>
#include <optional>

namespace kivahost {

namespace {

// Kilobits per second as media tools print them: thousands of bits, the remainder dropped.
std::string KilobitsPerSecond(std::int64_t bitsPerSecond) {
  return std::to_string(bitsPerSecond / 1000) + " kb/s";
}

void PrintProbe(const std::string& path, const OpenedFile& file,
                const std::optional<std::int64_t>& storedBitRate) {
  const HostFormat& format = file.Format();
  Results() << "File:        " << InputName(path) << "\n"
            << "Description: " << file.Open().description << "\n"
            << "Format ID:   " << format.formatID << "\n";
  if (format.labels.empty()) {
    Results() << "Channels:    none (no audio)\n";
  } else {
    Results() << "Channels:    " << format.labels.size() << " (" << ChannelSetName(format.labels)
              << ")\n"
              << "Sample rate: " << format.sampleRate << " Hz\n"
              << "Samples:     " << SampleTypeName(format.sampleType)
              << ", as the plug-in delivers them\n"
              << "Length:      " << Counted(format.sampleCount, "frame");
    if (format.sampleRate > 0) {
      Results() << " (" << std::fixed << std::setprecision(3)
                << static_cast<double>(format.sampleCount) / format.sampleRate << " s)";
    }
    Results() << "\nBit rate:    "
              << (storedBitRate ? KilobitsPerSecond(*storedBitRate) : std::string("unknown"))
              << " as stored (" << KilobitsPerSecond(file.Open().bitRate) << " decoded to "
              << SampleTypeName(format.sampleType) << ")\n";
  }
  const VideoStreamFacts& video = format.video.facts;
  if (video.streamCount > 0) {
    Results() << "Video:       " << video.description << ", " << video.width << "x" << video.height
              << ", " << Counted(video.frameCount, "frame") << " at " << std::fixed
              << std::setprecision(3) << video.frameRate << " fps (" << video.rateNumerator << "/"
              << video.rateDenominator << "), pixel aspect " << video.pixelAspectRatio << "\n";
  }
  Results() << "Settings:    " << ToUtf8(format.privateSettings) << "\n";
}

nlohmann::ordered_json ProbeToJson(const std::string& path, const OpenedFile& file,
                                   const std::optional<std::int64_t>& storedBitRate) {
  const HostFormat& format = file.Format();
  nlohmann::ordered_json labels = nlohmann::ordered_json::array();
  for (const auto label : format.labels) {
    labels.push_back({{"code", label}, {"name", LabelJsonName(label)}});
  }
  // Facts that a file without audio does not have are null, not zero.
  nlohmann::ordered_json channelSet;
  if (!format.labels.empty()) channelSet = ChannelSetName(format.labels);
  nlohmann::ordered_json duration;
  if (format.sampleRate > 0) {
    duration = static_cast<double>(format.sampleCount) / format.sampleRate;
  }
  nlohmann::ordered_json stored;
  if (storedBitRate) stored = *storedBitRate;
  nlohmann::ordered_json out{
      {"file", InputName(path)},
      {"description", file.Open().description},
      {"formatID", format.formatID},
      {"channels", format.labels.size()},
      {"channelSet", channelSet},
      {"channelLabels", labels},
      {"sampleRate", format.sampleRate},
      {"sampleType", {{"code", format.sampleType}, {"name", SampleTypeName(format.sampleType)}}},
      {"sampleCount", format.sampleCount},
      {"durationSeconds", duration},
      {"bitRate", {{"unit", "bit/s"}, {"stored", stored}, {"decoded", file.Open().bitRate}}},
      {"privateSettings", ToUtf8(format.privateSettings)}};
  const VideoStreamFacts& video = format.video.facts;
  if (video.streamCount > 0) {
    out["video"] = {{"description", video.description},
                    {"width", video.width},
                    {"height", video.height},
                    {"frameCount", video.frameCount},
                    {"frameRate", video.frameRate},
                    {"frameRateRational", {video.rateNumerator, video.rateDenominator}},
                    {"pixelAspectRatio", video.pixelAspectRatio}};
  }
  return out;
}

}  // namespace

int RunProbe(const PlugIn& plugIn, const std::string& path, bool json) {
  try {
    const OpenedFile file(plugIn, path);
    const auto storedBitRate =
        file.Format().labels.empty() ? std::nullopt : StoredAudioBitRate(path);
    if (json) {
      Results() << JsonText(ProbeToJson(path, file, storedBitRate)) << '\n';
    } else {
      PrintProbe(path, file, storedBitRate);
    }
    return 0;
  } catch (const PlugInError& error) {
    return ReportFailure(error, path, json);
  }
}

}  // namespace kivahost
