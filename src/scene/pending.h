// Pictures that were read while the program starts: their planes are made when they are needed, or
// when the screen opens, so that a fill may name a brush that is declared later.
#pragma once

#include "base/error.h"
#include "pixels/planes.h"
#include "scene/brush.h"

namespace quillmere {

struct SceneState;

/// The planes of a picture as it was read: an alpha map when it has one, else a mask when there is
/// a transparent colour. Error: `OutOfMemory`.
[[nodiscard]] Result<Planes> PlanesOfPending(const PendingPicture& picture,
                                             std::int32_t transparentColor);

/// Makes the planes of all pictures and brushes that still wait for them. Errors: `OutOfMemory`,
/// and those of finding the brush of a texture.
Status MakePendingPlanes(SceneState& scene);

}  // namespace quillmere
