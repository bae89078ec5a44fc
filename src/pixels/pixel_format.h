// The thirteen pixel layouts that a screen may have. Pictures are kept in format 10 alone; the
// others are a matter of the output stage.
#pragma once

#include <cstdint>

#include "pixels/planes.h"

namespace quillmere {

/// The layouts by number. Channel bits are given from the top of the stored word; the swapped forms
/// hold the two bytes of their word exchanged.
enum class PixelFormat : int {
  Rgb15 = 0,  ///< 0RRRRRGGGGGBBBBB
  Bgr15 = 1,  ///< 0BBBBBGGGGGRRRRR
  Rgb15Swapped = 2,
  Bgr15Swapped = 3,
  Rgb16 = 4,  ///< RRRRRGGGGGGBBBBB
  Bgr16 = 5,  ///< BBBBBGGGGGGRRRRR
  Rgb16Swapped = 6,
  Bgr16Swapped = 7,
  Rgb24 = 8,    ///< bytes R, G, B
  Bgr24 = 9,    ///< bytes B, G, R
  Argb32 = 10,  ///< word 0xAARRGGBB, top byte ignored
  Bgra32 = 11,  ///< word 0xBBGGRRAA, low byte ignored
  Rgba32 = 12   ///< word 0xRRGGBBAA, low byte ignored
};
inline constexpr int pixelFormatCount = 13;

[[nodiscard]] int BytesPerPixel(PixelFormat format);

/// The number to store for a colour 0xRRGGBB. The swapped layouts give the swapped word.
[[nodiscard]] std::uint32_t RGBToPixel(std::uint32_t rgb, PixelFormat format);

/// The colour 0xRRGGBB of a stored number. Bits that the layout does not keep read as 0.
[[nodiscard]] std::uint32_t PixelToRGB(std::uint32_t pixel, PixelFormat format);

/// A view of pixels in any layout, in the machine's byte order.
struct qmBitmapLock {
  std::uint8_t* base = nullptr;
  PixelFormat format = PixelFormat::Argb32;
  int bytesPerPixel = 4;
  int pixelsPerRow = 0;
  int width = 0;
  int height = 0;
};

/// The view of a picture's colour plane.
[[nodiscard]] qmBitmapLock LockBitmap(qmBitmap& bitmap);

/// The colour 0xRRGGBB of a pixel inside the view.
[[nodiscard]] std::uint32_t ReadPixelRGB(const qmBitmapLock& lock, int x, int y);

/// One pixel as bytes R, G, B.
void ReadRGBBytes(const std::uint8_t* address, PixelFormat format, std::uint8_t (&rgb)[3]);
void WriteRGBBytes(std::uint8_t* address, PixelFormat format, const std::uint8_t (&rgb)[3]);

/// Converts a rectangle of a picture into memory of any layout; it is cut to both.
void ConvertPixels(const qmBitmap& source, int sx, int sy, const qmBitmapLock& target, int tx,
                   int ty, int width, int height);

}  // namespace quillmere
