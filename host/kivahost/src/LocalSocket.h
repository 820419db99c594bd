// A local (Unix domain) socket at a path, connected to as a stream: an output or an input that a
// listening program serves.
#pragma once

#include <string>

namespace kivahost {

// Connects to the socket at `path`; answers the descriptor, or -1 with errno set (ENAMETOOLONG
// for a path too long for a socket's address).
int ConnectToLocalSocket(const std::string& path);

}  // namespace kivahost
