// Random planes, rectangles and bytes for tests that compare a fast loop with a plain one. Bytes at
// which rounding changes its mind (0, 1, 127, 128, 254, 255) come more often than others.
#pragma once

#include <cstdint>
#include <random>

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
    return Coin() ? edges[Int(0, 5)] : static_cast<std::uint8_t>(Int(0, 255));
  }

  std::uint32_t Pixel() {
    return static_cast<std::uint32_t>(Byte()) << 24 | static_cast<std::uint32_t>(Byte()) << 16 |
           static_cast<std::uint32_t>(Byte()) << 8 | Byte();
  }

  BitmapPtr Bitmap(int width, int height) {
    BitmapPtr bitmap = *AllocBitmap(width, height);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) bitmap->At(x, y) = Pixel();
    }
    return bitmap;
  }

  /// Bits in runs, so that whole bytes of both kinds occur beside mixed ones.
  MaskPtr Mask(int width, int height) {
    MaskPtr mask = *AllocMask(width, height, true);
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
    AlphaPtr alpha = *AllocAlphaMap(width, height, true);
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

  /// A rectangle that often reaches over the edges of one plane or both.
  BlitArea Rectangle(int size) {
    return {Int(-5, size), Int(-5, size), Int(-5, size), Int(-5, size), Int(0, size), Int(0, size)};
  }

 private:
  std::mt19937 engine_;
};

inline BitmapPtr Clone(const qmBitmap& bitmap) {
  BitmapPtr copy = *AllocBitmap(bitmap.width, bitmap.height);
  for (int y = 0; y < bitmap.height; ++y) {
    std::copy_n(bitmap.Row(y), bitmap.width, copy->Row(y));
  }
  return copy;
}

/// Whether two colour planes hold the same words; with `colorOnly` the top byte may differ.
inline bool SamePixels(const qmBitmap& a, const qmBitmap& b, bool colorOnly = false) {
  const std::uint32_t bits = colorOnly ? 0xFFFFFF : 0xFFFFFFFF;
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      if (((a.Row(y)[x] ^ b.Row(y)[x]) & bits) != 0) return false;
    }
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

}  // namespace quillmere::test
