#include "scene/geometry.h"

#include <limits>

namespace quillmere {
namespace {

std::int32_t Edge(std::int32_t start, std::int32_t size) {
  const std::int64_t edge = static_cast<std::int64_t>(start) + size - 1;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(
      edge, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

DirtyRect ToDirtyRect(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height) {
  return {x, y, Edge(x, width), Edge(y, height)};
}

Area ClipDirty(const DirtyRect& rect, std::int32_t width, std::int32_t height) {
  const std::int32_t x1 = std::max(rect.x1, 0);
  const std::int32_t y1 = std::max(rect.y1, 0);
  const std::int32_t x2 = std::min(rect.x2, width - 1);
  const std::int32_t y2 = std::min(rect.y2, height - 1);
  if (x2 < x1 || y2 < y1) return {};
  return {x1, y1, x2 - x1 + 1, y2 - y1 + 1};
}

}  // namespace quillmere
