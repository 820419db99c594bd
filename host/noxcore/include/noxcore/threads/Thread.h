#pragma once

#include <cstdint>

namespace noxcore::threads {

// The kernel's id of the calling thread (as shown by tools such as top -H).
std::uint64_t GetCurrentThreadID();

}  // namespace noxcore::threads
