// An output that never costs the user what was there before. A file is written under a temporary
// name beside its target (beside a link's target: the link stays) and moved over the target only
// when it is complete, so a failure, a full disk or an interruption leaves the old file byte for
// byte and nothing half-written under the target's name. A device, a pipe, a socket or standard
// output is never replaced: the output is made whole in a private temporary first (writers seek
// back to finish their headers) and then written into it, every write checked.
#pragma once

#include "OutputTarget.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace kivahost {

// Why an output cannot be written, in plain words ("no space left on the device"); shown as
// "cannot write TARGET: " and this.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class OutputFile {
 public:
  // Checks that `target` can be written and is none of `inputs` (the same file through any link
  // or path), then reserves the temporary. Leftover temporaries of killed runs in the temporary's
  // directory are removed first. Throws OutputError with the cause; nothing is written then.
  OutputFile(std::string target, const std::vector<std::string>& inputs);
  // Removes the temporary unless the output was committed.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // The output as the user named it.
  const std::string& Target() const { return target; }
  // What the output is written to, as a summary says it: the path, "standard output", or
  // "NAME (a link to TARGET)".
  const std::string& Name() const { return destination.name; }
  // Where the output is written until it is committed.
  const std::string& TemporaryPath() const { return temporary; }
  // The temporary as a path the host's records can carry (UTF-8 only), for the plug-in.
  const std::string& PlugInPath() const { return plugInPath; }
  // The likely cause when a writer that does not say why has failed: no room left on the
  // temporary's device, or the process's limit on file size reached; empty when neither.
  std::string FailureCause() const;
  // The open temporary, for writers that take a descriptor.
  int Descriptor() const { return descriptor; }
  // Writes all of `size` bytes at the end of the temporary; throws OutputError on failure.
  void Write(const void* data, std::size_t size);
  // Puts the complete output in place: a file is flushed to the disk and moved over its target
  // (with the target's permissions when it existed), a stream is written into. Throws OutputError
  // on failure, leaving a file's target untouched.
  void Commit();
  // The size of the output committed, in bytes.
  long long CommittedSize() const { return committedSize; }

 private:
  void CheckFileTarget(const std::vector<std::string>& inputs);
  void CheckStreamTarget();
  void Reserve(const std::string& name);
  void CommitFile();
  void CommitStream();
  void Discard();

  std::string target;
  OutputTarget destination;
  std::string directory;  // where the temporary is
  std::string temporary;
  std::string plugInPath;
  int descriptor = -1;
  int directoryDescriptor = -1;  // held while the plug-in reaches the temporary through it
  int slot = -1;                 // in the list of temporaries removed on interruption
  bool committed = false;
  long long committedSize = 0;
};

// Where temporary files go: $TMPDIR, else /tmp.
std::string TemporaryDirectory();

// Whether `path` can be given to the plug-in as it is: the host's records carry only UTF-8.
bool IsUtf8(const std::string& path);

// A plain sentence for an errno value, as the user should read it.
std::string DescribeError(int error);

}  // namespace kivahost
