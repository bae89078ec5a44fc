// Operations on masks and alpha maps, and from one to the other. Rectangles are cut to the planes.
#pragma once

#include <cstdint>

#include "pixels/area.h"
#include "pixels/planes.h"

namespace quillmere {

/// How bits meet the bits that are there; the script's constants of the same names.
enum MaskMode : int {
  /// Sets where the source is set.
  MASKVISIBLE = 0,
  /// Clears where the source is set.
  MASKINVISIBLE = 1,
  MASKVANILLACOPY = 2,
  MASKXOR = 3,
  MASKAND = 4,
  MASKOR = 5
};

/// How bytes of an alpha map meet those that are there. s is the source byte, d the target byte.
enum class AlphaCopyMode : int {
  /// d = s
  Copy = 0,
  /// where s is not 0: d = s
  CopyVisible = 1,
  /// where s is not 0: d = ~s
  Invert = 2,
  /// where s is not 0: d = 255
  Opaque = 3,
  /// where s is not 0: d = s * value / 255
  Scale = 4,
  /// where s and d are not 0: d = ~s
  InvertInside = 5,
  /// where s is not 0: d = value
  Value = 6,
  /// where s and d are not 0: d = s, elsewhere 0
  CopyInside = 7
};

/// Fills as if from a source whose bits are all set: modes 0, 2 and 5 set, 1 clears, 3 inverts,
/// 4 leaves.
void FillMask(qmMask& mask, const Area& area, MaskMode mode);

/// Source and target may be the same mask only when the rectangles do not overlap.
void CopyMask(const qmMask& source, qmMask& target, const BlitArea& area, MaskMode mode);

/// A byte of exactly 255 counts as a set bit. Mode 0 and 2: becomes it; 1: becomes its opposite;
/// 3: inverts where set; 5: sets where set; 4: nothing.
void AlphaToMask(const qmAlphaMap& source, qmMask& target, const BlitArea& area, MaskMode mode);

void FillAlpha(qmAlphaMap& alpha, const Area& area, std::uint8_t value);

/// Writes `value` where the bit is set.
void MaskToAlpha(const qmMask& source, qmAlphaMap& target, const BlitArea& area,
                 std::uint8_t value);

void CopyAlpha(const qmAlphaMap& source, qmAlphaMap& target, const BlitArea& area,
               AlphaCopyMode mode, std::uint8_t value = 255);

/// Keeps of an alpha map, or of a mask, what lies under the set bits of `shape`, 0 elsewhere; the
/// shape is read at its own corner. The result stands at 0, 0 of the target.
void CopyAlphaThrough(const qmAlphaMap& source, int sx, int sy, const qmMask& shape, int shapeX,
                      int shapeY, qmAlphaMap& target, int width, int height);
void CopyMaskThrough(const qmMask& source, int sx, int sy, const qmMask& shape, int shapeX,
                     int shapeY, qmMask& target, int width, int height);

/// The bounding box of the set bits or the bytes that are not 0; empty when there are none.
[[nodiscard]] Area VisibleBox(const qmMask& mask);
[[nodiscard]] Area VisibleBox(const qmAlphaMap& alpha);

}  // namespace quillmere
