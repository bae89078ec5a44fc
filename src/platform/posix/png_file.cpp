#include "platform/posix/png_file.h"

#include <png.h>

#include <cstdint>
#include <vector>

namespace quillmere {

bool WritePng(const std::string& path, const PixelView& picture) {
  const auto width = static_cast<std::size_t>(picture.width);
  std::vector<std::uint8_t> rgb;
  rgb.reserve(width * static_cast<std::size_t>(picture.height) * 3);
  for (int y = 0; y < picture.height; ++y) {
    const std::uint32_t* row = picture.pixels + std::ptrdiff_t{y} * picture.stride;
    for (std::size_t x = 0; x < width; ++x) {
      rgb.push_back(static_cast<std::uint8_t>(row[x] >> 16));
      rgb.push_back(static_cast<std::uint8_t>(row[x] >> 8));
      rgb.push_back(static_cast<std::uint8_t>(row[x]));
    }
  }
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_RGB;
  return png_image_write_to_file(&image, path.c_str(), 0, rgb.data(), 0, nullptr) != 0;
}

}  // namespace quillmere
