#include "pixels/scale.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "pixels/kernels.h"

namespace quillmere {
namespace {

/// Gives a kept table room for `count` entries.
template <class T>
void Grow(std::vector<T>& table, int count) {
  if (table.size() < static_cast<std::size_t>(count)) table.resize(static_cast<std::size_t>(count));
}

/// Steps of 1/65536 pixel; the last pixel maps to the last.
void PlainColumns(std::vector<std::int32_t>& column, int sourceSize, int targetSize) {
  const double share = targetSize > 1 ? static_cast<double>(sourceSize - 1) / (targetSize - 1) : 0;
  const auto step = static_cast<std::int64_t>(share * 65536);
  for (std::int64_t i = 0, position = 0; i < targetSize; ++i, position += step) {
    column[static_cast<std::size_t>(i)] = static_cast<std::int32_t>(position >> 16);
  }
}

/// Rows are gathered in doubles.
void PlainRows(std::vector<std::int32_t>& row, int sourceSize, int targetSize) {
  const double step = targetSize > 1 ? static_cast<double>(sourceSize - 1) / (targetSize - 1) : 0;
  double position = 0;
  for (int i = 0; i < targetSize; ++i, position += step) {
    row[static_cast<std::size_t>(i)] = std::min(static_cast<int>(position), sourceSize - 1);
  }
}

/// The last pixel stops short of the last source pixel, so that there is always a next one.
void SmoothSteps(std::vector<std::int32_t>& whole, std::vector<std::int32_t>& fraction,
                 int sourceSize, int targetSize) {
  const std::int64_t step = (static_cast<std::int64_t>(sourceSize - 1) << 16) / targetSize;
  for (std::int64_t i = 0, position = 0; i < targetSize; ++i, position += step) {
    whole[static_cast<std::size_t>(i)] = static_cast<std::int32_t>(position >> 16);
    fraction[static_cast<std::size_t>(i)] = static_cast<std::int32_t>(position & 0xFFFF);
  }
}

void PrepareTables(ScaleTables& tables, const Area& source, int width, int height, bool smooth) {
  Grow(tables.column, width);
  Grow(tables.row, height);
  if (!smooth) {
    PlainColumns(tables.column, source.width, width);
    PlainRows(tables.row, source.height, height);
    return;
  }
  Grow(tables.columnFraction, width);
  Grow(tables.rowFraction, height);
  SmoothSteps(tables.column, tables.columnFraction, source.width, width);
  SmoothSteps(tables.row, tables.rowFraction, source.height, height);
}

/// What differs between a colour plane and an alpha map.
struct Colors {
  using Element = std::uint32_t;
  static auto& Lines(ScaleTables& tables) { return tables.colorLines; }
  static void Pick(Element* target, const Element* source, const std::int32_t* columns, int count) {
    Kernels().pickColumns(target, source, columns, count);
  }
  static void LerpColumns(Element* target, const Element* source, int /*width*/,
                          const std::int32_t* columns, const std::int32_t* fractions, int count) {
    Kernels().lerpColumns(target, source, columns, fractions, count);
  }
};

struct AlphaBytes {
  using Element = std::uint8_t;
  static auto& Lines(ScaleTables& tables) { return tables.alphaLines; }
  static void Pick(Element* target, const Element* source, const std::int32_t* columns, int count) {
    for (int i = 0; i < count; ++i) target[i] = source[columns[i]];
  }
  /// Near the end of a row the fast loop would read behind it; columns never go back.
  static void LerpColumns(Element* target, const Element* source, int width,
                          const std::int32_t* columns, const std::int32_t* fractions, int count) {
    const auto inside =
        static_cast<int>(std::lower_bound(columns, columns + count, width - 3) - columns);
    Kernels().lerpAlphaColumns(target, source, columns, fractions, inside);
    PlainKernels().lerpAlphaColumns(target + inside, source, columns + inside, fractions + inside,
                                    count - inside);
  }
};

/// Mixes two rows. Both kinds of rows are rows of bytes here.
template <class Element>
void LerpRows(Element* target, const Element* top, const Element* bottom, int fraction, int count) {
  const auto bytes = [](auto* row) { return reinterpret_cast<const std::uint8_t*>(row); };
  Kernels().lerpRows(reinterpret_cast<std::uint8_t*>(target), bytes(top), bytes(bottom), fraction,
                     count * static_cast<int>(sizeof(Element)));
}

/// The size that is drawn; the tables were made for a size that may be larger.
struct DrawnSize {
  int width;
  int height;
};

template <class Kind, class Source, class Target>
void ScalePlain(const ScaleTables& tables, const Source& source, const Area& area, Target& target,
                const DrawnSize& drawn) {
  for (int y = 0; y < drawn.height; ++y) {
    const auto row = static_cast<std::size_t>(y);
    if (y > 0 && tables.row[row] == tables.row[row - 1]) {
      std::copy_n(target.Row(y - 1), drawn.width, target.Row(y));
    } else {
      Kind::Pick(target.Row(y), source.Row(area.y + tables.row[row]) + area.x, tables.column.data(),
                 drawn.width);
    }
  }
}

/// Source rows scaled across, the last two being kept: neighbours serve several target rows.
template <class Kind, class Source>
class ScaledRows {
 public:
  using Element = typename Kind::Element;

  ScaledRows(ScaleTables& tables, const Source& source, const Area& area, int width)
      : tables_(tables), source_(source), area_(area), width_(width) {
    for (auto& line : Kind::Lines(tables)) Grow(line, width);
  }

  /// A row of the source rectangle at the target's width; valid until the second next call.
  const Element* Get(int y) {
    auto& lines = Kind::Lines(tables_);
    const std::size_t slot = static_cast<std::size_t>(y) & 1;
    if (rows_[slot] != y) {
      rows_[slot] = y;
      Scale(source_.Row(area_.y + y) + area_.x, lines[slot].data());
    }
    return lines[slot].data();
  }

 private:
  void Scale(const Element* from, Element* to) const {
    if (area_.width == 1) {
      std::fill_n(to, width_, *from);
    } else {
      Kind::LerpColumns(to, from, area_.width, tables_.column.data(), tables_.columnFraction.data(),
                        width_);
    }
  }

  ScaleTables& tables_;
  const Source& source_;
  Area area_;
  int width_;
  int rows_[2] = {-1, -1};
};

template <class Kind, class Source, class Target>
void ScaleSmooth(ScaleTables& tables, const Source& source, const Area& area, Target& target,
                 const DrawnSize& drawn) {
  ScaledRows<Kind, Source> rows(tables, source, area, drawn.width);
  for (int y = 0; y < drawn.height; ++y) {
    const int upper = tables.row[static_cast<std::size_t>(y)];
    const int fraction = tables.rowFraction[static_cast<std::size_t>(y)];
    const auto* top = rows.Get(upper);
    if (fraction == 0) {
      std::copy_n(top, drawn.width, target.Row(y));
    } else {
      LerpRows(target.Row(y), top, rows.Get(upper + 1), fraction, drawn.width);
    }
  }
}

template <class Kind, class Source, class Target>
void ScalePlane(ScaleTables& tables, const Source& source, const Area& area, Target& target,
                const DrawnSize& drawn, bool smooth) {
  if (smooth) {
    ScaleSmooth<Kind>(tables, source, area, target, drawn);
  } else {
    ScalePlain<Kind>(tables, source, area, target, drawn);
  }
}

/// One byte of a scaled row of bits.
std::uint8_t PickBits(const std::uint8_t* row, int first, const std::int32_t* columns, int count) {
  unsigned bits = 0;
  for (int i = 0; i < count; ++i) {
    const int at = first + columns[i];
    bits |= (static_cast<unsigned>(row[at >> 3]) << (at & 7) & 128u) >> i;
  }
  return static_cast<std::uint8_t>(bits);
}

/// Masks take the nearest bit in both forms.
void ScaleMask(const ScaleTables& tables, const qmMask& source, const Area& area, qmMask& target) {
  for (int y = 0; y < target.height; ++y) {
    const auto row = static_cast<std::size_t>(y);
    std::uint8_t* bits = target.Row(y);
    if (y > 0 && tables.row[row] == tables.row[row - 1]) {
      std::copy_n(target.Row(y - 1), target.bytesPerRow, bits);
      continue;
    }
    const std::uint8_t* from = source.Row(area.y + tables.row[row]);
    for (int x = 0; x < target.width; x += 8) {
      bits[x >> 3] =
          PickBits(from, area.x, tables.column.data() + x, std::min(8, target.width - x));
    }
  }
}

}  // namespace

Result<Planes> ScalePlanes(ScaleTables& tables, const Planes& source, const Area& area,
                           int targetWidth, int targetHeight, bool smooth) {
  const Area cut = ClipArea(area, source.Width(), source.Height());
  if (cut.Empty() || targetWidth < 1 || targetHeight < 1) return Planes{};
  Planes scaled;
  if (source.bitmap) scaled.bitmap = TRY(AllocBitmap(targetWidth, targetHeight));
  if (source.mask) scaled.mask = TRY(AllocMask(targetWidth, targetHeight, true));
  if (source.alpha) scaled.alpha = TRY(AllocAlphaMap(targetWidth, targetHeight, true));
  const DrawnSize drawn{targetWidth, targetHeight};
  try {
    PrepareTables(tables, cut, targetWidth, targetHeight, smooth);
    if (source.bitmap) {
      ScalePlane<Colors>(tables, *source.bitmap, cut, *scaled.bitmap, drawn, smooth);
    }
    if (source.mask) ScaleMask(tables, *source.mask, cut, *scaled.mask);
    if (source.alpha) {
      ScalePlane<AlphaBytes>(tables, *source.alpha, cut, *scaled.alpha, drawn, smooth);
    }
  } catch (const std::bad_alloc&) {
    return Fail(Error::OutOfMemory);
  }
  return scaled;
}

Status ScaleBitmapInto(ScaleTables& tables, const qmBitmap& source, const Area& area,
                       qmBitmap& target, int targetWidth, int targetHeight, bool smooth) {
  const Area cut = ClipArea(area, source.width, source.height);
  if (cut.Empty() || targetWidth < 1 || targetHeight < 1) return {};
  if (targetWidth > maxPlaneSize || targetHeight > maxPlaneSize) return Fail(Error::OutOfMemory);
  try {
    PrepareTables(tables, cut, targetWidth, targetHeight, smooth);
    const DrawnSize drawn{std::min(targetWidth, target.width),
                          std::min(targetHeight, target.height)};
    ScalePlane<Colors>(tables, source, cut, target, drawn, smooth);
  } catch (const std::bad_alloc&) {
    return Fail(Error::OutOfMemory);
  }
  return {};
}

}  // namespace quillmere
