#include "lib/icon_picture.h"

#include <array>

namespace quillmere {
namespace {

/// The colours that icons are drawn for; further pens begin again at the first.
constexpr std::array<std::uint32_t, 8> pens = {0x00959595, 0xFF000000, 0xFFFFFFFF, 0xFF3B67A2,
                                               0xFF7B7B7B, 0xFFAFAFAF, 0xFFAA907C, 0xFFFFA997};
constexpr std::size_t mostPlanes = 8;

}  // namespace

std::optional<PixelImage> IconPicture(const IconFile& icon) {
  const std::optional<IconPlanes> picture = FirstPicture(icon);
  if (!picture || picture->depth > mostPlanes) return std::nullopt;
  const std::size_t bytesPerRow = (picture->width + 15) / 16 * 2;
  const std::size_t bytesPerPlane = bytesPerRow * picture->height;
  PixelImage image{static_cast<int>(picture->width), static_cast<int>(picture->height), {}};
  image.pixels.reserve(picture->width * picture->height);
  for (std::size_t y = 0; y < picture->height; ++y) {
    for (std::size_t x = 0; x < picture->width; ++x) {
      std::size_t pen = 0;
      for (std::size_t plane = 0; plane < picture->depth; ++plane) {
        const unsigned byte = picture->data[plane * bytesPerPlane + y * bytesPerRow + x / 8];
        pen |= (byte >> (7 - x % 8) & 1u) << plane;
      }
      image.pixels.push_back(pens[pen % pens.size()] | (pen == 0 ? 0 : 0xFF000000));
    }
  }
  return image;
}

}  // namespace quillmere
