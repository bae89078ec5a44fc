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
  /// Words 0xAARRGGBB in rows without padding.
  std::vector<std::uint32_t> pixels;
  std::int32_t width = 0;
  std::int32_t height = 0;
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

}  // namespace quillmere
