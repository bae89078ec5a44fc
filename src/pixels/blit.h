// The primitives by which pixels get into a colour plane. Their names, the order of their tests and
// their arithmetic are fixed to the bit.
//
// Rectangles are cut to the planes, so that no call reaches outside. A null target is a fault of
// the caller: it leaves a line on the debug output and does nothing.
#pragma once

#include <cstdint>

#include "base/debug_output.h"
#include "pixels/area.h"
#include "pixels/planes.h"

namespace quillmere {

/// Copies a rectangle. Source and target are not the same bitmap in overlapping rectangles.
void BLTBITMAP(DebugOutput& debug, const qmBitmap& source, qmBitmap* target, const BlitArea& area);

/// Fills a rectangle with a colour 0xRRGGBB.
void RECTFILL(DebugOutput& debug, qmBitmap* target, const Area& area, std::uint32_t rgb);

/// Copies the pixels whose bit is set. The mask is read at the source coordinates.
void BLTMASK(DebugOutput& debug, const qmBitmap& source, qmBitmap* target, const BlitArea& area,
             const qmMask& mask);

/// Writes one colour where the bit is set: glyphs of one bit a pixel.
void BLTTEMPLATE(DebugOutput& debug, const qmMask& stencil, qmBitmap* target, const BlitArea& area,
                 std::uint32_t rgb);

/// Blends the source over the target, pixel by pixel. The alpha map is read at the source
/// coordinates.
void BLTALPHABITMAP(DebugOutput& debug, const qmBitmap& source, qmBitmap* target,
                    const BlitArea& area, const qmAlphaMap& alpha);

/// How coverage lands on the target; c is the coverage.
enum class CoverageMode : int {
  /// Where c is not 0 the pixel is written whole.
  Solid = 0,
  /// Blends by c.
  Blend = 1,
  /// Blends by c and gathers the coverage in the target's alpha map.
  BlendAlpha = 2,
  /// The same for coverage of 16 bits a value, of which the low byte counts; flat colour.
  BlendAlpha16 = 3,
  /// Coverage from 0 to 64.
  Blend64 = 4
};

/// Coverage drawing: text and shapes with smooth edges.
struct CoverageBlit {
  /// One byte a pixel, or one 16-bit word in the machine's order with `BlendAlpha16`.
  const void* coverage = nullptr;
  /// Values from one row to the next, and rows.
  int coverageWidth = 0;
  int coverageHeight = 0;
  /// Coverage coordinates are the source coordinates of the rectangle.
  BlitArea area;
  /// The colour, 0xRRGGBB.
  std::uint32_t rgb = 0;
  CoverageMode mode = CoverageMode::Blend;
  /// For the modes that gather coverage. `targetAlphaX` is its column for `area.tx`; rows agree.
  qmAlphaMap* targetAlpha = nullptr;
  int targetAlphaX = 0;
  /// 0 to 255.
  int intensity = 255;
  /// Takes the place of the flat colour, pixel by pixel at the coverage coordinates.
  const qmBitmap* sourceBitmap = nullptr;
};

/// Cuts the rectangle to coverage, source, target and target alpha, and draws; a rectangle that
/// begins outside of the coverage on the left or top draws nothing. A mode that gathers coverage
/// without a `targetAlpha` draws as `Blend`.
void BLTALPHACHANNEL(DebugOutput& debug, qmBitmap* target, const CoverageBlit& blit);

/// Mixes a picture into the target as a whole: `level` 255 is opaque. Where there is a mask only
/// its set pixels are mixed; an alpha map is scaled by the level first. Both are read at the source
/// coordinates.
void BlendPicture(qmBitmap& target, const qmBitmap& source, const qmMask* mask,
                  const qmAlphaMap* alpha, const BlitArea& area, int level);

/// Moves the colours of a rectangle towards `rgb`; `level` 0 leaves them, 255 comes nearest.
void TintPicture(qmBitmap& bitmap, const Area& area, std::uint32_t rgb, int level);

/// Blends the source over the target by one alpha for all pixels, with its exact ends: 0 leaves the
/// target, 255 copies the source.
void BlendUniform(qmBitmap& target, const qmBitmap& source, const BlitArea& area, int alpha);

/// The blend of one pixel: 0 leaves the target, 255 gives the source, else each byte becomes
/// d + ((s - d) * alpha >> 8).
[[nodiscard]] constexpr std::uint32_t BlendPixel(std::uint32_t target, std::uint32_t source,
                                                 unsigned alpha) {
  if (alpha == 0) return target;
  if (alpha == 255) return source;
  std::uint32_t mixed = 0;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const int d = static_cast<int>(target >> shift & 255);
    const int s = static_cast<int>(source >> shift & 255);
    mixed |= static_cast<std::uint32_t>(d + ((s - d) * static_cast<int>(alpha) >> 8)) << shift;
  }
  return mixed;
}

}  // namespace quillmere
