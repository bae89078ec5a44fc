// The object service for pictures: it takes the bytes of a file in any format that it knows and
// makes an object with the picture's own depth, colours and pixels. Each format is one file with a
// small decoder; picture_object.cpp holds the table of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/error.h"
#include "codecs/picture_reader.h"

namespace quillmere {

/// A picture as its file holds it.
struct PictureObject {
  int width = 0;
  int height = 0;
  /// 1 to 8: `pens` and `palette` hold the picture. 24: words 0x00RRGGBB in `pixels`. 32: the same
  /// with alpha in the top byte.
  int depth = 0;
  /// The pixels are hold-and-modify codes of this many bits, 6 or 8; 0 for plain pens.
  int hamBits = 0;
  /// The pen that is transparent.
  std::optional<std::uint8_t> transparentPen;
  /// The transparent pen is how the format writes an alpha channel of two levels.
  bool penIsAlpha = false;
  Palette palette{};
  /// One byte a pixel in rows of `PenStride(width)`.
  std::vector<std::uint8_t> pens;
  BitmapPtr pixels;
};

/// What is known of a picture before its pixels are made.
struct PictureHeader {
  int width = 0;
  int height = 0;
  int depth = 0;
};

/// Bytes from one row of pens to the next.
[[nodiscard]] constexpr std::size_t PenStride(int width) {
  return (static_cast<std::size_t>(width) + 15) & ~std::size_t{15};
}

/// Makes the object of a picture file. `UnknownImageFormat` for bytes that no decoder takes or that
/// end too early; `OutOfMemory`. A picture whose size its bytes cannot possibly fill is refused
/// before memory is taken for it.
[[nodiscard]] Result<PictureObject> MakePictureObject(std::span<const std::uint8_t> bytes);

/// Reads the header of a picture file alone.
[[nodiscard]] Result<PictureHeader> ExaminePictureObject(std::span<const std::uint8_t> bytes);

/// Turns pens into words 0x00RRGGBB. `hamBits` 0 looks each pen up; 6 and 8 are hold-and-modify.
/// `pens` holds a row of `PenStride(width)` bytes for each row of `pixels`.
void PlanarToPixels(std::span<const std::uint8_t> pens, const Palette& palette, int hamBits,
                    qmBitmap& pixels);

/// The grey levels of a picture of 1 to 8 bits, from black to white.
[[nodiscard]] Palette GrayPalette(int bits);

}  // namespace quillmere
