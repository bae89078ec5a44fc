#include "vm/state.h"

namespace quillmere {

void* vmRealloc(VmState& state, void* block, std::size_t oldSize, std::size_t newSize) {
  VmGlobals& globals = *state.globals;
  if (newSize == 0) {
    globals.heap.Free(block, oldSize);
    globals.bytesInUse -= oldSize;
    return nullptr;
  }
  if (newSize >= vmMaxBlock) vmThrow(state, Error::OutOfMemory);
  void* moved = block == nullptr ? globals.heap.Allocate(newSize)
                                 : globals.heap.Resize(block, oldSize, newSize);
  if (moved == nullptr) vmThrow(state, Error::OutOfMemory);
  globals.bytesInUse += newSize - oldSize;
  return moved;
}

}  // namespace quillmere
