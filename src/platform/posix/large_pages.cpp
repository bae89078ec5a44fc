#include "platform/large_pages.h"

#include <sys/mman.h>

namespace quillmere {

void PreferLargePages(void* memory, std::size_t size) {
  // A system without them says so, and nothing is lost.
  static_cast<void>(madvise(memory, size / largePageSize * largePageSize, MADV_HUGEPAGE));
}

}  // namespace quillmere
