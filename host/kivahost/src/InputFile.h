// An input as the plug-in can open it. The plug-in opens files by path and seeks in them:
// standard input, a pipe or a socket (`<(command)`, a FIFO) is copied whole into a temporary file
// first, read through one open so that a pipe's writer is never waited for twice; a file whose
// name is not UTF-8 (the host's records carry only UTF-8) is given to the plug-in as this
// process's descriptor of it. Results name the input as the user did.
#pragma once

#include "OutputFile.h"

#include <memory>
#include <string>

namespace kivahost {

class InputFile {
 public:
  // "-" is standard input. Throws OutputError when a copy cannot be made or kept.
  explicit InputFile(const std::string& given);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // The path to give the plug-in.
  const std::string& Path() const { return path; }

 private:
  void CopyFrom(int source);

  std::unique_ptr<OutputFile> copy;
  int descriptor = -1;
  std::string path;
};

}  // namespace kivahost
