#include "MemoryHandle.h"

#include <cstdlib>
#include <new>

namespace kiva {

namespace {

// The master pointer comes first so that the handle (its address) is the block's address.
struct HandleBlock {
  char* masterPointer = nullptr;
  std::size_t size = 0;
};

HandleBlock* BlockOf(Handle handle) { return reinterpret_cast<HandleBlock*>(handle); }

}  // namespace

Handle NewHandle(std::size_t size) {
  auto* block = new (std::nothrow) HandleBlock;
  if (block == nullptr) return nullptr;
  // malloc(0) may answer null; one byte keeps "a handle of size 0" distinct from "empty".
  block->masterPointer = static_cast<char*>(std::malloc(size == 0 ? 1 : size));
  if (block->masterPointer == nullptr) {
    delete block;
    return nullptr;
  }
  block->size = size;
  return &block->masterPointer;
}

Handle NewEmptyHandle() {
  auto* block = new (std::nothrow) HandleBlock;
  return block != nullptr ? &block->masterPointer : nullptr;
}

void DisposeHandle(Handle handle) {
  if (handle == nullptr) return;
  HandleBlock* block = BlockOf(handle);
  std::free(block->masterPointer);
  delete block;
}

std::size_t GetHandleSize(Handle handle) {
  if (handle == nullptr || *handle == nullptr) return 0;
  return BlockOf(handle)->size;
}

}  // namespace kiva
