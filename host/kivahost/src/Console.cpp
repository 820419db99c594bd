#include "Console.h"

#include <iostream>
#include <ostream>
#include <streambuf>

namespace kivahost {

namespace {

Verbosity verbosity = Verbosity::kNormal;
bool dataOnStandardOutput = false;
std::string standardInputCopy;

// A stream that drops what it is given: the summary of a quiet run.
class NullBuffer final : public std::streambuf {
 protected:
  int overflow(int character) override { return character == EOF ? 0 : character; }
};

}  // namespace

void SetVerbosity(Verbosity wanted) { verbosity = wanted; }
Verbosity CurrentVerbosity() { return verbosity; }

void SendDataToStandardOutput() { dataOnStandardOutput = true; }
bool StandardOutputCarriesData() { return dataOnStandardOutput; }

std::ostream& Summary() {
  static NullBuffer nothing;
  static std::ostream quiet(&nothing);
  if (verbosity == Verbosity::kQuiet) return quiet;
  return Results();
}

std::ostream& Results() { return dataOnStandardOutput ? std::cerr : std::cout; }

void NameStandardInputCopy(const std::string& path) { standardInputCopy = path; }

std::string InputName(const std::string& path) {
  return !standardInputCopy.empty() && path == standardInputCopy ? "standard input" : path;
}

std::string OutputName(const std::string& path) { return path == "-" ? "standard output" : path; }

void Warn(const std::string& text) { std::cerr << "kivahost: warning: " << text << '\n'; }

}  // namespace kivahost
