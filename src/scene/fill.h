// Areas filled with a colour, a gradient or a texture, at any size.
#pragma once

#include <cstdint>

#include "base/debug_output.h"
#include "base/error.h"
#include "pixels/area.h"
#include "pixels/planes.h"
#include "scene/bgpic.h"

namespace quillmere {

/// Repeats a tile over a rectangle of the target. The rectangle's corner shows the tile's pixel at
/// the offset; offsets of any size and sign are brought into the tile. The rectangle is cut to the
/// target without moving the pattern.
void TileBitmap(DebugOutput& debug, qmBitmap& target, const Area& area, const qmBitmap& tile,
                std::int32_t offsetX, std::int32_t offsetY);

/// Fills a rectangle of the target. A texture without its bitmap, or `FILLNONE`, fills with black.
void PaintFill(DebugOutput& debug, qmBitmap& target, const Area& area, const Fill& fill);

/// A new colour plane with the fill, and over it the picture with its mask or alpha map when there
/// is one. The result is opaque. Error: `OutOfMemory`.
[[nodiscard]] Result<Planes> BuildFill(DebugOutput& debug, const Planes& picture, const Fill& fill,
                                       std::int32_t width, std::int32_t height);

/// Takes the texture's picture into the fill: a copy of the brush's colours. Errors: those of
/// finding the brush.
Status LoadTexture(SceneState& scene, Fill& fill);

}  // namespace quillmere
