// kivahost: loads a KivaQT bundle the way an audio editor does and drives it from the command
// line.

#include "Commands.h"
#include "PlugIn.h"

#include <orb/app/App.h>

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>

int main(int argc, char** argv) {
  CLI::App cli{"kivahost: the reference host for the KivaQT plug-in"};
  cli.require_subcommand(1);

  const char* bundleFromEnvironment = std::getenv("KIVA_BUNDLE");
  std::string bundlePath =
      bundleFromEnvironment != nullptr ? bundleFromEnvironment : KIVAHOST_DEFAULT_BUNDLE;
  cli.add_option("--bundle", bundlePath, "plug-in bundle directory (or its .so)")
      ->capture_default_str();

  bool json = false;
  CLI::App* info = cli.add_subcommand("info", "print the plug-in's identity and formats");
  info->add_flag("--json", json, "machine-readable output");

  std::string samplePath = KIVAHOST_DEMO_SAMPLE;
  CLI::App* demo = cli.add_subcommand("demo", "run the plug-in on the sample the build made");
  demo->add_option("--sample", samplePath, "the movie to use")->capture_default_str();

  CLI11_PARSE(cli, argc, argv);

  // The host's application object must exist before any plug-in runs.
  orb::app::App app;
  try {
    const kivahost::PlugIn plugIn(bundlePath);
    if (info->parsed()) return kivahost::RunInfo(plugIn, json);
    return kivahost::RunDemo(plugIn, samplePath);
  } catch (const std::exception& error) {
    std::cerr << "kivahost: " << error.what() << '\n';
    return 2;
  }
}
