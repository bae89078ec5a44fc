#include <algorithm>
#include <cmath>
#include <vector>

#include "pixels/color.h"
#include "pixels/image_ops.h"
#include "pixels/kernels.h"

namespace quillmere {
namespace {

/// The share of a pixel at x, y is (start + x * across + y * down) / divisor, truncated toward 0,
/// out of the gradient's height.
struct GradientLine {
  std::int64_t start;
  std::int64_t across;
  std::int64_t down;
  std::int64_t divisor;
  int height;

  [[nodiscard]] std::int64_t NumeratorAt(int x, int y) const {
    return start + x * across + y * down;
  }
  [[nodiscard]] std::int64_t ShareAt(int x, int y) const { return NumeratorAt(x, y) / divisor; }
};

GradientLine MakeLine(int width, int height, int angle) {
  const double radians = angle * 3.141592653589793 / 180;
  const auto cx = static_cast<std::int64_t>(std::cos(radians) * -255);
  const auto sy = static_cast<std::int64_t>(std::sin(radians) * 255);
  const std::int64_t wide = width, high = height;
  const int degrees =
      static_cast<int>((angle < 0 ? 360 - -static_cast<std::int64_t>(angle) % 360 : angle) % 360);
  const bool isMirrored = (degrees > 90 && degrees <= 180) || degrees > 270;
  const std::int64_t k = isMirrored ? -high : high;
  std::int64_t o = isMirrored ? high : 0;
  std::int64_t p = 0, s = 1;
  if (degrees > 90 && degrees <= 270) {
    o = high - o;
    p = high;
    s = -1;
  }
  GradientLine line{sy * wide * o - p * (k * cx), k * sy * s, -s * (k * cx), sy * wide - k * cx,
                    height};
  if (line.divisor < 0) {
    line = {-line.start, -line.across, -line.down, -line.divisor, height};
  }
  return line;
}

std::uint32_t ColorOfShare(std::uint32_t start, std::uint32_t end, std::int64_t share, int height) {
  const auto channel = [&](int from, int to) {
    return static_cast<std::uint32_t>(from + share * (to - from) / height) & 255;
  };
  return JoinRGB(channel(RedOf(start), RedOf(end)), channel(GreenOf(start), GreenOf(end)),
                 channel(BlueOf(start), BlueOf(end)));
}

/// Draws through a table with the colour of each share that occurs.
class GradientPainter {
 public:
  GradientPainter(const GradientLine& line, std::uint32_t start, std::uint32_t end)
      : line_(line), start_(start), end_(end) {}

  /// `visible` is in the gradient's coordinates, `target` its first pixel.
  void Draw(qmBitmap& target, const Area& visible, int tx, int ty) {
    MakeColors(visible);
    for (int row = 0; row < visible.height; ++row) {
      std::uint32_t* pixels = target.Row(ty + row) + tx;
      if (row > 0 && line_.down == 0) {
        std::copy_n(target.Row(ty + row - 1) + tx, visible.width, pixels);
      } else {
        DrawRow(pixels, visible.x, visible.y + row, visible.width);
      }
    }
  }

 private:
  void MakeColors(const Area& visible) {
    const int right = visible.x + visible.width - 1, bottom = visible.y + visible.height - 1;
    const auto [least, most] =
        std::minmax({line_.ShareAt(visible.x, visible.y), line_.ShareAt(right, visible.y),
                     line_.ShareAt(visible.x, bottom), line_.ShareAt(right, bottom)});
    leastShare_ = least;
    colors_.resize(static_cast<std::size_t>(most - least) + 1 + gradientPadding);
    for (std::int64_t share = least; share <= most; ++share) {
      colors_[Index(share)] = ColorOfShare(start_, end_, share, line_.height);
    }
  }

  void DrawRow(std::uint32_t* target, int x, int y, int count) const {
    const std::int64_t numerator = line_.NumeratorAt(x, y);
    const std::int64_t last = line_.NumeratorAt(x + count - 1, y);
    if (numerator < 0 || last < 0) return DrawSignedRow(target, x, y, count);
    if (line_.across == 0) {
      return Kernels().fill(target, colors_[Index(numerator / line_.divisor)], count);
    }
    // The step as a quotient rounded down and a remainder that is never negative.
    std::int64_t quotientStep = line_.across / line_.divisor;
    std::int64_t remainderStep = line_.across % line_.divisor;
    if (remainderStep < 0) {
      --quotientStep;
      remainderStep += line_.divisor;
    }
    Kernels().gradient(
        target, colors_.data(), static_cast<std::int32_t>(Index(numerator / line_.divisor)),
        static_cast<std::int32_t>(numerator % line_.divisor),
        static_cast<std::int32_t>(quotientStep), static_cast<std::int32_t>(remainderStep),
        static_cast<std::int32_t>(line_.divisor), count);
  }

  /// Truncation toward 0 below 0 is not what the steps give.
  void DrawSignedRow(std::uint32_t* target, int x, int y, int count) const {
    for (int i = 0; i < count; ++i) target[i] = colors_[Index(line_.ShareAt(x + i, y))];
  }

  [[nodiscard]] std::size_t Index(std::int64_t share) const {
    return static_cast<std::size_t>(share - leastShare_);
  }

  GradientLine line_;
  std::uint32_t start_;
  std::uint32_t end_;
  std::int64_t leastShare_ = 0;
  std::vector<std::uint32_t> colors_;
};

}  // namespace

void DrawGradient(DebugOutput& debug, qmBitmap* target, const Area& area, std::uint32_t startColor,
                  std::uint32_t endColor, int angle) {
  if (target == nullptr) {
    debug.Write("ERROR! DRAWGRADIENT() CALLED WITH DST=NULL!\n");
    return;
  }
  const Area cut = ClipArea(area, target->width, target->height);
  if (cut.Empty() || area.width > maxPlaneSize || area.height > maxPlaneSize) return;
  GradientPainter painter(MakeLine(area.width, area.height, angle), startColor, endColor);
  painter.Draw(*target, {cut.x - area.x, cut.y - area.y, cut.width, cut.height}, cut.x, cut.y);
}

}  // namespace quillmere
