#include "codecs/color_histogram.h"

#include <algorithm>
#include <array>

namespace quillmere {
namespace {

struct MedianBox {
  int rMin = 0;
  int rMax = histogramReds - 1;
  int gMin = 0;
  int gMax = histogramGreens - 1;
  int bMin = 0;
  int bMax = histogramBlues - 1;
  /// The square of the diagonal, in weighted colour units.
  std::int32_t volume = 0;
  /// How many of its cells are not empty.
  std::int32_t colorCount = 0;

  // The sides as the eye weighs them.
  [[nodiscard]] int RedSide() const { return (rMax - rMin) * 16; }
  [[nodiscard]] int GreenSide() const { return (gMax - gMin) * 12; }
  [[nodiscard]] int BlueSide() const { return (bMax - bMin) * 8; }
};

/// Shrinks a box to its cells that are not empty. A box without any stays as it is.
void UpdateBox(const Histogram& histogram, MedianBox& box) {
  MedianBox tight{box.rMax, box.rMin, box.gMax, box.gMin, box.bMax, box.bMin};
  for (int r = box.rMin; r <= box.rMax; ++r) {
    for (int g = box.gMin; g <= box.gMax; ++g) {
      const std::uint16_t* cells = &histogram[CellAt(r, g, 0)];
      for (int b = box.bMin; b <= box.bMax; ++b) {
        if (cells[b] == 0) continue;
        ++tight.colorCount;
        tight.rMin = std::min(tight.rMin, r);
        tight.rMax = std::max(tight.rMax, r);
        tight.gMin = std::min(tight.gMin, g);
        tight.gMax = std::max(tight.gMax, g);
        tight.bMin = std::min(tight.bMin, b);
        tight.bMax = std::max(tight.bMax, b);
      }
    }
  }
  if (tight.colorCount > 0) box = tight;
  box.colorCount = tight.colorCount;
  box.volume = box.RedSide() * box.RedSide() + box.GreenSide() * box.GreenSide() +
               box.BlueSide() * box.BlueSide();
}

/// The box to split next: while there are few boxes the most colourful, then the largest. Null when
/// none can be split.
MedianBox* BoxToSplit(std::vector<MedianBox>& boxes, std::size_t most) {
  const bool byColors = boxes.size() * 2 <= most;
  MedianBox* best = nullptr;
  std::int32_t bestMeasure = 0;
  for (MedianBox& box : boxes) {
    const std::int32_t measure = byColors ? box.colorCount : box.volume;
    if (box.volume <= 0 || measure <= bestMeasure) continue;
    best = &box;
    bestMeasure = measure;
  }
  return best;
}

/// Halves a box across its longest side and returns the upper half.
MedianBox CutBox(MedianBox& box) {
  MedianBox upper = box;
  const int longest = std::max({box.RedSide(), box.GreenSide(), box.BlueSide()});
  const auto cut = [](int min, int& max, int& upperMin) {
    max = (min + max) / 2;
    upperMin = max + 1;
  };
  if (box.GreenSide() == longest) {
    cut(box.gMin, box.gMax, upper.gMin);
  } else if (box.RedSide() == longest) {
    cut(box.rMin, box.rMax, upper.rMin);
  } else {
    cut(box.bMin, box.bMax, upper.bMin);
  }
  return upper;
}

/// The mean of a box's cells, each counted as often as it occurs; white for an empty box.
std::uint32_t MeanColor(const Histogram& histogram, const MedianBox& box) {
  std::int64_t total = 0;
  std::array<std::int64_t, 3> sums{};
  for (int r = box.rMin; r <= box.rMax; ++r) {
    for (int g = box.gMin; g <= box.gMax; ++g) {
      for (int b = box.bMin; b <= box.bMax; ++b) {
        const std::int64_t count = histogram[CellAt(r, g, b)];
        total += count;
        sums[0] += (r * 8 + 4) * count;
        sums[1] += (g * 4 + 2) * count;
        sums[2] += (b * 8 + 4) * count;
      }
    }
  }
  if (total == 0) return 0xFFFFFF;
  std::uint32_t color = 0;
  for (const std::int64_t sum : sums) {
    color = color << 8 | static_cast<std::uint32_t>((sum + total / 2) / total);
  }
  return color;
}

}  // namespace

void CountColors(const PixelView& image, std::int32_t keyColor, Histogram& histogram) {
  const bool hasKey = keyColor != -1;
  const std::uint32_t key = static_cast<std::uint32_t>(keyColor) & 0xFFFFFF;
  for (int y = 0; y < image.height; ++y) {
    const std::uint32_t* row = image.pixels + static_cast<std::ptrdiff_t>(y) * image.stride;
    for (int x = 0; x < image.width; ++x) {
      if (hasKey && (row[x] & 0xFFFFFF) == key) continue;
      std::uint16_t& cell = histogram[CellOf(row[x])];
      cell = static_cast<std::uint16_t>(cell + (cell != 0xFFFF));
    }
  }
}

std::vector<std::uint32_t> ChooseColors(const Histogram& histogram, int most) {
  std::vector<MedianBox> boxes(1);
  UpdateBox(histogram, boxes.front());
  while (boxes.size() < static_cast<std::size_t>(most)) {
    MedianBox* box = BoxToSplit(boxes, static_cast<std::size_t>(most));
    if (box == nullptr) break;
    MedianBox upper = CutBox(*box);
    UpdateBox(histogram, *box);
    UpdateBox(histogram, upper);
    boxes.push_back(upper);
  }
  std::vector<std::uint32_t> colors;
  colors.reserve(boxes.size());
  for (const MedianBox& box : boxes) colors.push_back(MeanColor(histogram, box));
  return colors;
}

}  // namespace quillmere
