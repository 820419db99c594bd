// Relocatable memory blocks in the classic style: a handle points at a master pointer, which
// points at the data (or is null for an empty handle). Settings and sound descriptions travel
// as handles; whoever holds one disposes of it exactly once.
#pragma once

#include <cstddef>

namespace kiva {

using Handle = char**;

// A new handle of `size` bytes (uninitialised), or null when memory is short.
Handle NewHandle(std::size_t size);
// A handle whose master pointer is null (no data block).
Handle NewEmptyHandle();
// Frees the data and the handle. A null handle is ignored.
void DisposeHandle(Handle handle);
// The data size in bytes; 0 for a null or empty handle.
std::size_t GetHandleSize(Handle handle);

}  // namespace kiva
