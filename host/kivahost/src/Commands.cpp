#include "Commands.h"

#include "Console.h"
#include "Export.h"
#include "Failure.h"
#include "JsonText.h"
#include "Naming.h"
#include "OpenedFile.h"
#include "OutputFile.h"
#include "Pictures.h"
#include "Probe.h"
#include "Progress.h"
#include "Settings.h"

#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <memory>
#include <optional>

namespace kivahost {

namespace {

nlohmann::ordered_json FormatToJson(const FormatDescription& format) {
  return {{"name", format.name},
          {"id", format.id},
          {"filter", format.filterText},
          {"extensions", format.extensions}};
}

void PrintFormat(const char* kind, const FormatDescription& format) {
  Results() << kind << " format: " << format.name << " [" << format.id << "]\n"
            << "  filter:     " << format.filterText << "\n"
            << "  extensions:";
  for (const auto& extension : format.extensions) Results() << ' ' << extension;
  Results() << '\n';
}

void PrintDescription(const PlugInDescription& description) {
  Results() << "Plug-in:    " << description.displayName << "\n"
            << "Identifier: " << description.identifier << "\n"
            << "Interface:  " << description.interfaceMajor << '.' << description.interfaceMinor
            << "\n";
  if (description.identifier.empty()) {
    Results() << "(the plug-in described nothing: its media layer is not usable here)\n";
  }
  for (const auto& format : description.importFormats) PrintFormat("Import", format);
  for (const auto& format : description.exportFormats) PrintFormat("Export", format);
}

}  // namespace

int RunInfo(const PlugIn& plugIn, bool json) {
  const PlugInDescription& description = plugIn.Description();
  if (json) {
    nlohmann::ordered_json out{
        {"library", plugIn.LibraryPath()},
        {"status", plugIn.InfoStatus()},
        {"interfaceVersion", {description.interfaceMajor, description.interfaceMinor}},
        {"identifier", description.identifier},
        {"displayName", description.displayName},
        {"importFormats", nlohmann::ordered_json::array()},
        {"exportFormats", nlohmann::ordered_json::array()}};
    for (const auto& format : description.importFormats) {
      out["importFormats"].push_back(FormatToJson(format));
    }
    for (const auto& format : description.exportFormats) {
      out["exportFormats"].push_back(FormatToJson(format));
    }
    Results() << JsonText(out) << '\n';
  } else {
    PrintDescription(description);
  }
  return plugIn.InfoStatus() == 0 ? 0 : 1;
}

namespace {

struct SndfileCloser {
  void operator()(SNDFILE* file) const { sf_close(file); }
};

}  // namespace

int RunDecode(const PlugIn& plugIn, const std::string& path, const std::string& output,
              std::int64_t start, std::int64_t frames, bool json) {
  try {
    const OpenedFile file(plugIn, path);
    const HostFormat& format = file.Format();
    const int channels = static_cast<int>(format.labels.size());
    if (channels == 0 || format.sampleRate <= 0) {
      return Report({"cannot decode " + path, 0, {}, "the file has no audio track"}, json);
    }
    const std::int64_t length = format.sampleCount;
    if ((start >= length && frames != 0) || (frames > 0 && frames > length - start)) {
      const std::string last =
          frames < 0 ? std::string("the end") : std::to_string(start + frames - 1);
      return Report({"frames " + std::to_string(start) + " to " + last + " lie outside " + path +
                         ", which holds " + std::to_string(length) + " frames (0 to " +
                         std::to_string(length - 1) + ")",
                     0,
                     {},
                     ""},
                    json, 2);
    }
    const std::int64_t end = frames < 0 ? length : start + frames;
    OutputFile out(output, {path});
    SF_INFO info{};
    info.samplerate = format.sampleRate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    std::unique_ptr<SNDFILE, SndfileCloser> wav(
        sf_open_fd(out.Descriptor(), SFM_WRITE, &info, SF_FALSE));
    if (!wav) throw OutputError(sf_strerror(nullptr));
    constexpr std::int64_t kBlock = 65536;
    std::vector<std::vector<float>> planes(static_cast<std::size_t>(channels),
                                           std::vector<float>(kBlock));
    std::vector<float*> buffers;
    for (auto& plane : planes) buffers.push_back(plane.data());
    std::vector<float> interleaved(static_cast<std::size_t>(kBlock * channels));
    std::optional<Progress> progress(std::in_place, "Decoding", end - start, format.sampleRate);
    for (std::int64_t position = start; position < end; position += kBlock) {
      const std::int64_t count = std::min(kBlock, end - position);
      std::int64_t read = 0;
      if (const int status = file.Read(position, count, buffers, read); status != 0) {
        progress.reset();
        return Report({"reading " + path + " at frame " + std::to_string(position) + " failed",
                       status,
                       {},
                       ""},
                      json);
      }
      for (std::int64_t i = 0; i < count; ++i) {
        for (int c = 0; c < channels; ++c) {
          interleaved[static_cast<std::size_t>(i * channels + c)] =
              planes[static_cast<std::size_t>(c)][static_cast<std::size_t>(i)];
        }
      }
      errno = 0;
      if (sf_writef_float(wav.get(), interleaved.data(), count) != count) {
        const std::string cause = out.FailureCause();
        throw OutputError(!cause.empty() ? cause
                          : errno != 0   ? DescribeError(errno)
                                         : sf_strerror(wav.get()));
      }
      progress->Update(position + count - start);
    }
    progress.reset();
    // Closing writes the final header; only then is the file complete.
    errno = 0;
    if (sf_close(wav.release()) != 0) {
      throw OutputError(errno != 0 ? DescribeError(errno) : "the WAV header could not be written");
    }
    out.Commit();
    if (json) {
      Results() << JsonText(nlohmann::ordered_json{
                       {"input", InputName(path)},
                       {"output", output},
                       {"format", "WAV, 32-bit float"},
                       {"startFrame", start},
                       {"frames", end - start},
                       {"durationSeconds", static_cast<double>(end - start) / format.sampleRate},
                       {"channels", channels},
                       {"sampleRate", format.sampleRate},
                       {"bytes", out.CommittedSize()}})
                << '\n';
    } else {
      Summary() << "Wrote " << Counted(end - start, "frame") << " of "
                << Counted(channels, "channel") << " at " << format.sampleRate << " Hz to "
                << out.Name() << '\n';
    }
    return 0;
  } catch (const PlugInError& error) {
    return ReportFailure(error, path, json);
  } catch (const OutputError& error) {
    return ReportOutputFailure(output, error, json);
  }
}

int RunDemo(const PlugIn& plugIn, const std::string& samplePath,
            const std::string& outputDirectory) {
  PrintDescription(plugIn.Description());
  Summary() << "Sample:     " << samplePath << "\n\n";
  if (const int status = RunProbe(plugIn, samplePath, false); status != 0) return status;
  Summary() << '\n';
  if (const int status =
          RunDecode(plugIn, samplePath, outputDirectory + "/demo-decoded.wav", 0, -1, false);
      status != 0) {
    return status;
  }
  if (const int status = RunPreview(plugIn, samplePath, outputDirectory + "/demo-preview.png",
                                    LevelScale::kLinear);
      status != 0) {
    return status;
  }
  Summary() << '\n';
  const std::string exported = outputDirectory + "/demo-export.mov";
  if (const int status = RunExport(plugIn, samplePath, exported, "", "16"); status != 0) {
    return status;
  }
  Summary() << "\nRead back:\n";
  if (const int status = RunProbe(plugIn, exported, false); status != 0) return status;

  // The settings dialog, answered by script as a person would: AAC, then OK.
  Summary() << "\nExport settings dialog (scripted): format aac, OK\n";
  std::string settings;
  ChooseFormatByName(plugIn, "aac", settings);
  const std::string compressed = outputDirectory + "/demo-export-aac.mov";
  if (const int status = RunExport(plugIn, samplePath, compressed, settings, "16", "aac");
      status != 0) {
    return status;
  }
  Summary() << "\nRead back:\n";
  return RunProbe(plugIn, compressed, false);
}

}  // namespace kivahost
