// Loops over whole pictures: gray, invert, flip, replace colours, gradients.
#pragma once

#include <cstdint>
#include <span>

#include "base/debug_output.h"
#include "base/error.h"
#include "pixels/area.h"
#include "pixels/planes.h"

namespace quillmere {

/// Each pixel gets its brightness in all three channels.
void GrayPicture(qmBitmap& bitmap);

/// Complements all bits of each pixel, the byte above the colour included.
void InvertPicture(qmBitmap& bitmap);
/// Complement every byte of the plane, padding included.
void InvertMask(qmMask& mask);
void InvertAlpha(qmAlphaMap& alpha);

/// Mirrors all planes in place: each row when `horizontal`, else the order of the rows.
/// `Error::OutOfMemory` leaves the picture as it was.
Status FlipPlanes(const Planes& planes, bool horizontal);

/// One step of replacing colours, 0xRRGGBB.
struct ColorPair {
  std::uint32_t from;
  std::uint32_t to;
};

/// Walks the pairs in order for each pixel, and goes on with the replaced value.
void ReplaceColorList(qmBitmap& bitmap, std::span<const ColorPair> pairs);

/// Fills from a start point up to the border colour and the picture's edges. Nothing happens when
/// the start lies outside or has the border colour. `Error::OutOfMemory` may leave the fill
/// unfinished.
Status FloodFillPicture(qmBitmap& bitmap, int x, int y, std::uint32_t border, std::uint32_t fill);

/// Draws a linear gradient between two colours 0xRRGGBB. At angle 0 it runs from the top to the
/// bottom; angles are degrees. The rectangle is the gradient's size; what of it lies outside of the
/// bitmap is not drawn. A null target leaves a line on the debug output.
void DrawGradient(DebugOutput& debug, qmBitmap* target, const Area& area, std::uint32_t startColor,
                  std::uint32_t endColor, int angle);

}  // namespace quillmere
