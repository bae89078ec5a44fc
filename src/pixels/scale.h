// The axis-aligned scaler, plain (nearest pixel) and smooth (bilinear), for all three planes. Both
// run in integers; their rounding is fixed to the bit.
#pragma once

#include <cstdint>
#include <vector>

#include "base/error.h"
#include "pixels/area.h"
#include "pixels/planes.h"

namespace quillmere {

/// Work tables that are kept between calls, so that repeated scaling allocates nothing. One set
/// serves one task.
struct ScaleTables {
  /// For each target column: the source column, and the distance to it in 1/65536 pixel.
  std::vector<std::int32_t> column;
  std::vector<std::int32_t> columnFraction;
  /// The same for rows.
  std::vector<std::int32_t> row;
  std::vector<std::int32_t> rowFraction;
  /// Two source rows, scaled across.
  std::vector<std::uint32_t> colorLines[2];
  std::vector<std::uint8_t> alphaLines[2];
};

/// Scales a rectangle of the planes to a new size; absent planes stay absent, and the colour plane
/// may be absent too. Sizes below 1 give an empty triple. `Error::OutOfMemory` leaves nothing.
/// The rectangle must lie in the planes; it is cut to them.
[[nodiscard]] Result<Planes> ScalePlanes(ScaleTables& tables, const Planes& source,
                                         const Area& area, int targetWidth, int targetHeight,
                                         bool smooth);

/// Scales a rectangle of a colour plane into the top left of an existing bitmap. The target size is
/// cut to the bitmap, with the scale that was asked for.
Status ScaleBitmapInto(ScaleTables& tables, const qmBitmap& source, const Area& area,
                       qmBitmap& target, int targetWidth, int targetHeight, bool smooth);

}  // namespace quillmere
