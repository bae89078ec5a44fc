// A region of an output that drawing is cut to.
#pragma once

#include <cstdint>

#include "pixels/planes.h"
#include "pixels/registry.h"

namespace quillmere {

struct qmClipRegion : RegistryRecord {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  /// A private mask of the region's size, or null for a plain rectangle.
  MaskPtr mask;
};

}  // namespace quillmere
