// The three planes of a picture. A picture has a colour plane and at most one of a mask (one bit a
// pixel, set means visible) and an alpha map (one byte a pixel, 255 means opaque).
//
// All colours of a run are kept as words 0xAARRGGBB whose top byte is not part of the colour. A
// plane owns its memory, unless it is a view of memory that somebody else owns. Stages of an object
// may show the same plane, so a picture holds its planes by shared pointers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "base/error.h"

namespace quillmere {

/// No plane is larger than this in either direction.
inline constexpr int maxPlaneSize = 65536;

/// Pixels of a row of a colour plane: at least one pixel of padding behind the picture.
[[nodiscard]] constexpr int BitmapPixelsPerRow(int width) {
  return width / 4 * 4 + 4;
}
/// Bytes of a row of a mask: padded to 16 pixels.
[[nodiscard]] constexpr int MaskBytesPerRow(int width) {
  return (width + 15) >> 3 & ~1;
}
/// Bytes of a row of an alpha map.
[[nodiscard]] constexpr int AlphaBytesPerRow(int width) {
  return (width + 3) & ~3;
}

namespace detail {
struct PlaneMemoryFree {
  /// False for memory that somebody else owns.
  bool owned = true;
  void operator()(std::byte* memory) const;
};
using PlaneMemory = std::unique_ptr<std::byte[], PlaneMemoryFree>;
}  // namespace detail

/// A colour plane.
class qmBitmap {
 public:
  /// Takes memory of `planeHeight` rows of `stride`; planes are made by `AllocBitmap` and
  /// `ViewBitmap`.
  qmBitmap(detail::PlaneMemory memory, int planeWidth, int planeHeight, int stride);

  static constexpr int bytesPerPixel = 4;

  const int width;
  const int height;
  const int pixelsPerRow;

  [[nodiscard]] std::uint32_t* Row(int y) {
    return pixels_ + static_cast<std::ptrdiff_t>(y) * pixelsPerRow;
  }
  [[nodiscard]] const std::uint32_t* Row(int y) const {
    return pixels_ + static_cast<std::ptrdiff_t>(y) * pixelsPerRow;
  }
  [[nodiscard]] std::uint32_t& At(int x, int y) { return Row(y)[x]; }
  /// The colour 0xRRGGBB of a pixel, without its top byte.
  [[nodiscard]] std::uint32_t Color(int x, int y) const { return Row(y)[x] & 0xFFFFFF; }

 private:
  detail::PlaneMemory memory_;
  std::uint32_t* pixels_;
};

/// A plane of bits; the leftmost pixel is the top bit of its byte.
class qmMask {
 public:
  /// Takes memory of `planeHeight` rows of `stride`; planes are made by `AllocMask` and `ViewMask`.
  qmMask(detail::PlaneMemory memory, int planeWidth, int planeHeight, int stride);

  const int width;
  const int height;
  const int bytesPerRow;

  [[nodiscard]] std::uint8_t* Row(int y) {
    return bits_ + static_cast<std::ptrdiff_t>(y) * bytesPerRow;
  }
  [[nodiscard]] const std::uint8_t* Row(int y) const {
    return bits_ + static_cast<std::ptrdiff_t>(y) * bytesPerRow;
  }
  [[nodiscard]] bool Test(int x, int y) const { return Row(y)[x >> 3] >> (7 - (x & 7)) & 1; }
  void Set(int x, int y, bool visible) {
    std::uint8_t& byte = Row(y)[x >> 3];
    const auto bit = static_cast<std::uint8_t>(128 >> (x & 7));
    byte = static_cast<std::uint8_t>(visible ? byte | bit : byte & ~bit);
  }
  /// The whole plane, padding included.
  [[nodiscard]] std::span<std::uint8_t> Bytes() {
    return {bits_, static_cast<std::size_t>(bytesPerRow) * static_cast<std::size_t>(height)};
  }

 private:
  detail::PlaneMemory memory_;
  std::uint8_t* bits_;
};

/// A plane of bytes: 0 is fully transparent, 255 fully opaque.
class qmAlphaMap {
 public:
  /// Takes memory of `planeHeight` rows of `stride`; planes are made by `AllocAlphaMap` and
  /// `ViewAlphaMap`.
  qmAlphaMap(detail::PlaneMemory memory, int planeWidth, int planeHeight, int stride);

  const int width;
  const int height;
  const int bytesPerRow;

  [[nodiscard]] std::uint8_t* Row(int y) {
    return bytes_ + static_cast<std::ptrdiff_t>(y) * bytesPerRow;
  }
  [[nodiscard]] const std::uint8_t* Row(int y) const {
    return bytes_ + static_cast<std::ptrdiff_t>(y) * bytesPerRow;
  }
  /// The whole plane, padding included.
  [[nodiscard]] std::span<std::uint8_t> Bytes() {
    return {bytes_, static_cast<std::size_t>(bytesPerRow) * static_cast<std::size_t>(height)};
  }

 private:
  detail::PlaneMemory memory_;
  std::uint8_t* bytes_;
};

using BitmapPtr = std::shared_ptr<qmBitmap>;
using MaskPtr = std::shared_ptr<qmMask>;
using AlphaPtr = std::shared_ptr<qmAlphaMap>;

/// The triple in which planes travel.
struct Planes {
  BitmapPtr bitmap;
  MaskPtr mask;
  AlphaPtr alpha;

  [[nodiscard]] bool IsOpaque() const { return !mask && !alpha; }
  /// The size that all planes have; of planes out of step, what they have in common.
  [[nodiscard]] int Width() const;
  [[nodiscard]] int Height() const;
};

/// Allocate planes of a size from 1 to 65536 in both directions; everything else, and planes of
/// 2 GiB or more, is answered with `Error::OutOfMemory`. The pixels of a new bitmap, and the other
/// planes without `clear`, hold anything.
[[nodiscard]] Result<BitmapPtr> AllocBitmap(int width, int height);
[[nodiscard]] Result<MaskPtr> AllocMask(int width, int height, bool clear);
[[nodiscard]] Result<AlphaPtr> AllocAlphaMap(int width, int height, bool clear);

/// Views of planes that somebody else owns and keeps alive. The stride is in pixels for bitmaps and
/// in bytes for the others.
[[nodiscard]] qmBitmap ViewBitmap(std::uint32_t* pixels, int pixelsPerRow, int width, int height);
[[nodiscard]] qmMask ViewMask(std::uint8_t* bits, int bytesPerRow, int width, int height);
[[nodiscard]] qmAlphaMap ViewAlphaMap(std::uint8_t* bytes, int bytesPerRow, int width, int height);

}  // namespace quillmere
