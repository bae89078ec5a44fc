// Brushes: the script's general picture object, a colour plane with at most one of a mask and an
// alpha map.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "base/error.h"
#include "pixels/planes.h"
#include "pixels/registry.h"

namespace quillmere {

inline constexpr std::int32_t IMAGETYPE_RASTER = 0;
/// A picture that is rebuilt at each size.
inline constexpr std::int32_t IMAGETYPE_VECTOR = 1;

/// `transparentColor` of a picture without one.
inline constexpr std::int32_t noTransparentColor = -1;

/// A picture as a reader delivered it, before its planes are made.
struct PendingPicture {
  /// Words 0xAARRGGBB. They become the object's own colour plane.
  BitmapPtr pixels;
  /// The top bytes become an alpha map.
  bool withAlpha = false;
};

struct qmBrush : RegistryRecord {
  /// The picture as it was read, while the program starts; its planes are made at the first use.
  std::optional<PendingPicture> pending;
  Planes planes;
  std::int32_t width = 0;
  std::int32_t height = 0;
  /// -1 for none, a key colour, or a marker.
  std::int32_t transparentColor = noTransparentColor;
  bool vectorTransformed = false;
  std::int32_t imageType = IMAGETYPE_RASTER;
  /// A value that the conversions to a background picture and back carry along.
  std::int32_t brushExtra = 0;
};

struct SceneState;

/// Finds a brush under the rules of `flags` (bits of FindFlags) and makes its planes when they are
/// pending. Errors: `BrushNotFound`, `ObjectNotFound`, `ObjectLocked`, `BrushTypeUnsupported`,
/// `OutOfMemory`.
[[nodiscard]] Result<qmBrush*> FindBrush(SceneState& scene, const ObjectId& id, unsigned flags = 0);

/// What every command that changes a brush begins with: the brush must not be the selected output,
/// no vector brush and not locked; layers that show it are left a copy. Errors: `ActiveBrush` and
/// those of `FindBrush`.
[[nodiscard]] Result<qmBrush*> FindBrushToModify(SceneState& scene, const ObjectId& id);

/// The first step of the guard alone: `ActiveBrush` when the brush is the selected output.
[[nodiscard]] Status RequireNotSelectedBrush(const SceneState& scene, const ObjectId& id);

/// An independent copy with planes of its own; those of the brush are made.
[[nodiscard]] Result<std::unique_ptr<qmBrush>> CloneBrush(const qmBrush& brush);

/// Makes a brush of planes and enters it; a brush that bears the number already is freed. The
/// identifier comes back with its handle filled in.
Result<ObjectId> AddBrush(SceneState& scene, const ObjectId& id, Planes planes,
                          std::int32_t transparentColor);

/// Enters a finished record in the same way.
Result<ObjectId> AddBrush(SceneState& scene, const ObjectId& id, std::unique_ptr<qmBrush> brush);

/// Makes the planes of a brush that was read while the program starts.
Status MakeBrushPlanes(qmBrush& brush);

/// Puts new planes in place of the old ones, with their size.
void ReplaceBrushPlanes(qmBrush& brush, Planes planes);

}  // namespace quillmere
