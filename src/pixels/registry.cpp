#include "pixels/registry.h"

#include <algorithm>

namespace quillmere {

void ObjectDirectory::CollectHidden(unsigned mask) {
  for (const Sweep& sweep : sweeps_) {
    if (sweep.bit & (mask | SWEEP_ALWAYS)) sweep.run();
  }
}

void ObjectDirectory::AddSweep(const void* owner, unsigned bit, std::function<void()> sweep) {
  sweeps_.push_back({owner, bit, std::move(sweep)});
}

void ObjectDirectory::RemoveSweep(const void* owner) {
  std::erase_if(sweeps_, [owner](const Sweep& sweep) { return sweep.owner == owner; });
}

}  // namespace quillmere
