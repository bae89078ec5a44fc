#include <cstdlib>

#include "vm/state.h"

namespace quillmere {

void* vmRealloc(VmState& state, void* block, std::size_t oldSize, std::size_t newSize) {
  VmGlobals& globals = *state.globals;
  if (newSize == 0) {
    std::free(block);
    globals.bytesInUse -= oldSize;
    return nullptr;
  }
  if (newSize >= vmMaxBlock) vmThrow(state, Error::OutOfMemory);
  void* moved = std::realloc(block, newSize);
  if (moved == nullptr) vmThrow(state, Error::OutOfMemory);
  globals.bytesInUse += newSize - oldSize;
  return moved;
}

}  // namespace quillmere
