#include "pixels/image_ops.h"

#include <algorithm>
#include <array>
#include <new>
#include <vector>

#include "pixels/kernels.h"

namespace quillmere {
namespace {

constexpr std::uint32_t colorBits = 0xFFFFFF;

/// Bytes with the order of their bits turned round.
constexpr std::array<std::uint8_t, 256> mirroredBytes = [] {
  std::array<std::uint8_t, 256> table{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    for (unsigned bit = 0; bit < 8; ++bit) {
      if (byte >> bit & 1) table[byte] |= static_cast<std::uint8_t>(128u >> bit);
    }
  }
  return table;
}();

template <class Plane, class Swap>
void FlipRows(Plane& plane, Swap swap) {
  for (int y = 0; y < plane.height / 2; ++y) swap(plane.Row(y), plane.Row(plane.height - 1 - y));
}

/// Mirrors one row of bits through a copy of it. The copy's bytes run backwards, so that the row's
/// first pixel stands in the copy's last byte; `skip` padding bits come before it.
void MirrorBits(std::uint8_t* row, int width, std::uint8_t* buffer) {
  const int bytes = (width + 7) / 8;
  for (int i = 0; i < bytes; ++i) buffer[i] = mirroredBytes[row[bytes - 1 - i]];
  const int skip = bytes * 8 - width;
  const BitRow mirrored{buffer, skip};
  for (int x = 0; x < width; x += 8) {
    const int n = std::min(8, width - x);
    const unsigned keep = 0xFFu >> n;
    row[x >> 3] =
        static_cast<std::uint8_t>((FetchBits(mirrored, x, n) & ~keep) | (row[x >> 3] & keep));
  }
}

void ComplementBytes(std::span<std::uint8_t> bytes) {
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(~byte);
}

std::uint32_t ReplaceColor(std::uint32_t pixel, std::span<const ColorPair> pairs) {
  for (const ColorPair& pair : pairs) {
    if (((pixel ^ pair.from) & colorBits) == 0) pixel = pair.to;
  }
  return pixel;
}

}  // namespace

void GrayPicture(qmBitmap& bitmap) {
  for (int y = 0; y < bitmap.height; ++y) Kernels().gray(bitmap.Row(y), bitmap.width);
}

void InvertPicture(qmBitmap& bitmap) {
  for (int y = 0; y < bitmap.height; ++y) Kernels().invert(bitmap.Row(y), bitmap.width);
}

void InvertMask(qmMask& mask) {
  ComplementBytes(mask.Bytes());
}

void InvertAlpha(qmAlphaMap& alpha) {
  ComplementBytes(alpha.Bytes());
}

namespace {

void FlipDown(const Planes& planes) {
  const auto swapBytes = [](int count) {
    return [count](std::uint8_t* a, std::uint8_t* b) { std::swap_ranges(a, a + count, b); };
  };
  if (planes.bitmap) {
    FlipRows(*planes.bitmap, [width = planes.bitmap->width](std::uint32_t* a, std::uint32_t* b) {
      Kernels().swapRows(a, b, width);
    });
  }
  if (planes.mask) FlipRows(*planes.mask, swapBytes(planes.mask->bytesPerRow));
  if (planes.alpha) FlipRows(*planes.alpha, swapBytes(planes.alpha->bytesPerRow));
}

void MirrorMask(qmMask& mask) {
  std::vector<std::uint8_t> buffer(static_cast<std::size_t>(mask.bytesPerRow));
  for (int y = 0; y < mask.height; ++y) MirrorBits(mask.Row(y), mask.width, buffer.data());
}

/// The mask comes first: it alone can fail, and then nothing has changed.
void FlipAcross(const Planes& planes) {
  if (planes.mask) MirrorMask(*planes.mask);
  if (planes.bitmap) {
    for (int y = 0; y < planes.bitmap->height; ++y) {
      Kernels().reverse(planes.bitmap->Row(y), planes.bitmap->width);
    }
  }
  if (planes.alpha) {
    for (int y = 0; y < planes.alpha->height; ++y) {
      std::reverse(planes.alpha->Row(y), planes.alpha->Row(y) + planes.alpha->width);
    }
  }
}

}  // namespace

Status FlipPlanes(const Planes& planes, bool horizontal) {
  try {
    if (horizontal) {
      FlipAcross(planes);
    } else {
      FlipDown(planes);
    }
  } catch (const std::bad_alloc&) {
    return Fail(Error::OutOfMemory);
  }
  return {};
}

void ReplaceColorList(qmBitmap& bitmap, std::span<const ColorPair> pairs) {
  if (pairs.empty()) return;
  std::uint32_t lastPixel = bitmap.Row(0)[0];
  std::uint32_t lastResult = ReplaceColor(lastPixel, pairs);
  for (int y = 0; y < bitmap.height; ++y) {
    std::uint32_t* row = bitmap.Row(y);
    for (int x = 0; x < bitmap.width; ++x) {
      if (row[x] != lastPixel) {
        lastPixel = row[x];
        lastResult = ReplaceColor(lastPixel, pairs);
      }
      row[x] = lastResult;
    }
  }
}

}  // namespace quillmere
