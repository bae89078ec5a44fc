#include "pixels/pixel_format.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "pixels/area.h"
#include "pixels/color.h"

namespace quillmere {
namespace {

/// Where a channel stands in the stored word, and how many of its top bits are kept.
struct Channel {
  int shift;
  int bits;

  [[nodiscard]] std::uint32_t Pack(int value) const {
    return static_cast<std::uint32_t>(value >> (8 - bits)) << shift;
  }
  [[nodiscard]] std::uint32_t Unpack(std::uint32_t word) const {
    return (word >> shift & ((1u << bits) - 1)) << (8 - bits);
  }
};

struct Layout {
  int bytes;
  Channel red;
  Channel green;
  Channel blue;
  bool isSwapped = false;
};

/// By format. The 3-byte forms are numbers whose lowest byte comes last in memory.
constexpr std::array<Layout, pixelFormatCount> layouts{{{2, {10, 5}, {5, 5}, {0, 5}},
                                                        {2, {0, 5}, {5, 5}, {10, 5}},
                                                        {2, {10, 5}, {5, 5}, {0, 5}, true},
                                                        {2, {0, 5}, {5, 5}, {10, 5}, true},
                                                        {2, {11, 5}, {5, 6}, {0, 5}},
                                                        {2, {0, 5}, {5, 6}, {11, 5}},
                                                        {2, {11, 5}, {5, 6}, {0, 5}, true},
                                                        {2, {0, 5}, {5, 6}, {11, 5}, true},
                                                        {3, {16, 8}, {8, 8}, {0, 8}},
                                                        {3, {0, 8}, {8, 8}, {16, 8}},
                                                        {4, {16, 8}, {8, 8}, {0, 8}},
                                                        {4, {8, 8}, {16, 8}, {24, 8}},
                                                        {4, {24, 8}, {16, 8}, {8, 8}}}};

const Layout& LayoutOf(PixelFormat format) {
  return layouts[static_cast<std::size_t>(format)];
}

std::uint32_t SwapIfNeeded(std::uint32_t word, const Layout& layout) {
  return layout.isSwapped ? (word >> 8 & 0xFF) | (word & 0xFF) << 8 : word;
}

std::uint32_t LoadPixel(const std::uint8_t* address, int bytes) {
  if (bytes == 3) return JoinRGB(address[0], address[1], address[2]);
  if (bytes == 2) {
    std::uint16_t word;
    std::memcpy(&word, address, sizeof word);
    return word;
  }
  std::uint32_t word;
  std::memcpy(&word, address, sizeof word);
  return word;
}

void StorePixel(std::uint8_t* address, std::uint32_t pixel, int bytes) {
  if (bytes == 3) {
    address[0] = static_cast<std::uint8_t>(pixel >> 16);
    address[1] = static_cast<std::uint8_t>(pixel >> 8);
    address[2] = static_cast<std::uint8_t>(pixel);
  } else if (bytes == 2) {
    const auto word = static_cast<std::uint16_t>(pixel);
    std::memcpy(address, &word, sizeof word);
  } else {
    std::memcpy(address, &pixel, sizeof pixel);
  }
}

std::uint8_t* AddressOf(const qmBitmapLock& lock, int x, int y) {
  return lock.base + (static_cast<std::ptrdiff_t>(y) * lock.pixelsPerRow + x) * lock.bytesPerPixel;
}

}  // namespace

int BytesPerPixel(PixelFormat format) {
  return LayoutOf(format).bytes;
}

std::uint32_t RGBToPixel(std::uint32_t rgb, PixelFormat format) {
  const Layout& layout = LayoutOf(format);
  const std::uint32_t word =
      layout.red.Pack(RedOf(rgb)) | layout.green.Pack(GreenOf(rgb)) | layout.blue.Pack(BlueOf(rgb));
  return SwapIfNeeded(word, layout);
}

std::uint32_t PixelToRGB(std::uint32_t pixel, PixelFormat format) {
  const Layout& layout = LayoutOf(format);
  const std::uint32_t word = SwapIfNeeded(pixel, layout);
  return JoinRGB(layout.red.Unpack(word), layout.green.Unpack(word), layout.blue.Unpack(word));
}

qmBitmapLock LockBitmap(qmBitmap& bitmap) {
  return {.base = reinterpret_cast<std::uint8_t*>(bitmap.Row(0)),
          .format = PixelFormat::Argb32,
          .bytesPerPixel = qmBitmap::bytesPerPixel,
          .pixelsPerRow = bitmap.pixelsPerRow,
          .width = bitmap.width,
          .height = bitmap.height};
}

std::uint32_t ReadPixelRGB(const qmBitmapLock& lock, int x, int y) {
  return PixelToRGB(LoadPixel(AddressOf(lock, x, y), lock.bytesPerPixel), lock.format);
}

void ReadRGBBytes(const std::uint8_t* address, PixelFormat format, std::uint8_t (&rgb)[3]) {
  const std::uint32_t color = PixelToRGB(LoadPixel(address, BytesPerPixel(format)), format);
  rgb[0] = static_cast<std::uint8_t>(RedOf(color));
  rgb[1] = static_cast<std::uint8_t>(GreenOf(color));
  rgb[2] = static_cast<std::uint8_t>(BlueOf(color));
}

void WriteRGBBytes(std::uint8_t* address, PixelFormat format, const std::uint8_t (&rgb)[3]) {
  StorePixel(address, RGBToPixel(JoinRGB(rgb[0], rgb[1], rgb[2]), format), BytesPerPixel(format));
}

void ConvertPixels(const qmBitmap& source, int sx, int sy, const qmBitmapLock& target, int tx,
                   int ty, int width, int height) {
  const BlitArea cut =
      ClipTarget(ClipSource({sx, sy, tx, ty, width, height}, {0, 0, source.width, source.height}),
                 {0, 0, target.width, target.height});
  for (int row = 0; row < cut.height; ++row) {
    const std::uint32_t* from = source.Row(cut.sy + row) + cut.sx;
    std::uint8_t* to = AddressOf(target, cut.tx, cut.ty + row);
    for (int i = 0; i < cut.width; ++i, to += target.bytesPerPixel) {
      StorePixel(to, RGBToPixel(from[i], target.format), target.bytesPerPixel);
    }
  }
}

}  // namespace quillmere
