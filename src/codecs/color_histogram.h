// The first half of the quantiser: how often each colour occurs, on 5 bits of red, 6 of green and 5
// of blue, and the boxes that median cut makes of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/quantizer.h"

namespace quillmere {

inline constexpr int histogramReds = 32;
inline constexpr int histogramGreens = 64;
inline constexpr int histogramBlues = 32;
inline constexpr std::size_t histogramCells = histogramReds * histogramGreens * histogramBlues;

/// The place of a cell by its coordinates.
[[nodiscard]] constexpr std::size_t CellAt(int red, int green, int blue) {
  return static_cast<std::size_t>(red) << 11 | static_cast<std::size_t>(green) << 5 |
         static_cast<std::size_t>(blue);
}

/// The place of the cell that a colour 0xRRGGBB lies in.
[[nodiscard]] constexpr std::size_t CellOf(std::uint32_t color) {
  return (color >> 8 & 0xF800) | (color >> 5 & 0x07E0) | (color >> 3 & 0x001F);
}

/// Counts up to 65535 for each cell.
using Histogram = std::vector<std::uint16_t>;

/// Counts the colours of a picture, those of the key left out (-1 for none). The histogram must be
/// clear.
void CountColors(const PixelView& image, std::int32_t keyColor, Histogram& histogram);

/// Cuts the space of colours into at most `most` boxes and gives the mean colour 0x00RRGGBB of
/// each.
[[nodiscard]] std::vector<std::uint32_t> ChooseColors(const Histogram& histogram, int most);

}  // namespace quillmere
