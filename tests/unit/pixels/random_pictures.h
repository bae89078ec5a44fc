// Random planes, rectangles and bytes for tests that compare a fast loop with a plain one. Bytes at
// which rounding changes its mind (0, 1, 127, 128, 254, 255) come more often than others, and rows
// are of any length.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <span>
#include <type_traits>
#include <utility>

#include "pixels/area.h"
#include "pixels/planes.h"

namespace quillmere::test {

class Dice {
 public:
  explicit Dice(std::uint32_t seed) : engine_(seed) {}

  int Int(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine_); }
  bool Coin() { return Int(0, 1) == 1; }

  std::uint8_t Byte() {
    constexpr std::uint8_t edges[] = {0, 1, 127, 128, 254, 255};
    const auto drawn = static_cast<std::uint32_t>(engine_());
    return static_cast<std::uint8_t>(drawn >> 31 != 0 ? edges[(drawn >> 8) % 6] : drawn & 255);
  }

  std::uint32_t Pixel() {
    return static_cast<std::uint32_t>(Byte()) << 24 | static_cast<std::uint32_t>(Byte()) << 16 |
           static_cast<std::uint32_t>(Byte()) << 8 | Byte();
  }

  BitmapPtr Bitmap(int width, int height) {
    const BitmapPtr bitmap =
        Plane<qmBitmap>(width, height, width + Int(0, 5), sizeof(std::uint32_t));
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) bitmap->At(x, y) = Pixel();
    }
    return bitmap;
  }

  /// Bits in runs, so that whole bytes of both kinds occur beside mixed ones.
  MaskPtr Mask(int width, int height) {
    const MaskPtr mask = Plane<qmMask>(width, height, (width + 7) / 8 + Int(0, 3), 1);
    bool bit = Coin();
    for (int y = 0; y < height; ++y) {
      for (int x = 0, run = 0; x < width; ++x, --run) {
        if (run <= 0) {
          run = Coin() ? Int(1, 4) : Int(8, 40);
          bit = !bit;
        }
        mask->Set(x, y, bit);
      }
    }
    return mask;
  }

  /// Runs of one value beside noise.
  AlphaPtr Alpha(int width, int height) {
    const AlphaPtr alpha = Plane<qmAlphaMap>(width, height, width + Int(0, 5), 1);
    for (int y = 0; y < height; ++y) {
      for (int x = 0, run = 0; x < width; ++x) {
        std::uint8_t& byte = alpha->Row(y)[x];
        if (run > 0) {
          byte = alpha->Row(y)[x - 1];
          --run;
        } else {
          byte = Byte();
          if (Int(0, 5) == 0) run = Int(8, 30);
        }
      }
    }
    return alpha;
  }

  /// A rectangle that often reaches over the edges of one plane or both. Corners are mostly near
  /// the planes' own, so that most rectangles draw something.
  BlitArea Rectangle(int size) {
    return {Corner(size), Corner(size), Corner(size), Corner(size), Int(0, size), Int(0, size)};
  }

 private:
  int Corner(int size) { return Int(0, 7) == 0 ? Int(-5, size) : Int(Int(0, 3) == 0 ? -5 : 0, 12); }

  /// A plane of any stride without a spare byte behind it, so that a checker of memory sees every
  /// step outside. The padding holds noise.
  template <class T>
  std::shared_ptr<T> Plane(int width, int height, int stride, std::size_t elementSize) {
    const std::size_t bytes =
        static_cast<std::size_t>(stride) * static_cast<std::size_t>(height) * elementSize;
    auto* memory = static_cast<std::byte*>(std::malloc(bytes));
    std::generate_n(memory, bytes, [this] { return static_cast<std::byte>(engine_()); });
    return std::make_shared<T>(detail::PlaneMemory(memory), width, height, stride);
  }

  std::mt19937 engine_;
};

/// Bytes of all rows of a plane, the padding included.
inline std::span<const std::byte> BytesOf(const qmBitmap& plane) {
  return {reinterpret_cast<const std::byte*>(plane.Row(0)),
          static_cast<std::size_t>(plane.pixelsPerRow) * static_cast<std::size_t>(plane.height) *
              sizeof(std::uint32_t)};
}
template <class Plane>
std::span<const std::byte> BytesOf(const Plane& plane) {
  return {reinterpret_cast<const std::byte*>(plane.Row(0)),
          static_cast<std::size_t>(plane.bytesPerRow) * static_cast<std::size_t>(plane.height)};
}

/// A copy to the last byte.
template <class Plane>
std::shared_ptr<Plane> Clone(const Plane& plane) {
  const auto bytes = BytesOf(plane);
  detail::PlaneMemory memory(static_cast<std::byte*>(std::malloc(bytes.size())));
  std::ranges::copy(bytes, memory.get());
  int stride = 0;
  if constexpr (std::is_same_v<Plane, qmBitmap>) {
    stride = plane.pixelsPerRow;
  } else {
    stride = plane.bytesPerRow;
  }
  return std::make_shared<Plane>(std::move(memory), plane.width, plane.height, stride);
}

/// Whether two planes that were clones are still the same, padding included.
template <class Plane>
bool SameBytes(const Plane& a, const Plane& b) {
  return std::ranges::equal(BytesOf(a), BytesOf(b));
}

/// Whether two colour planes of any stride show the same words.
inline bool SamePixels(const qmBitmap& a, const qmBitmap& b) {
  for (int y = 0; y < a.height; ++y) {
    if (!std::equal(a.Row(y), a.Row(y) + a.width, b.Row(y))) return false;
  }
  return true;
}

/// Calls `visit(sx, sy, tx, ty)` for the pixels of a rectangle that lie in both planes.
template <class Source, class Target, class Visit>
void ForPixels(const BlitArea& area, const Source& source, const Target& target, Visit visit) {
  for (int j = 0; j < area.height; ++j) {
    for (int i = 0; i < area.width; ++i) {
      const int sx = area.sx + i, sy = area.sy + j, tx = area.tx + i, ty = area.ty + j;
      if (sx < 0 || sy < 0 || sx >= source.width || sy >= source.height) continue;
      if (tx < 0 || ty < 0 || tx >= target.width || ty >= target.height) continue;
      visit(sx, sy, tx, ty);
    }
  }
}

/// Calls `visit(x, y)` for the pixels of a rectangle that lie in a plane.
template <class Plane, class Visit>
void ForPixels(const Area& area, const Plane& plane, Visit visit) {
  ForPixels({area.x, area.y, area.x, area.y, area.width, area.height}, plane, plane,
            [&](int, int, int x, int y) { visit(x, y); });
}

}  // namespace quillmere::test
