#include "pixels/blit.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>

#include "pixels/kernels.h"

namespace quillmere {
namespace {

/// Cuts a rectangle to both planes.
template <class Source>
BlitArea Cut(const BlitArea& area, const Source& source, const qmBitmap& target) {
  return ClipTarget(ClipSource(area, {0, 0, source.width, source.height}),
                    {0, 0, target.width, target.height});
}

template <class Source, class Plane>
BlitArea Cut(const BlitArea& area, const Source& source, const Plane& plane,
             const qmBitmap& target) {
  return Cut(ClipSource(area, {0, 0, plane.width, plane.height}), source, target);
}

/// True, with a line on the debug output, for a target that is not there.
bool IsMissing(DebugOutput& debug, const qmBitmap* target, std::string_view primitive) {
  if (target != nullptr) return false;
  debug.Write("ERROR! " + std::string(primitive) + "() CALLED WITH DST=NULL!\n");
  return true;
}

}  // namespace

void BLTBITMAP(DebugOutput& debug, const qmBitmap& source, qmBitmap* target, const BlitArea& area) {
  if (IsMissing(debug, target, "BLTBITMAP")) return;
  const BlitArea cut = Cut(area, source, *target);
  for (int row = 0; row < cut.height; ++row) {
    std::memmove(target->Row(cut.ty + row) + cut.tx, source.Row(cut.sy + row) + cut.sx,
                 static_cast<std::size_t>(cut.width) * sizeof(std::uint32_t));
  }
}

void RECTFILL(DebugOutput& debug, qmBitmap* target, const Area& area, std::uint32_t rgb) {
  if (IsMissing(debug, target, "RECTFILL")) return;
  const Area cut = ClipArea(area, target->width, target->height);
  for (int row = 0; row < cut.height; ++row) {
    Kernels().fill(target->Row(cut.y + row) + cut.x, rgb, cut.width);
  }
}

void BLTMASK(DebugOutput& debug, const qmBitmap& source, qmBitmap* target, const BlitArea& area,
             const qmMask& mask) {
  if (IsMissing(debug, target, "BLTMASK")) return;
  const BlitArea cut = Cut(area, source, mask, *target);
  for (int row = 0; row < cut.height; ++row) {
    Kernels().copyMasked(target->Row(cut.ty + row) + cut.tx, source.Row(cut.sy + row) + cut.sx,
                         {mask.Row(cut.sy + row), cut.sx}, cut.width);
  }
}

void BLTTEMPLATE(DebugOutput& debug, const qmMask& stencil, qmBitmap* target, const BlitArea& area,
                 std::uint32_t rgb) {
  if (IsMissing(debug, target, "BLTTEMPLATE")) return;
  const BlitArea cut = Cut(area, stencil, *target);
  for (int row = 0; row < cut.height; ++row) {
    Kernels().fillMasked(target->Row(cut.ty + row) + cut.tx, rgb,
                         {stencil.Row(cut.sy + row), cut.sx}, cut.width);
  }
}

void BLTALPHABITMAP(DebugOutput& debug, const qmBitmap& source, qmBitmap* target,
                    const BlitArea& area, const qmAlphaMap& alpha) {
  if (IsMissing(debug, target, "BLTALPHABITMAP")) return;
  const BlitArea cut = Cut(area, source, alpha, *target);
  for (int row = 0; row < cut.height; ++row) {
    Kernels().blend(target->Row(cut.ty + row) + cut.tx, source.Row(cut.sy + row) + cut.sx,
                    alpha.Row(cut.sy + row) + cut.sx, cut.width);
  }
}

namespace {

/// Coverage of one row in whichever form it came, as bytes; values are read one by one.
class CoverageRow {
 public:
  CoverageRow(const CoverageBlit& blit, int x, int y) {
    const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(y) * blit.coverageWidth + x;
    if (blit.mode == CoverageMode::BlendAlpha16) {
      words_ = static_cast<const std::uint16_t*>(blit.coverage) + offset;
    } else {
      bytes_ = static_cast<const std::uint8_t*>(blit.coverage) + offset;
    }
  }
  [[nodiscard]] std::uint8_t operator[](int i) const {
    return words_ != nullptr ? static_cast<std::uint8_t>(words_[i]) : bytes_[i];
  }
  [[nodiscard]] const std::uint8_t* Bytes() const { return bytes_; }

 private:
  const std::uint8_t* bytes_ = nullptr;
  const std::uint16_t* words_ = nullptr;
};

/// Coverage of 64 steps as the alpha that it stands for.
std::uint8_t AlphaOf64(std::uint8_t coverage) {
  return coverage == 64 ? 255 : static_cast<std::uint8_t>(coverage * 4 & 252);
}

/// A pixel that gathers coverage in the target's alpha.
void GatherCoverage(std::uint32_t& target, std::uint8_t& alpha, std::uint32_t color, int c,
                    int intensity) {
  if (c == 0) return;
  int gathered = c;
  if (alpha == 0) {
    target = color;
  } else {
    target = BlendPixel(target, color, static_cast<unsigned>(c));
    gathered = ((c - alpha) * c >> 8) + alpha;
  }
  alpha = static_cast<std::uint8_t>(gathered * intensity / 255);
}

/// One row of coverage drawing, its pieces already at their first pixel.
struct CoverageTarget {
  std::uint32_t* pixels;
  /// Null without a picture to take colours from.
  const std::uint32_t* source;
  /// Null when coverage is not gathered.
  std::uint8_t* alpha;
  int count;
};

void DrawBlendedRow(const CoverageBlit& blit, const CoverageTarget& row,
                    const std::uint8_t* coverage) {
  if (row.source != nullptr) {
    Kernels().blend(row.pixels, row.source, coverage, row.count);
  } else {
    Kernels().blendColor(row.pixels, blit.rgb, coverage, row.count);
  }
}

void DrawCoverageRow(const CoverageBlit& blit, const CoverageTarget& row,
                     const CoverageRow& coverage) {
  const auto colorAt = [&](int i) { return row.source != nullptr ? row.source[i] : blit.rgb; };
  switch (blit.mode) {
    case CoverageMode::Blend:
      return DrawBlendedRow(blit, row, coverage.Bytes());
    case CoverageMode::Solid:
      for (int i = 0; i < row.count; ++i) {
        if (coverage[i] != 0) row.pixels[i] = colorAt(i);
      }
      return;
    case CoverageMode::Blend64:
      for (int i = 0; i < row.count; ++i) {
        row.pixels[i] = BlendPixel(row.pixels[i], colorAt(i), AlphaOf64(coverage[i]));
      }
      return;
    case CoverageMode::BlendAlpha:
    case CoverageMode::BlendAlpha16:
      for (int i = 0; i < row.count; ++i) {
        if (row.alpha != nullptr) {
          GatherCoverage(row.pixels[i], row.alpha[i], colorAt(i), coverage[i], blit.intensity);
        } else {
          row.pixels[i] = BlendPixel(row.pixels[i], colorAt(i), coverage[i]);
        }
      }
  }
}

/// Cuts a rectangle to a target alpha map that is read `shift` columns further on.
BlitArea CutToAlpha(const BlitArea& area, const qmAlphaMap& alpha, std::int64_t shift) {
  if (std::abs(shift) > maxPlaneSize) return {};
  return ClipTarget(area, {-static_cast<int>(shift), 0, alpha.width, alpha.height});
}

}  // namespace

void BLTALPHACHANNEL(DebugOutput& debug, qmBitmap* target, const CoverageBlit& blit) {
  if (IsMissing(debug, target, "BLTALPHACHANNEL") || blit.coverage == nullptr) return;
  const bool gathers =
      blit.mode == CoverageMode::BlendAlpha || blit.mode == CoverageMode::BlendAlpha16;
  const qmBitmap* source = blit.mode == CoverageMode::BlendAlpha16 ? nullptr : blit.sourceBitmap;
  qmAlphaMap* alpha = gathers ? blit.targetAlpha : nullptr;

  if (blit.area.sx < 0 || blit.area.sy < 0) return;
  BlitArea cut = ClipSource(blit.area, {0, 0, blit.coverageWidth, blit.coverageHeight});
  if (source != nullptr) cut = ClipSource(cut, {0, 0, source->width, source->height});
  cut = ClipTarget(cut, {0, 0, target->width, target->height});
  const std::int64_t alphaShift = static_cast<std::int64_t>(blit.targetAlphaX) - blit.area.tx;
  if (alpha != nullptr) cut = CutToAlpha(cut, *alpha, alphaShift);

  for (int row = 0; row < cut.height; ++row) {
    const int y = cut.ty + row;
    const CoverageTarget pieces{
        target->Row(y) + cut.tx, source != nullptr ? source->Row(cut.sy + row) + cut.sx : nullptr,
        alpha != nullptr ? alpha->Row(y) + cut.tx + alphaShift : nullptr, cut.width};
    DrawCoverageRow(blit, pieces, CoverageRow(blit, cut.sx, cut.sy + row));
  }
}

namespace {

/// Rows are mixed in pieces that stay in the first cache.
constexpr int pieceLength = 1024;

void BlendRowThroughMask(std::uint32_t* target, const std::uint32_t* source, BitRow mask,
                         int weight, int count) {
  std::array<std::uint32_t, pieceLength> mixed;
  for (int i = 0; i < count; i += pieceLength) {
    const int n = std::min(pieceLength, count - i);
    Kernels().mix(mixed.data(), source + i, target + i, weight, n);
    Kernels().copyMasked(target + i, mixed.data(), {mask.bytes, mask.first + i}, n);
  }
}

void BlendScaledAlpha(qmBitmap& target, const qmBitmap& source, const qmAlphaMap& alpha,
                      const BlitArea& area, int level) {
  const BlitArea cut = Cut(area, source, alpha, target);
  for (int row = 0; row < cut.height; ++row) {
    Kernels().blendScaled(target.Row(cut.ty + row) + cut.tx, source.Row(cut.sy + row) + cut.sx,
                          alpha.Row(cut.sy + row) + cut.sx, level, cut.width);
  }
}

}  // namespace

void BlendPicture(qmBitmap& target, const qmBitmap& source, const qmMask* mask,
                  const qmAlphaMap* alpha, const BlitArea& area, int level) {
  level = std::clamp(level, 0, 255);
  if (alpha != nullptr) return BlendScaledAlpha(target, source, *alpha, area, level);
  const BlitArea cut =
      mask != nullptr ? Cut(area, source, *mask, target) : Cut(area, source, target);
  for (int row = 0; row < cut.height; ++row) {
    std::uint32_t* to = target.Row(cut.ty + row) + cut.tx;
    const std::uint32_t* from = source.Row(cut.sy + row) + cut.sx;
    if (mask != nullptr) {
      BlendRowThroughMask(to, from, {mask->Row(cut.sy + row), cut.sx}, 255 - level, cut.width);
    } else {
      Kernels().mix(to, from, to, 255 - level, cut.width);
    }
  }
}

void TintPicture(qmBitmap& bitmap, const Area& area, std::uint32_t rgb, int level) {
  const Area cut = ClipArea(area, bitmap.width, bitmap.height);
  for (int row = 0; row < cut.height; ++row) {
    std::uint32_t* pixels = bitmap.Row(cut.y + row) + cut.x;
    Kernels().mixColor(pixels, pixels, rgb, std::clamp(level, 0, 255), cut.width);
  }
}

void BlendUniform(qmBitmap& target, const qmBitmap& source, const BlitArea& area, int alpha) {
  alpha = std::clamp(alpha, 0, 255);
  if (alpha == 0) return;
  const BlitArea cut = Cut(area, source, target);
  for (int row = 0; row < cut.height; ++row) {
    std::uint32_t* to = target.Row(cut.ty + row) + cut.tx;
    Kernels().mix(to, to, source.Row(cut.sy + row) + cut.sx, alpha == 255 ? 256 : alpha, cut.width);
  }
}

}  // namespace quillmere
