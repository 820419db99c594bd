// Signals that end kivahost never leave a temporary behind: every live temporary is registered
// here, where a handler can remove it without allocating, and the process ends with 128 + the
// signal's number, as a shell reports a process killed by it.
#pragma once

#include <string>

namespace kivahost {

// Installs the handler on SIGINT (130), SIGTERM (143), SIGHUP (129, a closed terminal), SIGQUIT
// (131) and SIGPIPE (141, the reader of an output went away), and ignores SIGXFSZ so that a write
// past the file-size limit fails with EFBIG, which an output reports and cleans up after.
void RemoveTemporariesOnInterruption();

// Registers a temporary to remove on interruption; answers the slot to release, -1 when every
// slot is taken (that temporary is then left to the next run's clean-up).
int RegisterTemporary(const std::string& path);
void UnregisterTemporary(int slot);

}  // namespace kivahost
