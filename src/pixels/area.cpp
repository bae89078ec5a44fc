#include "pixels/area.h"

#include <limits>

namespace quillmere {
namespace {

/// What is left of a stretch after cutting, and how much went at its start.
struct Cut {
  std::int64_t skipped;
  std::int64_t length;
};

Cut CutSpan(std::int64_t start, std::int64_t length, std::int64_t from, std::int64_t size) {
  const std::int64_t first = std::max(start, from);
  const std::int64_t end = std::min(start + length, from + size);
  return {first - start, end - first};
}

bool FitsInt(std::int64_t value) {
  return value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
}

/// Moves both corners by what was skipped.
BlitArea ApplyCuts(const BlitArea& area, const Cut& across, const Cut& down) {
  if (across.length < 1 || down.length < 1) return {};
  const std::int64_t sx = area.sx + across.skipped;
  const std::int64_t sy = area.sy + down.skipped;
  const std::int64_t tx = area.tx + across.skipped;
  const std::int64_t ty = area.ty + down.skipped;
  if (!FitsInt(sx) || !FitsInt(sy) || !FitsInt(tx) || !FitsInt(ty)) return {};
  return {static_cast<int>(sx),
          static_cast<int>(sy),
          static_cast<int>(tx),
          static_cast<int>(ty),
          static_cast<int>(across.length),
          static_cast<int>(down.length)};
}

}  // namespace

Area Intersect(const Area& a, const Area& b) {
  const Cut across = CutSpan(a.x, a.width, b.x, b.width);
  const Cut down = CutSpan(a.y, a.height, b.y, b.height);
  if (across.length < 1 || down.length < 1) return {};
  return {std::max(a.x, b.x), std::max(a.y, b.y), static_cast<int>(across.length),
          static_cast<int>(down.length)};
}

Area ClipArea(const Area& area, int planeWidth, int planeHeight) {
  return Intersect(area, {0, 0, planeWidth, planeHeight});
}

BlitArea ClipTarget(const BlitArea& area, const Area& bounds) {
  return ApplyCuts(area, CutSpan(area.tx, area.width, bounds.x, bounds.width),
                   CutSpan(area.ty, area.height, bounds.y, bounds.height));
}

BlitArea ClipSource(const BlitArea& area, const Area& bounds) {
  return ApplyCuts(area, CutSpan(area.sx, area.width, bounds.x, bounds.width),
                   CutSpan(area.sy, area.height, bounds.y, bounds.height));
}

}  // namespace quillmere
