#include "pixels/color.h"

namespace quillmere {

std::uint32_t MixColors(std::uint32_t from, std::uint32_t to, int ratio) {
  const auto channel = [ratio](int a, int b) {
    return static_cast<std::uint32_t>(a + ((b - a) * ratio >> 8));
  };
  return JoinRGB(channel(RedOf(from), RedOf(to)), channel(GreenOf(from), GreenOf(to)),
                 channel(BlueOf(from), BlueOf(to)));
}

std::uint32_t ColorOnScreen(std::uint32_t rgb, int bitsPerPixel) {
  if (bitsPerPixel == 15) return rgb & 0xF8F8F8;
  if (bitsPerPixel == 16) return rgb & 0xF8FCF8;
  return rgb;
}

const std::array<std::uint16_t, 246> randomColors = [] {
  constexpr std::uint16_t first[] = {0xCCC, 0x000, 0xFFF, 0x888, 0xA20, 0xD50,
                                     0xEB0, 0x080, 0x6B0, 0x170, 0x5BC, 0x367};
  std::array<std::uint16_t, 246> colors{};
  std::size_t count = 0;
  for (const std::uint16_t color : first) colors[count++] = color;
  // An odd step visits every 12-bit colour once before it repeats one, far from its neighbours.
  for (unsigned color = 0x5B3; count < colors.size(); color = (color + 0x5B3) & 0xFFF) {
    colors[count++] = static_cast<std::uint16_t>(color);
  }
  return colors;
}();

}  // namespace quillmere
