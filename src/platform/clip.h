// Cutting rectangles to what is there.
#pragma once

#include <algorithm>
#include <cstdint>

#include "platform/picture.h"
#include "platform/windows.h"

namespace quillmere {

/// A span of one axis, cut: where it starts and how long it is.
struct ClippedSpan {
  int start = 0;
  int length = 0;
};

/// What lies of `length` from `start` on inside of 0 to `limit`.
[[nodiscard]] constexpr ClippedSpan ClipSpan(std::int64_t start, std::int64_t length,
                                             std::int64_t limit) {
  const std::int64_t from = std::max<std::int64_t>(start, 0);
  const std::int64_t to = std::min(start + length, limit);
  return to > from ? ClippedSpan{static_cast<int>(from), static_cast<int>(to - from)}
                   : ClippedSpan{};
}

/// The part of a rectangle that lies in an area of that size at 0, 0; no width and height when
/// there is none.
[[nodiscard]] constexpr Rectangle ClipRectangle(const Rectangle& rectangle, int width, int height) {
  const ClippedSpan h = ClipSpan(rectangle.x, rectangle.width, width);
  const ClippedSpan v = ClipSpan(rectangle.y, rectangle.height, height);
  if (h.length == 0 || v.length == 0) return {};
  return {h.start, v.start, h.length, v.length};
}

/// A copy between two pictures after cutting it to both.
struct ClippedCopy {
  int sourceX = 0;
  int sourceY = 0;
  Rectangle target;
};

[[nodiscard]] constexpr ClippedCopy ClipCopy(const PixelView& source, int sourceX, int sourceY,
                                             const Rectangle& target, int width, int height) {
  const ClippedSpan fromX = ClipSpan(sourceX, target.width, source.width);
  const ClippedSpan fromY = ClipSpan(sourceY, target.height, source.height);
  const std::int64_t shiftX = std::int64_t{target.x} - sourceX;
  const std::int64_t shiftY = std::int64_t{target.y} - sourceY;
  const ClippedSpan toX = ClipSpan(fromX.start + shiftX, fromX.length, width);
  const ClippedSpan toY = ClipSpan(fromY.start + shiftY, fromY.length, height);
  if (toX.length == 0 || toY.length == 0) return {};
  return {static_cast<int>(toX.start - shiftX),
          static_cast<int>(toY.start - shiftY),
          {toX.start, toY.start, toX.length, toY.length}};
}

}  // namespace quillmere
