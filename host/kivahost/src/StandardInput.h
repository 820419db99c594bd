// "-" as an input: the plug-in opens files by path and seeks in them, so standard input is first
// copied whole into a temporary file, removed when the copy goes (or the run is interrupted).
#pragma once

#include "OutputFile.h"

#include <string>

namespace kivahost {

class StandardInputCopy {
 public:
  // Reads standard input to its end; throws OutputError when it cannot be kept.
  StandardInputCopy();
  const std::string& Path() const { return file.TemporaryPath(); }

 private:
  OutputFile file;
};

}  // namespace kivahost
