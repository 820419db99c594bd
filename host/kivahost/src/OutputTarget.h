// What a path named as an output is, once its links are followed. A regular file (or a name
// where none is yet) is replaced whole; a device, a pipe, a socket or a descriptor is a stream,
// written into as it is and never replaced: /dev/null stays /dev/null.
#pragma once

#include <string>

namespace kivahost {

struct OutputTarget {
  enum class Kind {
    kFile,    // `path` is the file to make or replace: the last target of a chain of links
    kStream,  // written into: `descriptor` when it is one of ours, else `path` opened
  };
  Kind kind = Kind::kFile;
  std::string path;
  int descriptor = -1;  // a descriptor of this process the output goes to (standard output: 1)
  bool isSocket = false;
  // How summaries name it: the path as given, "standard output", or "NAME (a link to TARGET)".
  std::string name;
};

// The directory part of `path`, "." for a bare name.
std::string DirectoryOf(const std::string& path);

// Follows `given` through links (at most 40, as the kernel does; a loop is an OutputError) to
// what it names. "-" is standard output. Throws OutputError for a directory or an unreadable
// link.
OutputTarget ResolveOutput(const std::string& given);

}  // namespace kivahost
