// Pictures as they cross the border of the platform.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillmere {

/// A view of pixels in format 10 (0xAARRGGBB words). `stride` counts pixels.
struct PixelView {
  const std::uint32_t* pixels = nullptr;
  int width = 0;
  int height = 0;
  int stride = 0;
};

/// Pixels that somebody owns, rows without padding.
struct PixelImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;
};

[[nodiscard]] inline PixelImage CopyPixels(const PixelView& view) {
  PixelImage image{view.width, view.height, {}};
  for (int y = 0; y < view.height; ++y) {
    const std::uint32_t* row = view.pixels + std::ptrdiff_t{y} * view.stride;
    image.pixels.insert(image.pixels.end(), row, row + view.width);
  }
  return image;
}

}  // namespace quillmere
