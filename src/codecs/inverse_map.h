// The way from a colour to the nearest one of a palette: a cell for each 5, 6 and 5 bits, filled in
// blocks when they are first asked for.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "codecs/color_histogram.h"

namespace quillmere {

class InverseMap {
 public:
  /// Takes a histogram's memory over, which it clears. The palette must outlive the map; it holds 1
  /// to 256 colours.
  InverseMap(std::span<const std::uint32_t> palette, Histogram cells);

  /// The index of the colour that is nearest to the middle of the cell that `color` lies in. Red
  /// counts twice, green three times; of equally near ones the first wins.
  [[nodiscard]] std::uint8_t Nearest(std::uint32_t color) {
    const std::size_t cell = CellOf(color);
    if (cells_[cell] == 0) [[unlikely]]
      Fill(cell);
    return static_cast<std::uint8_t>(cells_[cell] - 1);
  }

 private:
  void Fill(std::size_t cell);

  std::span<const std::uint32_t> palette_;
  /// Index + 1; 0 is not known yet.
  Histogram cells_;
};

}  // namespace quillmere
