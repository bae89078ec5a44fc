// Rectangles of the scene and the special values of positions and sizes.
#pragma once

#include <algorithm>
#include <cstdint>

#include "pixels/area.h"

namespace quillmere {

/// For a position of a window: stay where it is.
inline constexpr std::int32_t KEEPPOSITION = 100000;
/// For a coordinate of a layer: stay where it is.
inline constexpr std::int32_t USELAYERPOSITION = 100000;
/// For one side of a size: what the other side and the old proportions make it.
inline constexpr std::int32_t KEEPASPRAT = 100000;

/// A rectangle whose edges belong to it: empty when `x2 < x1` or `y2 < y1`.
struct DirtyRect {
  std::int32_t x1 = 0;
  std::int32_t y1 = 0;
  std::int32_t x2 = -1;
  std::int32_t y2 = -1;

  friend bool operator==(const DirtyRect&, const DirtyRect&) = default;

  [[nodiscard]] constexpr bool Overlaps(const DirtyRect& other) const {
    return x1 <= other.x2 && other.x1 <= x2 && y1 <= other.y2 && other.y1 <= y2;
  }
  [[nodiscard]] constexpr DirtyRect Union(const DirtyRect& other) const {
    return {std::min(x1, other.x1), std::min(y1, other.y1), std::max(x2, other.x2),
            std::max(y2, other.y2)};
  }
};

/// The rectangle with its edges; corners past the range of 32 bits stay at its end.
[[nodiscard]] DirtyRect ToDirtyRect(std::int32_t x, std::int32_t y, std::int32_t width,
                                    std::int32_t height);

/// The part of a rectangle that lies in a picture of that size; empty when there is none.
[[nodiscard]] Area ClipDirty(const DirtyRect& rect, std::int32_t width, std::int32_t height);

}  // namespace quillmere
