#include "Console.h"

#include <iostream>
#include <ostream>
#include <streambuf>

namespace kivahost {

namespace {

bool quiet = false;
bool dataOnStandardOutput = false;
std::string standardInputCopy;

// A stream that drops what it is given: the summary of a quiet run.
class NullBuffer final : public std::streambuf {
 protected:
  int overflow(int character) override { return character == EOF ? 0 : character; }
};

}  // namespace

void SetQuiet(bool wanted) { quiet = wanted; }
bool IsQuiet() { return quiet; }

void SendDataToStandardOutput() { dataOnStandardOutput = true; }

std::ostream& Summary() {
  static NullBuffer nothing;
  static std::ostream nothingStream(&nothing);
  if (quiet) return nothingStream;
  return Results();
}

std::ostream& Results() { return dataOnStandardOutput ? std::cerr : std::cout; }

void NameStandardInputCopy(const std::string& path) { standardInputCopy = path; }

std::string InputName(const std::string& path) {
  return !standardInputCopy.empty() && path == standardInputCopy ? "standard input" : path;
}

std::string WithInputNamed(std::string text) {
  if (standardInputCopy.empty()) return text;
  for (auto at = text.find(standardInputCopy); at != std::string::npos;
       at = text.find(standardInputCopy, at)) {
    text.replace(at, standardInputCopy.size(), "standard input");
  }
  return text;
}

std::string OutputName(const std::string& path) { return path == "-" ? "standard output" : path; }

void Warn(const std::string& text) { std::cerr << "kivahost: warning: " << text << '\n'; }

}  // namespace kivahost
