// kivahost: loads a KivaQT bundle the way an audio editor does and drives it from the command
// line.

#include "Commands.h"
#include "Console.h"
#include "Export.h"
#include "Failure.h"
#include "InputFile.h"
#include "Interruption.h"
#include "OutputFile.h"
#include "Pictures.h"
#include "PlugIn.h"
#include "Probe.h"
#include "Settings.h"

#include <kiva/KivaVersion.h>
#include <orb/app/App.h>

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace {

// The first of `candidates` (relative to kivahost's own directory, separated by ':') that exists:
// an installed kivahost finds the installed bundle and sample, a built one those of its build.
std::string BesideThisProgram(const std::string& candidates) {
  std::error_code error;
  const auto directory = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  std::string first;
  std::size_t start = 0;
  while (start <= candidates.size()) {
    const std::size_t end = std::min(candidates.find(':', start), candidates.size());
    const auto path = (directory / candidates.substr(start, end - start)).lexically_normal();
    if (first.empty()) first = path.string();
    if (std::filesystem::exists(path, error)) return path.string();
    start = end + 1;
  }
  return first;
}

// The product version a bundle's Info.plist states, or "unknown".
std::string BundleVersion(const std::string& bundlePath) {
  std::ifstream plist(bundlePath + "/Contents/Info.plist");
  const std::string text((std::istreambuf_iterator<char>(plist)), std::istreambuf_iterator<char>());
  static const std::regex kVersion(
      R"(<key>CFBundleShortVersionString</key>\s*<string>([^<]*)</string>)");
  std::smatch match;
  return std::regex_search(text, match, kVersion) ? match[1].str() : "unknown";
}

// The subcommand nearest to a mistyped one, by edit distance; empty when none is near.
std::string Nearest(const std::string& typed, const std::vector<CLI::App*>& commands) {
  std::string best;
  std::size_t bestDistance = 3;  // more edits than this is another word
  for (const CLI::App* command : commands) {
    const std::string& name = command->get_name();
    std::vector<std::size_t> row(name.size() + 1);
    for (std::size_t j = 0; j <= name.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= typed.size(); ++i) {
      std::size_t diagonal = row[0];
      row[0] = i;
      for (std::size_t j = 1; j <= name.size(); ++j) {
        const std::size_t above = row[j];
        row[j] = std::min(
            {row[j] + 1, row[j - 1] + 1, diagonal + (typed[i - 1] == name[j - 1] ? 0 : 1)});
        diagonal = above;
      }
    }
    if (row[name.size()] < bestDistance || (name.rfind(typed, 0) == 0 && !typed.empty())) {
      bestDistance = std::min(bestDistance, row[name.size()]);
      best = name;
    }
  }
  return best;
}

// Parses the command line; -1 to go on, else the exit status: 0 after --help or --version, 2 for
// any usage error (with a suggestion for a mistyped command).
int ParseCommandLine(CLI::App& cli, int argc, char** argv) {
  try {
    cli.parse(argc, argv);
    return -1;
  } catch (const CLI::ParseError& error) {
    if (cli.exit(error) == 0) return 0;  // --help, --version
    for (int i = 1; i < argc; ++i) {
      const std::string word = argv[i];
      if (word.empty() || word[0] == '-' || std::string(argv[i - 1]) == "--bundle") continue;
      const std::vector<CLI::App*> commands = cli.get_subcommands({});
      if (std::any_of(commands.begin(), commands.end(),
                      [&word](const CLI::App* command) { return command->get_name() == word; })) {
        break;
      }
      const std::string nearest = Nearest(word, commands);
      std::cerr << "kivahost: '" << word << "' is not a command"
                << (nearest.empty() ? "" : "; did you mean '" + nearest + "'?") << '\n';
      break;
    }
    return 2;
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App cli{"kivahost: the reference host for the KivaQT plug-in"};
  cli.require_subcommand(1);
  cli.fallthrough();  // -q, -v and --bundle also after the command

  const char* bundleFromEnvironment = std::getenv("KIVA_BUNDLE");
  std::string bundlePath = bundleFromEnvironment != nullptr ? bundleFromEnvironment
                                                            : BesideThisProgram(KIVAHOST_BUNDLES);
  cli.set_version_flag("--version", [&bundlePath] {
    return "kivahost " KIVAHOST_VERSION "\nhost interface " +
           std::to_string(kiva::kKivaInterfaceVersionMajor) + "." +
           std::to_string(kiva::kKivaInterfaceVersionMinor) + "\nbundle " + bundlePath +
           ": KivaQT " + BundleVersion(bundlePath);
  });
  // Defaults that are paths are told in words: the help (and the manual page made of it) would
  // otherwise name wherever this kivahost happens to be. `--version` names the bundle in use.
  cli.add_option("--bundle", bundlePath,
                 "plug-in bundle directory (or its .so); default: $KIVA_BUNDLE, else the bundle "
                 "that comes with kivahost");

  int quiet = 0;
  int verbose = 0;
  cli.add_flag("-q,--quiet", quiet,
               "print no summaries and no progress (results asked for, warnings and errors stay)");
  cli.add_flag("-v,--verbose", verbose,
               "also print the plug-in's trace (-vv: more of it); NOX_TRACE, when set, decides");
  cli.footer(
      "FILE may be - for standard input, and -o - writes to standard output (then every summary "
      "goes to standard error).\n"
      "Exit status: 0 success, 1 failure, 2 usage error; ended by a signal, 128 + its number, "
      "with every temporary removed: 129 SIGHUP (the terminal closed), 130 SIGINT (Ctrl-C), 131 "
      "SIGQUIT, 141 SIGPIPE (the reader of the output went away), 143 SIGTERM.");

  bool json = false;
  CLI::App* info = cli.add_subcommand("info", "print the plug-in's identity and formats");
  info->add_flag("--json", json, "machine-readable output");

  std::string file;
  CLI::App* probe = cli.add_subcommand("probe", "everything the plug-in reports about a file");
  probe->add_option("FILE", file, "media file")->required();
  probe->add_flag("--json", json, "machine-readable output");

  std::string output;
  std::int64_t start = 0;
  std::int64_t frames = -1;
  CLI::App* decode = cli.add_subcommand("decode", "read a file's audio into a float WAV file");
  decode->add_option("FILE", file, "media file")->required();
  decode->add_option("-o,--output", output, "the WAV file to write")->required();
  decode->add_option("--start", start, "first frame")->check(CLI::NonNegativeNumber);
  decode->add_option("--frames", frames, "number of frames (default: to the end)")
      ->check(CLI::NonNegativeNumber);
  decode->add_flag("--json", json, "machine-readable output");

  int frameIndex = 0;
  std::string size = "0x0";
  CLI::App* frame = cli.add_subcommand("frame", "write one video frame as PNG");
  frame->add_option("FILE", file, "media file")->required();
  frame
      ->add_option("--index", frameIndex,
                   "frame number, from 0: the frame on screen at INDEX times the mean frame "
                   "duration (where frames come at irregular times, a slot of that duration, "
                   "not the INDEX-th frame stored)")
      ->check(CLI::NonNegativeNumber);
  frame->add_option("--size", size, "WIDTHxHEIGHT (default: the movie's own)");
  frame->add_option("-o,--output", output, "the PNG file to write")->required();
  frame->add_flag("--json", json, "machine-readable output");

  CLI::App* preview = cli.add_subcommand("preview", "waveforms and frames of a file as PNG");
  preview->add_option("FILE", file, "media file")->required();
  preview->add_option("-o,--output", output, "the PNG file to write")->required();
  bool dbfs = false;
  preview->add_flag(
      "--dbfs", dbfs,
      "draw the level in dBFS (0 to -60) rather than the value, so quiet sound shows");

  std::string settings;
  std::string sampleType = "16";
  CLI::App* exportCommand =
      cli.add_subcommand("export", "read a file through the plug-in into a new QuickTime movie");
  exportCommand->add_option("FILE", file, "media file to read")->required();
  exportCommand->add_option("-o,--output", output, "the movie to write")->required();
  exportCommand->add_option("--settings", settings, "private settings string");
  exportCommand->add_option("--sample-type", sampleType, "8, 16, 24 or 32f")->capture_default_str();
  std::string formatName;
  exportCommand->add_option("--format", formatName,
                            "export format as the settings dialog lists it (aac, alac, ac3, ...)");
  exportCommand->add_flag("--json", json, "machine-readable output");

  std::string script;
  CLI::App* settingsCommand =
      cli.add_subcommand("settings", "show the export settings dialog and print the settings");
  settingsCommand->add_option("--settings", settings, "private settings string to start from");
  settingsCommand->add_option("--script", script,
                              "answer dialogs by script: \"Dialog: Control=Item, Button; ...\"");

  std::string samplePath = BesideThisProgram(KIVAHOST_SAMPLES);
  std::string outputDirectory = std::filesystem::path(samplePath).parent_path().string();
  CLI::App* demo = cli.add_subcommand("demo", "run the plug-in on the sample the build made");
  demo->add_option("--sample", samplePath,
                   "the movie to use (default: the demo movie that comes with kivahost)");
  demo->add_option("--output-directory", outputDirectory,
                   "where the demo writes its results (default: the demo movie's directory)");

  if (const int status = ParseCommandLine(cli, argc, argv); status >= 0) return status;
  kivahost::RemoveTemporariesOnInterruption();
  kivahost::SetQuiet(quiet > 0);
  // Read by the host's trace facility when the plug-in first traces.
  if (verbose > 0) setenv("NOX_TRACE", verbose > 1 ? "LmLog.Plug-in=7" : "LmLog.Plug-in=5", 0);
  if (!output.empty()) {
    try {
      if (kivahost::ResolveOutput(output).descriptor == STDOUT_FILENO) {
        kivahost::SendDataToStandardOutput();
      }
    } catch (const kivahost::OutputError&) {
      // Told when the output is made, with the command's own words.
    }
  }
  std::optional<kivahost::InputFile> input;
  if (!file.empty()) {
    try {
      input.emplace(file);
    } catch (const kivahost::OutputError& error) {
      return kivahost::Report(
          {"cannot read " + (file == "-" ? std::string("standard input") : file),
           0,
           {},
           error.what()},
          json);
    }
    file = input->Path();
  }

  // The host's application object must exist before any plug-in runs.
  orb::app::App app;
  try {
    const kivahost::PlugIn plugIn(bundlePath);
    if (info->parsed()) return kivahost::RunInfo(plugIn, json);
    if (probe->parsed()) return kivahost::RunProbe(plugIn, file, json);
    if (decode->parsed()) return kivahost::RunDecode(plugIn, file, output, start, frames, json);
    if (frame->parsed()) {
      int width = 0;
      int height = 0;
      if (std::sscanf(size.c_str(), "%dx%d", &width, &height) != 2 || width < 0 || height < 0) {
        return kivahost::Report({"--size takes WIDTHxHEIGHT, such as 640x360", 0, {}, ""}, json, 2);
      }
      return kivahost::RunFrame(plugIn, file, frameIndex, width, height, output, json);
    }
    if (preview->parsed()) {
      return kivahost::RunPreview(
          plugIn, file, output, dbfs ? kivahost::LevelScale::kDbfs : kivahost::LevelScale::kLinear);
    }
    if (exportCommand->parsed()) {
      if (!formatName.empty()) {
        kivahost::ChooseFormatByName(plugIn, formatName, settings);
      } else if (!settings.empty()) {
        formatName = kivahost::RestoreSavedSettings(plugIn, settings);
      }
      return kivahost::RunExport(plugIn, file, output, settings, sampleType, formatName, json);
    }
    if (settingsCommand->parsed()) return kivahost::RunSettings(plugIn, settings, script);
    return kivahost::RunDemo(plugIn, samplePath, outputDirectory);
  } catch (const std::exception& error) {
    // The bundle that does not load, a dialog that cannot be shown or answered: failures.
    return kivahost::Report({error.what(), 0, {}, ""}, json, 1);
  }
}
