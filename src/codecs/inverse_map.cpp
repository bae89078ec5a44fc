#include "codecs/inverse_map.h"

#include <algorithm>
#include <utility>

namespace quillmere {
namespace {

// A block is 4 by 8 by 4 cells, which are 32 levels each way.
constexpr int blockReds = 4;
constexpr int blockGreens = 8;
constexpr int blockBlues = 4;
constexpr int blockCells = blockReds * blockGreens * blockBlues;

constexpr int redWeight = 2;
constexpr int greenWeight = 3;

int Square(int value) {
  return value * value;
}

struct Channels {
  int red;
  int green;
  int blue;

  explicit Channels(std::uint32_t color)
      : red(static_cast<int>(color >> 16 & 0xFF)),
        green(static_cast<int>(color >> 8 & 0xFF)),
        blue(static_cast<int>(color & 0xFF)) {}
};

/// The least and the greatest distance of a level to the levels of a side.
std::pair<int, int> Span(int level, int from, int to) {
  const int below = from - level;
  const int above = level - to;
  return {std::max({below, above, 0}), std::max(level - from, to - level)};
}

/// The least and the greatest weighted distance of a colour to the cells of a block, squared.
std::pair<int, int> Span(const Channels& color, const Channels& first, const Channels& last) {
  const auto [redMin, redMax] = Span(color.red, first.red, last.red);
  const auto [greenMin, greenMax] = Span(color.green, first.green, last.green);
  const auto [blueMin, blueMax] = Span(color.blue, first.blue, last.blue);
  return {Square(redWeight * redMin) + Square(greenWeight * greenMin) + Square(blueMin),
          Square(redWeight * redMax) + Square(greenWeight * greenMax) + Square(blueMax)};
}

/// The nearest colours of a block's cells so far.
struct BlockDistances {
  std::array<std::int32_t, blockCells> distance;
  std::array<std::uint16_t, blockCells> entry;

  void Offer(std::uint16_t candidate, const Channels& color, const Channels& first) {
    int cell = 0;
    for (int r = 0; r < blockReds; ++r) {
      const int red = Square(redWeight * (first.red + r * 8 - color.red));
      for (int g = 0; g < blockGreens; ++g) {
        const int redGreen = red + Square(greenWeight * (first.green + g * 4 - color.green));
        for (int b = 0; b < blockBlues; ++b, ++cell) {
          const int total = redGreen + Square(first.blue + b * 8 - color.blue);
          if (total >= distance[cell]) continue;
          distance[cell] = total;
          entry[cell] = candidate;
        }
      }
    }
  }
};

}  // namespace

InverseMap::InverseMap(std::span<const std::uint32_t> palette, Histogram cells)
    : palette_(palette), cells_(std::move(cells)) {
  std::ranges::fill(cells_, 0);
}

void InverseMap::Fill(std::size_t cell) {
  const int red = static_cast<int>(cell >> 11) / blockReds * blockReds;
  const int green = static_cast<int>(cell >> 5 & 63) / blockGreens * blockGreens;
  const int blue = static_cast<int>(cell & 31) / blockBlues * blockBlues;
  Channels first(0);
  first.red = red * 8 + 4;
  first.green = green * 4 + 2;
  first.blue = blue * 8 + 4;
  Channels last = first;
  last.red += (blockReds - 1) * 8;
  last.green += (blockGreens - 1) * 4;
  last.blue += (blockBlues - 1) * 8;

  // A colour that is farther from every cell than another one is at most cannot be the nearest.
  int bound = INT32_MAX;
  for (const std::uint32_t color : palette_) {
    bound = std::min(bound, Span(Channels(color), first, last).second);
  }
  BlockDistances best;
  best.distance.fill(INT32_MAX);
  for (std::size_t i = 0; i < palette_.size(); ++i) {
    const Channels color(palette_[i]);
    if (Span(color, first, last).first <= bound) {
      best.Offer(static_cast<std::uint16_t>(i + 1), color, first);
    }
  }
  const std::uint16_t* entry = best.entry.data();
  for (int r = red; r < red + blockReds; ++r) {
    for (int g = green; g < green + blockGreens; ++g, entry += blockBlues) {
      std::copy_n(entry, blockBlues, &cells_[CellAt(r, g, blue)]);
    }
  }
}

}  // namespace quillmere
