// Arithmetic on single colours.
#pragma once

#include <array>
#include <cstdint>

namespace quillmere {

[[nodiscard]] constexpr int RedOf(std::uint32_t rgb) {
  return static_cast<int>(rgb >> 16 & 255);
}
[[nodiscard]] constexpr int GreenOf(std::uint32_t rgb) {
  return static_cast<int>(rgb >> 8 & 255);
}
[[nodiscard]] constexpr int BlueOf(std::uint32_t rgb) {
  return static_cast<int>(rgb & 255);
}

/// Joins channels without masking them, as bits of 32.
[[nodiscard]] constexpr std::uint32_t JoinRGB(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
  return r << 16 | g << 8 | b;
}

/// Moves each channel of `from` towards `to`: c1 + ((c2 - c1) * ratio >> 8), ratio 0 to 255. The
/// top byte of the result is 0.
[[nodiscard]] std::uint32_t MixColors(std::uint32_t from, std::uint32_t to, int ratio);

/// The colour as a screen of that many bits per pixel can show it.
[[nodiscard]] std::uint32_t ColorOnScreen(std::uint32_t rgb, int bitsPerPixel);

/// Colours of 12 bits to choose from at random.
extern const std::array<std::uint16_t, 246> randomColors;

/// A colour of 12 bits with each digit doubled: 0xABC gives 0xAABBCC.
[[nodiscard]] constexpr std::uint32_t ExpandColor12(std::uint16_t color) {
  return JoinRGB((color >> 8 & 15) * 17u, (color >> 4 & 15) * 17u, (color & 15) * 17u);
}

}  // namespace quillmere
