// Rectangles of pixels and how they are cut to planes. Coordinates come from scripts and may be any
// 32-bit number; everything here is computed so that nothing overflows.
#pragma once

#include <algorithm>
#include <cstdint>

namespace quillmere {

/// A rectangle of one plane.
struct Area {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  [[nodiscard]] bool Empty() const { return width < 1 || height < 1; }
  friend bool operator==(const Area&, const Area&) = default;
};

/// A rectangle that goes from a source to a target.
struct BlitArea {
  int sx = 0;
  int sy = 0;
  int tx = 0;
  int ty = 0;
  int width = 0;
  int height = 0;

  [[nodiscard]] bool Empty() const { return width < 1 || height < 1; }
  [[nodiscard]] Area Target() const { return {tx, ty, width, height}; }
  friend bool operator==(const BlitArea&, const BlitArea&) = default;
};

/// The part of an area that lies in a plane of that size; empty when there is none.
[[nodiscard]] Area ClipArea(const Area& area, int planeWidth, int planeHeight);

/// The part two areas share.
[[nodiscard]] Area Intersect(const Area& a, const Area& b);

/// Cuts the target rectangle to `bounds`; what goes on the left or top is skipped in the source.
[[nodiscard]] BlitArea ClipTarget(const BlitArea& area, const Area& bounds);

/// Cuts the source rectangle to `bounds`; what goes on the left or top is skipped in the target.
[[nodiscard]] BlitArea ClipSource(const BlitArea& area, const Area& bounds);

}  // namespace quillmere
