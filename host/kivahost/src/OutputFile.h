// An output file that never costs the user what was there before: it is written under a
// temporary name beside its target and moved over the target only when it is complete, so a
// failure, a full disk or an interruption leaves the old file byte for byte and nothing
// half-written under the target's name.
#pragma once

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
  // Checks that `target` can be written ("-": standard output, when it is not a terminal) and is
  // none of `inputs` (the same file through any link or path), then reserves the temporary beside
  // it. Leftover temporaries of killed runs in that directory are removed first. Throws OutputError
  // with the cause; nothing is written then.
  OutputFile(std::string target, const std::vector<std::string>& inputs);
  // Removes the temporary unless the output was committed.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  const std::string& Target() const { return target; }
  // Where the output is written until it is committed.
  const std::string& TemporaryPath() const { return temporary; }
  // Whether the device of the target's directory has no room left (less than a mebibyte): the
  // likely cause when a writer that does not say why has failed.
  bool DeviceIsFull() const;
  // The open temporary, for writers that take a descriptor.
  int Descriptor() const { return descriptor; }
  // Writes all of `size` bytes at the end of the temporary; throws OutputError on failure.
  void Write(const void* data, std::size_t size);
  // Flushes the temporary to the disk and moves it over the target (with the target's permissions
  // when it existed); throws OutputError on failure, leaving the target untouched.
  void Commit();
  // The size of the output committed, in bytes (also when it went to standard output).
  long long CommittedSize() const { return committedSize; }

 private:
  // "-": the output is made whole in a temporary, then copied to standard output on Commit.
  void OpenForStandardOutput();
  void CopyToStandardOutput();

  std::string target;
  std::string directory;  // where the temporary is
  std::string temporary;
  int descriptor = -1;
  int slot = -1;  // in the list of temporaries removed on interruption
  bool committed = false;
  bool toStandardOutput = false;
  long long committedSize = 0;
};

// Installs the handler that ends the process on SIGINT (status 130) and SIGTERM (143) after
// removing every temporary still in use.
void RemoveTemporariesOnInterruption();

// Where temporary files go: $TMPDIR, else /tmp.
std::string TemporaryDirectory();

// A plain sentence for an errno value, as the user should read it.
std::string DescribeError(int error);

}  // namespace kivahost
