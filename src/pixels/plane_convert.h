// From planes to planes and to the raw arrays that picture readers and writers speak. Raw arrays
// are rows of words 0xAARRGGBB without padding unless told otherwise.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/error.h"
#include "pixels/planes.h"

namespace quillmere {

/// Marks the absence of a transparent colour.
inline constexpr std::uint32_t NOTRANSPARENCY = 0xFFFFFFFFu;
/// The transparent colour that a picture created with a mask bears.
inline constexpr std::int32_t createdMaskMarker = 0xAFC0DE;
/// The transparent colour that a copy of a masked layer's picture bears.
inline constexpr std::int32_t layerMaskMarker = 0x123456;

/// A new triple that holds a rectangle of the planes; absent planes stay absent. The rectangle is
/// cut to the source; an empty one is `Error::OutOfMemory`, as an allocation of that size is.
[[nodiscard]] Result<Planes> CopyPlanes(const Planes& source, int x, int y, int width, int height);
/// The same for all of the picture.
[[nodiscard]] Result<Planes> CopyPlanes(const Planes& source);

/// The picture as words with alpha. A pixel has alpha 255 unless a mask or an alpha map says
/// otherwise. With a mask and `keepMask`, pixels outside of it get alpha 0; without `keepMask` they
/// are replaced whole by `fill`. Where an alpha map is 0, the colour is that of `fill`.
[[nodiscard]] Result<std::vector<std::uint32_t>> PlanesToARGB(const Planes& planes,
                                                              std::uint32_t fill, bool keepMask);

/// Makes a colour plane of an array of `height` rows of `pixelsPerRow` words, and a mask when there
/// is a `key`: its bits are set where the colour differs from the key.
[[nodiscard]] Result<Planes> ARGBToBitmap(std::span<const std::uint32_t> pixels,
                                          std::optional<std::uint32_t> key, int width, int height,
                                          int pixelsPerRow);

/// An alpha map of the top bytes of such an array.
[[nodiscard]] Result<AlphaPtr> ARGBToAlpha(std::span<const std::uint32_t> pixels, int width,
                                           int height, int pixelsPerRow);

/// A new mask whose bits are set for each pixel whose colour differs from `key`.
[[nodiscard]] Result<MaskPtr> KeyToMask(const qmBitmap& bitmap, std::uint32_t key);

}  // namespace quillmere
