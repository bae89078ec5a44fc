// The general transform of pictures by a 2 by 2 matrix, plain (nearest pixel) and smooth
// (bilinear).
#pragma once

#include "base/error.h"
#include "pixels/area.h"
#include "pixels/matrix.h"
#include "pixels/planes.h"

namespace quillmere {

/// Transforms a rectangle of the planes into new ones that hold all of the result. The result has
/// an alpha map when the source has one, else a mask: its corners are empty. A rectangle below 1
/// gives an empty triple. A matrix that cannot be inverted gives a picture without a visible pixel.
[[nodiscard]] Result<Planes> TransformPlanes(const Planes& source, const Area& area,
                                             const Matrix& matrix, bool smooth);

}  // namespace quillmere
