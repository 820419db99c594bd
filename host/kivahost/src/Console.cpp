#include "Console.h"

#include <iostream>
#include <ostream>
#include <streambuf>

namespace kivahost {

namespace {

bool quiet = false;
bool dataOnStandardOutput = false;
// What the plug-in is given in place of the input, and the input's name.
std::string inputStandIn;
std::string inputName;

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

void NameInput(const std::string& path, const std::string& name) {
  inputStandIn = path;
  inputName = name;
}

std::string InputName(const std::string& path) {
  return !inputStandIn.empty() && path == inputStandIn ? inputName : path;
}

std::string WithInputNamed(std::string text) {
  if (inputStandIn.empty()) return text;
  for (auto at = text.find(inputStandIn); at != std::string::npos;
       at = text.find(inputStandIn, at + inputName.size())) {
    text.replace(at, inputStandIn.size(), inputName);
  }
  return text;
}

void Warn(const std::string& text) { std::cerr << "kivahost: warning: " << text << '\n'; }

}  // namespace kivahost
