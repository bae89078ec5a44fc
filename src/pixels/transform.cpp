#include "pixels/transform.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

#include "pixels/mask_ops.h"
#include "pixels/transform_sample.h"

namespace quillmere {
namespace {

/// Coefficients below this count as 0, and edges are moved inward by as much.
constexpr double tolerance = 1e-12;
/// Beyond this a matrix counts as one that cannot be inverted.
constexpr double largestCoefficient = 1e9;

/// The way back from target to source pixels.
struct Inverse {
  double ia, ib, ic, id, ox, oy;

  [[nodiscard]] bool IsUsable() const {
    return std::ranges::all_of(std::array{ia, ib, ic, id},
                               [](double coefficient) {
                                 return std::isfinite(coefficient) &&
                                        std::abs(coefficient) <= largestCoefficient;
                               }) &&
           std::isfinite(ox) && std::isfinite(oy);
  }
};

Inverse Invert(const Matrix& m, double tx, double ty) {
  const double det = m.m00 * m.m11 - m.m10 * m.m01;
  const double ia = m.m11 / det, ib = -m.m01 / det, ic = -m.m10 / det, id = m.m00 / det;
  return {ia, ib, ic, id, -ia * tx - ic * ty, -ib * tx - id * ty};
}

/// Columns from `first` to `last`; empty when they are in the wrong order.
struct Columns {
  int first;
  int last;
};

/// Cuts the columns to those where 0 <= slope * X + constant < size.
Columns CutColumns(const Columns& columns, double slope, double constant, double size) {
  if (std::abs(slope) < tolerance) {
    return constant >= 0 && constant < size ? columns : Columns{0, -1};
  }
  const double a = -constant / slope, b = (size - constant) / slope;
  const double low = std::ceil(std::min(a, b) + tolerance);
  const double high = std::floor(std::max(a, b) - tolerance);
  if (!(low <= columns.last) || !(high >= columns.first)) return {0, -1};
  return {std::max(columns.first, static_cast<int>(std::max(low, 0.0))),
          std::min(columns.last, static_cast<int>(std::min<double>(high, columns.last)))};
}

/// The four neighbours of a source position, cut to the source.
struct Square {
  int left, right, top, bottom;
  double fx, fy;
};

/// One run of the transform over a target.
class Transformer {
 public:
  Transformer(const Planes& source, const Area& area, const Inverse& inverse, Planes& target)
      : source_(source), area_(area), inverse_(inverse), target_(target) {}

  void Run(bool smooth) {
    for (int y = 0; y < target_.Height(); ++y) {
      const Columns columns = ColumnsOfRow(y);
      ClearOutside(y, columns);
      if (columns.first > columns.last) continue;
      const TransformRow row = RowGeometry(y);
      if (!smooth) {
        DrawPlain(row, y, columns);
      } else if (source_.mask && !source_.alpha) {
        DrawSmoothThroughMask(row, y, columns);
      } else {
        DrawSmooth(row, y, columns);
      }
    }
  }

 private:
  /// The columns whose centres lie in the source.
  [[nodiscard]] Columns ColumnsOfRow(int y) const {
    const double centre = y + 0.5;
    const double x0 = inverse_.ia * 0.5 + inverse_.ic * centre + inverse_.ox;
    const double y0 = inverse_.ib * 0.5 + inverse_.id * centre + inverse_.oy;
    const Columns across = CutColumns({0, target_.Width() - 1}, inverse_.ia, x0, area_.width);
    if (across.first > across.last) return across;
    return CutColumns(across, inverse_.ib, y0, area_.height);
  }

  [[nodiscard]] TransformRow RowGeometry(int y) const {
    TransformRow row{};
    row.stepX = inverse_.ia;
    row.stepY = inverse_.ib;
    row.rowX = inverse_.ic * y;
    row.rowY = inverse_.id * y;
    row.offsetX = inverse_.ox;
    row.offsetY = inverse_.oy;
    row.width = area_.width;
    row.height = area_.height;
    if (source_.bitmap) {
      row.pixels = source_.bitmap->Row(area_.y) + area_.x;
      row.pixelsPerRow = source_.bitmap->pixelsPerRow;
    }
    return row;
  }

  /// New colour planes hold anything: what no pixel maps to becomes black.
  void ClearOutside(int y, const Columns& columns) {
    if (!target_.bitmap) return;
    std::uint32_t* row = target_.bitmap->Row(y);
    const int width = target_.bitmap->width;
    if (columns.first > columns.last) {
      std::fill_n(row, width, 0);
    } else {
      std::fill(row, row + columns.first, 0);
      std::fill(row + columns.last + 1, row + width, 0);
    }
  }

  void SetMaskSpan(int y, const Columns& columns) {
    FillMask(*target_.mask, {columns.first, y, columns.last - columns.first + 1, 1}, MASKVISIBLE);
  }

  void DrawPlain(const TransformRow& row, int y, const Columns& columns) {
    const int count = columns.last - columns.first + 1;
    if (target_.bitmap) {
      Kernels().transformPlain(target_.bitmap->Row(y) + columns.first, row, columns.first, count);
    }
    if (!source_.mask && !source_.alpha) return SetMaskSpan(y, columns);
    for (int x = columns.first; x <= columns.last; ++x) {
      const SourcePoint at = SourceOf(row, x);
      const int sx = area_.x + CutIndex(TruncatePosition(at.x), row.width);
      const int sy = area_.y + CutIndex(TruncatePosition(at.y), row.height);
      if (target_.alpha) {
        target_.alpha->Row(y)[x] = source_.alpha->Row(sy)[sx];
      } else if (source_.mask->Test(sx, sy)) {
        target_.mask->Set(x, y, true);
      }
    }
  }

  [[nodiscard]] static Square SquareAt(const TransformRow& row, int x) {
    const SourcePoint at = SourceOf(row, x);
    const int i = TruncatePosition(at.x), j = TruncatePosition(at.y);
    return {CutIndex(i, row.width),      CutIndex(i + 1, row.width), CutIndex(j, row.height),
            CutIndex(j + 1, row.height), at.x - std::floor(at.x),    at.y - std::floor(at.y)};
  }

  void DrawSmooth(const TransformRow& row, int y, const Columns& columns) {
    const int count = columns.last - columns.first + 1;
    if (target_.bitmap) {
      Kernels().transformSmooth(target_.bitmap->Row(y) + columns.first, row, columns.first, count);
    }
    if (target_.mask) return SetMaskSpan(y, columns);
    const auto alphaAt = [this](int sx, int sy) -> double {
      return source_.alpha->Row(area_.y + sy)[area_.x + sx];
    };
    for (int x = columns.first; x <= columns.last; ++x) {
      const Square s = SquareAt(row, x);
      target_.alpha->Row(y)[x] = static_cast<std::uint8_t>(
          MixFour(alphaAt(s.left, s.top), alphaAt(s.right, s.top), alphaAt(s.left, s.bottom),
                  alphaAt(s.right, s.bottom), s.fx, s.fy));
    }
  }

  /// Colours are mixed as if all pixels were present; where one is absent they are mixed anew.
  void DrawSmoothThroughMask(const TransformRow& row, int y, const Columns& columns) {
    if (target_.bitmap) {
      Kernels().transformSmooth(target_.bitmap->Row(y) + columns.first, row, columns.first,
                                columns.last - columns.first + 1);
    }
    for (int x = columns.first; x <= columns.last; ++x) {
      const Square s = SquareAt(row, x);
      const std::array present{IsSet(s.left, s.top), IsSet(s.right, s.top), IsSet(s.left, s.bottom),
                               IsSet(s.right, s.bottom)};
      if (present[0]) target_.mask->Set(x, y, true);
      if (target_.bitmap && !std::ranges::all_of(present, std::identity{})) {
        target_.bitmap->At(x, y) = MixPresent(row, s, present);
      }
    }
  }

  [[nodiscard]] bool IsSet(int sx, int sy) const {
    return source_.mask->Test(area_.x + sx, area_.y + sy);
  }

  /// Mixes four pixels, those that are absent being taken for the first that is present.
  [[nodiscard]] static std::uint32_t MixPresent(const TransformRow& row, const Square& s,
                                                const std::array<bool, 4>& present) {
    const auto first = std::ranges::find(present, true);
    if (first == present.end()) return 0;
    const std::uint32_t* top = row.pixels + static_cast<std::ptrdiff_t>(s.top) * row.pixelsPerRow;
    const std::uint32_t* bottom =
        row.pixels + static_cast<std::ptrdiff_t>(s.bottom) * row.pixelsPerRow;
    std::array colors{top[s.left], top[s.right], bottom[s.left], bottom[s.right]};
    const std::uint32_t standIn = colors[static_cast<std::size_t>(first - present.begin())];
    for (std::size_t i = 0; i < colors.size(); ++i) {
      if (!present[i]) colors[i] = standIn;
    }
    return MixFourPixels(colors[0], colors[1], colors[2], colors[3], s.fx, s.fy);
  }

  const Planes& source_;
  Area area_;
  Inverse inverse_;
  Planes& target_;
};

}  // namespace

Result<Planes> TransformPlanes(const Planes& source, const Area& area, const Matrix& matrix,
                               bool smooth) {
  const Area cut = ClipArea(area, source.Width(), source.Height());
  if (cut.Empty()) return Planes{};
  const TransformedBox box = TransformedSize(matrix, cut.width, cut.height);
  const int width = std::max(box.width, 1), height = std::max(box.height, 1);
  Planes target;
  if (source.bitmap) target.bitmap = TRY(AllocBitmap(width, height));
  if (source.alpha) {
    target.alpha = TRY(AllocAlphaMap(width, height, true));
  } else {
    target.mask = TRY(AllocMask(width, height, true));
  }
  const Inverse inverse = Invert(matrix, -box.left, -box.top);
  if (inverse.IsUsable()) {
    Transformer(source, cut, inverse, target).Run(smooth);
  } else if (target.bitmap) {
    for (int y = 0; y < height; ++y) Kernels().fill(target.bitmap->Row(y), 0, width);
  }
  return target;
}

}  // namespace quillmere
