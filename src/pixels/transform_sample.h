// Sampling one pixel of a transformed picture in doubles: the form that every faster one must
// equal.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "pixels/kernels.h"

namespace quillmere {

/// Where a target pixel comes from.
struct SourcePoint {
  double x;
  double y;
};

[[nodiscard]] inline SourcePoint SourceOf(const TransformRow& row, int column) {
  return {row.stepX * column + row.rowX + row.offsetX, row.stepY * column + row.rowY + row.offsetY};
}

/// Truncates a position. The source of a target pixel lies near the picture unless the matrix
/// shrinks it to nothing; then any index outside will do.
inline constexpr double farPosition = 1 << 30;
[[nodiscard]] inline int TruncatePosition(double position) {
  return static_cast<int>(std::clamp(position, -farPosition, farPosition));
}

/// An index cut to 0 to size - 1.
[[nodiscard]] inline int CutIndex(int index, int size) {
  return std::clamp(index, 0, size - 1);
}

/// The pixel that a column falls on.
[[nodiscard]] inline std::uint32_t SamplePlain(const TransformRow& row, int column) {
  const SourcePoint at = SourceOf(row, column);
  const int x = CutIndex(TruncatePosition(at.x), row.width);
  const int y = CutIndex(TruncatePosition(at.y), row.height);
  return row.pixels[static_cast<std::ptrdiff_t>(y) * row.pixelsPerRow + x];
}

/// Mixes four values by the distances to the first; the sum is rounded by adding a half.
[[nodiscard]] inline double MixFour(double c00, double c10, double c01, double c11, double fx,
                                    double fy) {
  return ((c00 * (1 - fx) + c10 * fx) * (1 - fy) + (c01 * (1 - fx) + c11 * fx) * fy) + 0.5;
}

/// Mixes four pixels byte by byte.
[[nodiscard]] inline std::uint32_t MixFourPixels(std::uint32_t c00, std::uint32_t c10,
                                                 std::uint32_t c01, std::uint32_t c11, double fx,
                                                 double fy) {
  std::uint32_t mixed = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    const auto channel = [shift](std::uint32_t pixel) {
      return static_cast<double>(pixel >> shift & 255);
    };
    const double value = MixFour(channel(c00), channel(c10), channel(c01), channel(c11), fx, fy);
    mixed |= (static_cast<std::uint32_t>(value) & 255) << shift;
  }
  return mixed;
}

/// The four pixels around a position, and how far it lies from the first.
struct SampleSquare {
  std::uint32_t topLeft, topRight, bottomLeft, bottomRight;
  double fx, fy;

  [[nodiscard]] std::uint32_t Mix() const {
    return MixFourPixels(topLeft, topRight, bottomLeft, bottomRight, fx, fy);
  }
};

[[nodiscard]] inline SampleSquare SquareAt(const TransformRow& row, int column) {
  const SourcePoint at = SourceOf(row, column);
  const int left = CutIndex(TruncatePosition(at.x), row.width);
  const int right = CutIndex(TruncatePosition(at.x) + 1, row.width);
  const auto line = [&row](int y) {
    return row.pixels + static_cast<std::ptrdiff_t>(CutIndex(y, row.height)) * row.pixelsPerRow;
  };
  const std::uint32_t* top = line(TruncatePosition(at.y));
  const std::uint32_t* bottom = line(TruncatePosition(at.y) + 1);
  return {top[left],
          top[right],
          bottom[left],
          bottom[right],
          at.x - std::floor(at.x),
          at.y - std::floor(at.y)};
}

/// The smooth pixel of a column.
[[nodiscard]] inline std::uint32_t SampleSmooth(const TransformRow& row, int column) {
  return SquareAt(row, column).Mix();
}

/// Whether a pixel that carries its presence in the top byte, as 255 or 0, is there.
[[nodiscard]] constexpr bool IsPresent(std::uint32_t pixel) {
  return pixel >> 31 != 0;
}

/// Takes the absent pixels of a square for the first that is present; with none, all become 0.
inline void FillAbsent(SampleSquare& square) {
  const std::uint32_t standIn = IsPresent(square.topLeft)       ? square.topLeft
                                : IsPresent(square.topRight)    ? square.topRight
                                : IsPresent(square.bottomLeft)  ? square.bottomLeft
                                : IsPresent(square.bottomRight) ? square.bottomRight
                                                                : 0;
  for (std::uint32_t* pixel :
       {&square.topLeft, &square.topRight, &square.bottomLeft, &square.bottomRight}) {
    *pixel = IsPresent(*pixel) ? *pixel : standIn;
  }
}

/// Gives a mixed pixel the presence of the one that the column falls on.
[[nodiscard]] constexpr std::uint32_t WithPresence(std::uint32_t mixed, std::uint32_t nearest) {
  return (mixed & 0xFFFFFF) | (nearest & 0xFF000000);
}

/// The smooth pixel of a column of a picture whose pixels carry their presence.
[[nodiscard]] inline std::uint32_t SampleSmoothPresent(const TransformRow& row, int column) {
  SampleSquare square = SquareAt(row, column);
  const std::uint32_t nearest = square.topLeft;
  FillAbsent(square);
  return WithPresence(square.Mix(), nearest);
}

}  // namespace quillmere
