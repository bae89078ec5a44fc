#include "platform/pointer_image.h"

#include <algorithm>

namespace quillmere {

Result<std::unique_ptr<MemoryPointer>> MakePointerImage(const PixelView& image, int hotX,
                                                        int hotY) {
  if (image.pixels == nullptr || image.width < 1 || image.height < 1) {
    return Fail(Error::CannotCreatePointer);
  }
  const int longest = std::max({image.width, image.height, largestPointerSide});
  const auto scaled = [longest](int size) {
    return static_cast<int>(std::int64_t{size} * largestPointerSide / longest);
  };
  PixelImage picture{std::max(scaled(image.width), 1), std::max(scaled(image.height), 1), {}};
  picture.pixels.reserve(static_cast<std::size_t>(picture.width) *
                         static_cast<std::size_t>(picture.height));
  for (int y = 0; y < picture.height; ++y) {
    const std::int64_t fromY = std::int64_t{y} * image.height / picture.height;
    for (int x = 0; x < picture.width; ++x) {
      const std::int64_t fromX = std::int64_t{x} * image.width / picture.width;
      picture.pixels.push_back(image.pixels[fromY * image.stride + fromX]);
    }
  }
  const int x = std::clamp(scaled(std::clamp(hotX, 0, image.width - 1)), 0, picture.width - 1);
  const int y = std::clamp(scaled(std::clamp(hotY, 0, image.height - 1)), 0, picture.height - 1);
  return std::make_unique<MemoryPointer>(std::move(picture), x, y);
}

}  // namespace quillmere
