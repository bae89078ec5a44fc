#include "pixels/plane_convert.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "pixels/area.h"
#include "pixels/mask_ops.h"

namespace quillmere {
namespace {

constexpr std::uint32_t colorBits = 0xFFFFFF;

/// Whether an array holds `height` rows of `width` words at that stride.
bool HoldsPicture(std::size_t words, int width, int height, int pixelsPerRow) {
  if (width < 1 || height < 1 || pixelsPerRow < width) return false;
  const std::int64_t needed =
      static_cast<std::int64_t>(pixelsPerRow) * (height - 1) + static_cast<std::int64_t>(width);
  return static_cast<std::uint64_t>(needed) <= words;
}

/// Sets one bit for each pixel whose colour differs from the key; the padding is cleared.
void KeyRow(const std::uint32_t* pixels, int width, std::uint32_t key, std::uint8_t* bits,
            int bytesPerRow) {
  std::memset(bits, 0, static_cast<std::size_t>(bytesPerRow));
  for (int x = 0; x < width; x += 8) {
    const int n = std::min(8, width - x);
    unsigned byte = 0;
    for (int i = 0; i < n; ++i) {
      byte |= ((pixels[x + i] ^ key) & colorBits) != 0 ? 128u >> i : 0u;
    }
    bits[x >> 3] = static_cast<std::uint8_t>(byte);
  }
}

/// Makes one row of alpha-carrying words of a row of the three planes.
void ComposeRow(const Planes& planes, int y, std::uint32_t fill, bool keepMask,
                std::uint32_t* out) {
  const int width = planes.bitmap->width;
  const std::uint32_t* pixels = planes.bitmap->Row(y);
  if (planes.mask && y < planes.mask->height) {
    const int covered = std::min(width, planes.mask->width);
    for (int x = 0; x < width; ++x) {
      const bool visible = x < covered && planes.mask->Test(x, y);
      const std::uint32_t color = pixels[x] & colorBits;
      out[x] = visible ? color | ~colorBits : keepMask ? color : fill;
    }
  } else if (planes.alpha && y < planes.alpha->height) {
    const std::uint8_t* alpha = planes.alpha->Row(y);
    const int covered = std::min(width, planes.alpha->width);
    for (int x = 0; x < width; ++x) {
      const std::uint32_t a = x < covered ? alpha[x] : 0;
      out[x] = a << 24 | ((a != 0 ? pixels[x] : fill) & colorBits);
    }
  } else {
    std::transform(pixels, pixels + width, out,
                   [](std::uint32_t pixel) { return pixel | ~colorBits; });
  }
}

}  // namespace

Result<Planes> CopyPlanes(const Planes& source, int x, int y, int width, int height) {
  const Area cut = ClipArea({x, y, width, height}, source.Width(), source.Height());
  const BlitArea area{cut.x, cut.y, 0, 0, cut.width, cut.height};
  Planes copy;
  if (source.bitmap) {
    copy.bitmap = TRY(AllocBitmap(cut.width, cut.height));
    for (int row = 0; row < cut.height; ++row) {
      std::memcpy(copy.bitmap->Row(row), source.bitmap->Row(cut.y + row) + cut.x,
                  static_cast<std::size_t>(cut.width) * sizeof(std::uint32_t));
    }
  }
  if (source.mask) {
    copy.mask = TRY(AllocMask(cut.width, cut.height, true));
    CopyMask(*source.mask, *copy.mask, area, MASKVANILLACOPY);
  }
  if (source.alpha) {
    copy.alpha = TRY(AllocAlphaMap(cut.width, cut.height, true));
    CopyAlpha(*source.alpha, *copy.alpha, area, AlphaCopyMode::Copy);
  }
  return copy;
}

Result<Planes> CopyPlanes(const Planes& source) {
  return CopyPlanes(source, 0, 0, source.Width(), source.Height());
}

Result<std::vector<std::uint32_t>> PlanesToARGB(const Planes& planes, std::uint32_t fill,
                                                bool keepMask) {
  const auto width = static_cast<std::size_t>(planes.bitmap->width);
  const auto height = static_cast<std::size_t>(planes.bitmap->height);
  try {
    std::vector<std::uint32_t> pixels(width * height);
    for (std::size_t y = 0; y < height; ++y) {
      ComposeRow(planes, static_cast<int>(y), fill, keepMask, pixels.data() + y * width);
    }
    return pixels;
  } catch (const std::bad_alloc&) {
    return Fail(Error::OutOfMemory);
  }
}

Result<Planes> ARGBToBitmap(std::span<const std::uint32_t> pixels, std::optional<std::uint32_t> key,
                            int width, int height, int pixelsPerRow) {
  if (!HoldsPicture(pixels.size(), width, height, pixelsPerRow)) return Fail(Error::OutOfMemory);
  Planes planes;
  planes.bitmap = TRY(AllocBitmap(width, height));
  if (key) planes.mask = TRY(AllocMask(width, height, true));
  for (int y = 0; y < height; ++y) {
    const std::uint32_t* row =
        pixels.data() + static_cast<std::ptrdiff_t>(y) * static_cast<std::ptrdiff_t>(pixelsPerRow);
    std::memcpy(planes.bitmap->Row(y), row,
                static_cast<std::size_t>(width) * sizeof(std::uint32_t));
    if (key) KeyRow(row, width, *key, planes.mask->Row(y), planes.mask->bytesPerRow);
  }
  return planes;
}

Result<AlphaPtr> ARGBToAlpha(std::span<const std::uint32_t> pixels, int width, int height,
                             int pixelsPerRow) {
  if (!HoldsPicture(pixels.size(), width, height, pixelsPerRow)) return Fail(Error::OutOfMemory);
  AlphaPtr alpha = TRY(AllocAlphaMap(width, height, true));
  for (int y = 0; y < height; ++y) {
    const std::uint32_t* row =
        pixels.data() + static_cast<std::ptrdiff_t>(y) * static_cast<std::ptrdiff_t>(pixelsPerRow);
    std::transform(row, row + width, alpha->Row(y),
                   [](std::uint32_t pixel) { return static_cast<std::uint8_t>(pixel >> 24); });
  }
  return alpha;
}

Result<MaskPtr> KeyToMask(const qmBitmap& bitmap, std::uint32_t key) {
  MaskPtr mask = TRY(AllocMask(bitmap.width, bitmap.height, true));
  for (int y = 0; y < bitmap.height; ++y) {
    KeyRow(bitmap.Row(y), bitmap.width, key, mask->Row(y), mask->bytesPerRow);
  }
  return mask;
}

}  // namespace quillmere
