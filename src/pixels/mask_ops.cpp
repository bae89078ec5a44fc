#include "pixels/mask_ops.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "pixels/kernels.h"

namespace quillmere {
namespace {

/// Rewrites `count` bits of a row from bit `x` on, byte by byte. `fetch(offset, n)` gives the
/// source bits from `offset` on at the top of a byte, `combine(target, source)` the new bits.
template <class Fetch, class Combine>
void RewriteBits(std::uint8_t* row, int x, int count, Fetch fetch, Combine combine) {
  for (int offset = 0; offset < count;) {
    const int shift = (x + offset) & 7;
    const int n = std::min(8 - shift, count - offset);
    std::uint8_t& byte = row[(x + offset) >> 3];
    const unsigned source = static_cast<unsigned>(fetch(offset, n)) >> shift;
    const unsigned chosen = (0xFF00u >> n & 0xFF) >> shift;
    byte = static_cast<std::uint8_t>((byte & ~chosen) | (combine(byte, source) & chosen));
    offset += n;
  }
}

/// Calls `with` with the function that a mode combines bits by; mode AND with a full source and
/// the like come out of the same formulas.
template <class With>
void WithCombiner(MaskMode mode, With with) {
  switch (mode) {
    case MASKVISIBLE:
    case MASKOR:
      return with([](unsigned d, unsigned s) { return d | s; });
    case MASKINVISIBLE:
      return with([](unsigned d, unsigned s) { return d & ~s; });
    case MASKVANILLACOPY:
      return with([](unsigned, unsigned s) { return s; });
    case MASKXOR:
      return with([](unsigned d, unsigned s) { return d ^ s; });
    case MASKAND:
      return with([](unsigned d, unsigned s) { return d & s; });
  }
}

template <class Source, class Target>
BlitArea CutToPlanes(const BlitArea& area, const Source& source, const Target& target) {
  return ClipTarget(ClipSource(area, {0, 0, source.width, source.height}),
                    {0, 0, target.width, target.height});
}

/// One bit for each byte that is exactly 255, the first at the top.
std::uint8_t OpaqueBits(const std::uint8_t* alpha, int count) {
  unsigned bits = 0;
  for (int i = 0; i < count; ++i) bits |= (alpha[i] == 255 ? 128u : 0u) >> i;
  return static_cast<std::uint8_t>(bits);
}

/// Calls `change(index)` for each set bit of a row.
template <class Change>
void ForSetBits(const BitRow& row, int count, Change change) {
  for (int i = 0; i < count; i += 8) {
    const int n = std::min(8, count - i);
    unsigned bits = FetchBits(row, i, n) & (0xFF00u >> n);
    while (bits != 0) {
      const int bit = std::countl_zero(static_cast<std::uint8_t>(bits));
      change(i + bit);
      bits &= ~(128u >> bit);
    }
  }
}

template <class Formula>
void CombineAlpha(const qmAlphaMap& source, qmAlphaMap& target, const BlitArea& area,
                  Formula formula) {
  for (int row = 0; row < area.height; ++row) {
    const std::uint8_t* from = source.Row(area.sy + row) + area.sx;
    std::uint8_t* to = target.Row(area.ty + row) + area.tx;
    for (int i = 0; i < area.width; ++i) {
      to[i] = static_cast<std::uint8_t>(formula(from[i], to[i]));
    }
  }
}

}  // namespace

void FillMask(qmMask& mask, const Area& area, MaskMode mode) {
  const Area cut = ClipArea(area, mask.width, mask.height);
  const auto allSet = [](int, int) { return 0xFF; };
  WithCombiner(mode, [&](auto combine) {
    for (int row = 0; row < cut.height; ++row) {
      RewriteBits(mask.Row(cut.y + row), cut.x, cut.width, allSet, combine);
    }
  });
}

void CopyMask(const qmMask& source, qmMask& target, const BlitArea& area, MaskMode mode) {
  const BlitArea cut = CutToPlanes(area, source, target);
  WithCombiner(mode, [&](auto combine) {
    for (int row = 0; row < cut.height; ++row) {
      const BitRow from{source.Row(cut.sy + row), cut.sx};
      RewriteBits(
          target.Row(cut.ty + row), cut.tx, cut.width,
          [&](int offset, int n) { return FetchBits(from, offset, n); }, combine);
    }
  });
}

void AlphaToMask(const qmAlphaMap& source, qmMask& target, const BlitArea& area, MaskMode mode) {
  if (mode == MASKAND) return;
  const BlitArea cut = CutToPlanes(area, source, target);
  const auto run = [&](auto combine) {
    for (int row = 0; row < cut.height; ++row) {
      const std::uint8_t* from = source.Row(cut.sy + row) + cut.sx;
      RewriteBits(
          target.Row(cut.ty + row), cut.tx, cut.width,
          [&](int offset, int n) { return OpaqueBits(from + offset, n); }, combine);
    }
  };
  switch (mode) {
    case MASKVISIBLE:
      return WithCombiner(MASKVANILLACOPY, run);
    case MASKINVISIBLE:
      return run([](unsigned, unsigned s) { return ~s; });
    default:
      return WithCombiner(mode, run);
  }
}

void FillAlpha(qmAlphaMap& alpha, const Area& area, std::uint8_t value) {
  const Area cut = ClipArea(area, alpha.width, alpha.height);
  for (int row = 0; row < cut.height; ++row) {
    std::memset(alpha.Row(cut.y + row) + cut.x, value, static_cast<std::size_t>(cut.width));
  }
}

void MaskToAlpha(const qmMask& source, qmAlphaMap& target, const BlitArea& area,
                 std::uint8_t value) {
  const BlitArea cut = CutToPlanes(area, source, target);
  for (int row = 0; row < cut.height; ++row) {
    std::uint8_t* to = target.Row(cut.ty + row) + cut.tx;
    ForSetBits({source.Row(cut.sy + row), cut.sx}, cut.width, [&](int i) { to[i] = value; });
  }
}

void CopyAlpha(const qmAlphaMap& source, qmAlphaMap& target, const BlitArea& area,
               AlphaCopyMode mode, std::uint8_t value) {
  const BlitArea cut = CutToPlanes(area, source, target);
  const auto combine = [&](auto formula) { CombineAlpha(source, target, cut, formula); };
  switch (mode) {
    case AlphaCopyMode::Copy:
      for (int row = 0; row < cut.height; ++row) {
        std::memcpy(target.Row(cut.ty + row) + cut.tx, source.Row(cut.sy + row) + cut.sx,
                    static_cast<std::size_t>(cut.width));
      }
      return;
    case AlphaCopyMode::CopyVisible:
      return combine([](int s, int d) { return s != 0 ? s : d; });
    case AlphaCopyMode::Invert:
      return combine([](int s, int d) { return s != 0 ? ~s : d; });
    case AlphaCopyMode::Opaque:
      return combine([](int s, int d) { return s != 0 ? 255 : d; });
    case AlphaCopyMode::Scale:
      return combine([value](int s, int d) { return s != 0 ? s * value / 255 : d; });
    case AlphaCopyMode::InvertInside:
      return combine([](int s, int d) { return s != 0 && d != 0 ? ~s : d; });
    case AlphaCopyMode::Value:
      return combine([value](int s, int d) { return s != 0 ? value : d; });
    case AlphaCopyMode::CopyInside:
      return combine([](int s, int d) { return s != 0 && d != 0 ? s : 0; });
  }
}

namespace {

/// The part of a copy to 0, 0 of the target that lies in the source and under the shape.
template <class Plane>
BlitArea AreaUnderShape(const Plane& source, int sx, int sy, const qmMask& shape, int shapeX,
                        int shapeY, const Plane& target, int width, int height) {
  return ClipTarget(CutToPlanes({sx, sy, 0, 0, width, height}, source, target),
                    {-shapeX, -shapeY, shape.width, shape.height});
}

}  // namespace

void CopyAlphaThrough(const qmAlphaMap& source, int sx, int sy, const qmMask& shape, int shapeX,
                      int shapeY, qmAlphaMap& target, int width, int height) {
  FillAlpha(target, {0, 0, width, height}, 0);
  const BlitArea visible =
      AreaUnderShape(source, sx, sy, shape, shapeX, shapeY, target, width, height);
  for (int row = 0; row < visible.height; ++row) {
    const std::uint8_t* from = source.Row(visible.sy + row) + visible.sx;
    std::uint8_t* to = target.Row(visible.ty + row) + visible.tx;
    ForSetBits({shape.Row(shapeY + visible.ty + row), shapeX + visible.tx}, visible.width,
               [&](int i) { to[i] = from[i]; });
  }
}

void CopyMaskThrough(const qmMask& source, int sx, int sy, const qmMask& shape, int shapeX,
                     int shapeY, qmMask& target, int width, int height) {
  FillMask(target, {0, 0, width, height}, MASKINVISIBLE);
  BlitArea visible = AreaUnderShape(source, sx, sy, shape, shapeX, shapeY, target, width, height);
  CopyMask(source, target, visible, MASKVANILLACOPY);
  visible.sx = shapeX + visible.tx;
  visible.sy = shapeY + visible.ty;
  CopyMask(shape, target, visible, MASKAND);
}

namespace {

/// The smallest box around the rows and columns for which `columnsOf(y)` gives a first and last
/// column (first above last for none).
template <class ColumnsOf>
Area BoxOfRows(int height, ColumnsOf columnsOf) {
  int left = maxPlaneSize, right = -1, top = -1, bottom = -1;
  for (int y = 0; y < height; ++y) {
    const auto [first, last] = columnsOf(y);
    if (first > last) continue;
    if (top < 0) top = y;
    bottom = y;
    left = std::min(left, first);
    right = std::max(right, last);
  }
  if (top < 0) return {};
  return {left, top, right - left + 1, bottom - top + 1};
}

}  // namespace

Area VisibleBox(const qmMask& mask) {
  return BoxOfRows(mask.height, [&](int y) {
    std::pair<int, int> columns{maxPlaneSize, -1};
    const std::uint8_t* row = mask.Row(y);
    for (int i = 0; i * 8 < mask.width; ++i) {
      const int inside = std::min(8, mask.width - i * 8);
      const auto bits = static_cast<std::uint8_t>(row[i] & (0xFF00u >> inside));
      if (bits == 0) continue;
      columns.first = std::min(columns.first, i * 8 + std::countl_zero(bits));
      columns.second = i * 8 + 7 - std::countr_zero(bits);
    }
    return columns;
  });
}

Area VisibleBox(const qmAlphaMap& alpha) {
  return BoxOfRows(alpha.height, [&](int y) {
    const std::uint8_t* row = alpha.Row(y);
    int first = 0, last = alpha.width - 1;
    while (first < alpha.width && row[first] == 0) ++first;
    while (last >= first && row[last] == 0) --last;
    return std::pair<int, int>{first, last};
  });
}

}  // namespace quillmere
