#include "pixels/transform.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <vector>

#include "pixels/kernels.h"
#include "pixels/mask_ops.h"

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

constexpr std::uint32_t colorBits = 0xFFFFFF;

/// Puts the bits of a mask, or the bytes of an alpha map, above the colours of a row.
void JoinMask(std::uint32_t* pixels, BitRow mask, int count) {
  for (int x = 0; x < count; x += 8) {
    const int n = std::min(8, count - x);
    const std::uint8_t bits = FetchBits(mask, x, n);
    for (int i = 0; i < n; ++i) {
      if (bits << i & 128) pixels[x + i] |= ~colorBits;
    }
  }
}
void JoinAlpha(std::uint32_t* pixels, const std::uint8_t* alpha, int count) {
  for (int x = 0; x < count; ++x) pixels[x] |= static_cast<std::uint32_t>(alpha[x]) << 24;
}

/// A copy of a rectangle of the planes as one picture that carries its alpha in the top bytes: that
/// of the alpha map, or 255 where the mask's bit is set and 0 elsewhere.
Result<BitmapPtr> JoinPlanes(const Planes& source, const Area& area) {
  BitmapPtr joined = TRY(AllocBitmap(area.width, area.height));
  for (int y = 0; y < area.height; ++y) {
    std::uint32_t* row = joined->Row(y);
    const int from = area.y + y;
    if (source.bitmap) {
      std::transform(source.bitmap->Row(from) + area.x,
                     source.bitmap->Row(from) + area.x + area.width, row,
                     [](std::uint32_t pixel) { return pixel & colorBits; });
    } else {
      std::fill_n(row, area.width, 0);
    }
    if (source.alpha) {
      JoinAlpha(row, source.alpha->Row(from) + area.x, area.width);
    } else {
      JoinMask(row, {source.mask->Row(from), area.x}, area.width);
    }
  }
  return joined;
}

/// The top bits of a row as bits of a mask, and the top bytes as bytes of an alpha map.
void SplitMask(const std::uint32_t* pixels, std::uint8_t* mask, int count) {
  for (int x = 0; x < count; x += 8) {
    unsigned bits = 0;
    for (int i = 0; i < std::min(8, count - x); ++i) bits |= (pixels[x + i] >> 31) << (7 - i);
    mask[x >> 3] = static_cast<std::uint8_t>(bits);
  }
}
void SplitAlpha(const std::uint32_t* pixels, std::uint8_t* alpha, int count) {
  for (int x = 0; x < count; ++x) alpha[x] = static_cast<std::uint8_t>(pixels[x] >> 24);
}

/// What is sampled: a rectangle of a picture, whose words carry alpha unless it is opaque.
struct SampledPicture {
  const qmBitmap* bitmap;
  Area area;
  bool isOpaque;
};

using SampleRow = void (*)(std::uint32_t* target, const TransformRow& row, int first, int count);

/// One run of the transform over a target.
class Transformer {
 public:
  Transformer(const SampledPicture& source, const Inverse& inverse, SampleRow sample)
      : source_(source), inverse_(inverse), sample_(sample) {}

  /// Draws all rows. Colours of a target without a colour plane pass through a line of their own.
  void Run(Planes& target) const {
    const int width = target.Width();
    std::vector<std::uint32_t> line(target.bitmap ? 0 : static_cast<std::size_t>(width));
    for (int y = 0; y < target.Height(); ++y) {
      std::uint32_t* pixels = target.bitmap ? target.bitmap->Row(y) : line.data();
      const Columns columns = DrawRow(pixels, y, width);
      if (source_.isOpaque) {
        FillMask(*target.mask, {columns.first, y, columns.last - columns.first + 1, 1},
                 MASKVISIBLE);
      } else if (target.alpha) {
        SplitAlpha(pixels, target.alpha->Row(y), width);
      } else {
        SplitMask(pixels, target.mask->Row(y), width);
      }
    }
  }

 private:
  /// Draws one row, black where no pixel of the source lies, and tells where one does.
  Columns DrawRow(std::uint32_t* pixels, int y, int width) const {
    const Columns columns = ColumnsOfRow(y, width);
    if (columns.first > columns.last) {
      std::fill_n(pixels, width, 0);
      return columns;
    }
    std::fill(pixels, pixels + columns.first, 0);
    sample_(pixels + columns.first, RowGeometry(y), columns.first,
            columns.last - columns.first + 1);
    std::fill(pixels + columns.last + 1, pixels + width, 0);
    return columns;
  }

  /// The columns whose centres lie in the source.
  [[nodiscard]] Columns ColumnsOfRow(int y, int width) const {
    const double centre = y + 0.5;
    const double x0 = inverse_.ia * 0.5 + inverse_.ic * centre + inverse_.ox;
    const double y0 = inverse_.ib * 0.5 + inverse_.id * centre + inverse_.oy;
    const Columns across = CutColumns({0, width - 1}, inverse_.ia, x0, source_.area.width);
    if (across.first > across.last) return across;
    return CutColumns(across, inverse_.ib, y0, source_.area.height);
  }

  [[nodiscard]] TransformRow RowGeometry(int y) const {
    return {.stepX = inverse_.ia,
            .stepY = inverse_.ib,
            .rowX = inverse_.ic * y,
            .rowY = inverse_.id * y,
            .offsetX = inverse_.ox,
            .offsetY = inverse_.oy,
            .pixels = source_.bitmap->Row(source_.area.y) + source_.area.x,
            .pixelsPerRow = source_.bitmap->pixelsPerRow,
            .width = source_.area.width,
            .height = source_.area.height};
  }

  SampledPicture source_;
  Inverse inverse_;
  SampleRow sample_;
};

/// New planes for a result; mask and alpha map are cleared.
Result<Planes> AllocResult(const Planes& source, int width, int height) {
  Planes target;
  if (source.bitmap) target.bitmap = TRY(AllocBitmap(width, height));
  if (source.alpha) {
    target.alpha = TRY(AllocAlphaMap(width, height, true));
  } else {
    target.mask = TRY(AllocMask(width, height, true));
  }
  return target;
}

Status DrawTransformed(const Planes& source, const Area& area, const Inverse& inverse, bool smooth,
                       Planes& target) {
  const bool isOpaque = source.IsOpaque();
  const BitmapPtr picture = isOpaque ? source.bitmap : TRY(JoinPlanes(source, area));
  const Area sampled = isOpaque ? area : Area{0, 0, area.width, area.height};
  const SampleRow smoothRow =
      target.alpha || isOpaque ? Kernels().transformSmooth : Kernels().transformPresent;
  try {
    Transformer({picture.get(), sampled, isOpaque}, inverse,
                smooth ? smoothRow : Kernels().transformPlain)
        .Run(target);
  } catch (const std::bad_alloc&) {
    return Fail(Error::OutOfMemory);
  }
  return {};
}

}  // namespace

Result<Planes> TransformPlanes(const Planes& source, const Area& area, const Matrix& matrix,
                               bool smooth) {
  const Area cut = ClipArea(area, source.Width(), source.Height());
  if (cut.Empty()) return Planes{};
  const TransformedBox box = TransformedSize(matrix, cut.width, cut.height);
  Planes target = TRY(AllocResult(source, std::max(box.width, 1), std::max(box.height, 1)));
  const Inverse inverse = Invert(matrix, -box.left, -box.top);
  if (inverse.IsUsable()) {
    TRY(DrawTransformed(source, cut, inverse, smooth, target));
  } else if (target.bitmap) {
    const int width = target.Width();
    for (int y = 0; y < target.Height(); ++y) Kernels().fill(target.bitmap->Row(y), 0, width);
  }
  return target;
}

}  // namespace quillmere
