#include "pixels/mask_ops.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>

#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::Dice;

constexpr int rounds = 120;
constexpr MaskMode maskModes[] = {MASKVISIBLE, MASKINVISIBLE, MASKVANILLACOPY,
                                  MASKXOR,     MASKAND,       MASKOR};

template <class Plane>
std::vector<std::uint8_t> BytesOf(Plane& plane) {
  return {plane.Bytes().begin(), plane.Bytes().end()};
}

/// The table of `CopyMask`, bit by bit.
bool CopiedBit(MaskMode mode, bool d, bool s) {
  switch (mode) {
    case MASKVISIBLE:
      return s ? true : d;
    case MASKINVISIBLE:
      return s ? false : d;
    case MASKVANILLACOPY:
      return s;
    case MASKXOR:
      return d != s;
    case MASKAND:
      return d && s;
    case MASKOR:
      return d || s;
  }
  return d;
}

/// The table of `FillMask`.
bool FilledBit(MaskMode mode, bool d) {
  if (mode == MASKINVISIBLE) return false;
  if (mode == MASKXOR) return !d;
  return mode == MASKAND ? d : true;
}

/// The table of `AlphaToMask`.
bool BitOfAlpha(MaskMode mode, bool d, std::uint8_t s) {
  const bool set = s == 255;
  switch (mode) {
    case MASKVISIBLE:
    case MASKVANILLACOPY:
      return set;
    case MASKINVISIBLE:
      return !set;
    case MASKXOR:
      return set ? !d : d;
    case MASKAND:
      return d;
    case MASKOR:
      return d || set;
  }
  return d;
}

/// The table of `CopyAlpha`.
int CopiedByte(AlphaCopyMode mode, int d, int s, int value) {
  switch (mode) {
    case AlphaCopyMode::Copy:
      return s;
    case AlphaCopyMode::CopyVisible:
      return s != 0 ? s : d;
    case AlphaCopyMode::Invert:
      return s != 0 ? 255 - s : d;
    case AlphaCopyMode::Opaque:
      return s != 0 ? 255 : d;
    case AlphaCopyMode::Scale:
      return s != 0 ? s * value / 255 : d;
    case AlphaCopyMode::InvertInside:
      return s != 0 && d != 0 ? 255 - s : d;
    case AlphaCopyMode::Value:
      return s != 0 ? value : d;
    case AlphaCopyMode::CopyInside:
      return s != 0 && d != 0 ? s : 0;
  }
  return d;
}

TEST(MaskOps, EveryModeEqualsItsTableBitByBit) {
  Dice dice(2);
  for (int round = 0; round < rounds; ++round) {
    for (const MaskMode mode : maskModes) {
      const auto source = dice.Mask(dice.Int(1, 70), dice.Int(1, 70));
      const auto alpha = dice.Alpha(source->width, source->height);
      const auto copied = dice.Mask(dice.Int(1, 70), dice.Int(1, 70));
      const auto filled = *AllocMask(copied->width, copied->height, true);
      const auto fromAlpha = *AllocMask(copied->width, copied->height, true);
      const BlitArea area = dice.Rectangle(70);
      const Area target = area.Target();
      const BlitArea whole{0, 0, 0, 0, copied->width, copied->height};
      CopyMask(*copied, *filled, whole, MASKVANILLACOPY);
      CopyMask(*copied, *fromAlpha, whole, MASKVANILLACOPY);
      const auto wantCopied = *AllocMask(copied->width, copied->height, true);
      const auto wantFilled = *AllocMask(copied->width, copied->height, true);
      const auto wantFromAlpha = *AllocMask(copied->width, copied->height, true);
      for (int y = 0; y < copied->height; ++y) {
        for (int x = 0; x < copied->width; ++x) {
          const bool d = copied->Test(x, y);
          wantCopied->Set(x, y, d);
          wantFilled->Set(x, y, d);
          wantFromAlpha->Set(x, y, d);
        }
      }
      ASSERT_EQ(BytesOf(*filled), BytesOf(*wantFilled));
      test::ForPixels(area, *source, *copied, [&](int sx, int sy, int tx, int ty) {
        const bool d = wantCopied->Test(tx, ty);
        wantFromAlpha->Set(tx, ty, BitOfAlpha(mode, d, alpha->Row(sy)[sx]));
        wantCopied->Set(tx, ty, CopiedBit(mode, d, source->Test(sx, sy)));
      });
      test::ForPixels({target.x, target.y, target.x, target.y, target.width, target.height},
                      *filled, *filled, [&](int, int, int tx, int ty) {
                        wantFilled->Set(tx, ty, FilledBit(mode, wantFilled->Test(tx, ty)));
                      });
      CopyMask(*source, *copied, area, mode);
      AlphaToMask(*alpha, *fromAlpha, area, mode);
      FillMask(*filled, target, mode);
      ASSERT_EQ(BytesOf(*copied), BytesOf(*wantCopied)) << "mode " << mode;
      ASSERT_EQ(BytesOf(*fromAlpha), BytesOf(*wantFromAlpha)) << "mode " << mode;
      ASSERT_EQ(BytesOf(*filled), BytesOf(*wantFilled)) << "mode " << mode;
    }
  }
}

TEST(AlphaOps, EveryModeEqualsItsTableByteByByte) {
  Dice dice(3);
  for (int round = 0; round < rounds; ++round) {
    for (int mode = 0; mode < 8; ++mode) {
      const auto source = dice.Alpha(dice.Int(1, 70), dice.Int(1, 70));
      const auto target = dice.Alpha(dice.Int(1, 70), dice.Int(1, 70));
      const BlitArea area = dice.Rectangle(70);
      const std::uint8_t value = dice.Byte();
      const auto want = *AllocAlphaMap(target->width, target->height, true);
      CopyAlpha(*target, *want, {0, 0, 0, 0, target->width, target->height}, AlphaCopyMode::Copy);
      ASSERT_EQ(BytesOf(*want), BytesOf(*target));
      test::ForPixels(area, *source, *want, [&](int sx, int sy, int tx, int ty) {
        std::uint8_t& d = want->Row(ty)[tx];
        d = static_cast<std::uint8_t>(
            CopiedByte(static_cast<AlphaCopyMode>(mode), d, source->Row(sy)[sx], value));
      });
      CopyAlpha(*source, *target, area, static_cast<AlphaCopyMode>(mode), value);
      ASSERT_EQ(BytesOf(*want), BytesOf(*target)) << "mode " << mode;
    }
  }
}

TEST(AlphaOps, MasksAndShapesChooseBytes) {
  Dice dice(4);
  for (int round = 0; round < rounds; ++round) {
    const auto mask = dice.Mask(dice.Int(1, 70), dice.Int(1, 70));
    const auto alpha = dice.Alpha(dice.Int(1, 70), dice.Int(1, 70));
    const auto shape = dice.Mask(dice.Int(1, 70), dice.Int(1, 70));
    const BlitArea area = dice.Rectangle(70);
    const std::uint8_t value = dice.Byte();
    const auto want = *AllocAlphaMap(alpha->width, alpha->height, true);
    CopyAlpha(*alpha, *want, {0, 0, 0, 0, alpha->width, alpha->height}, AlphaCopyMode::Copy);
    test::ForPixels(area, *mask, *want, [&](int sx, int sy, int tx, int ty) {
      if (mask->Test(sx, sy)) want->Row(ty)[tx] = value;
    });
    const auto drawn = *AllocAlphaMap(alpha->width, alpha->height, true);
    CopyAlpha(*alpha, *drawn, {0, 0, 0, 0, alpha->width, alpha->height}, AlphaCopyMode::Copy);
    MaskToAlpha(*mask, *drawn, area, value);
    ASSERT_EQ(BytesOf(*want), BytesOf(*drawn));

    // Through a shape: what lies outside of the source, the shape or its bits is 0.
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    const int sx = dice.Int(-5, 60), sy = dice.Int(-5, 60);
    const int shapeX = dice.Int(-20, 60), shapeY = dice.Int(-20, 60);
    const auto shapedAlpha = dice.Alpha(width, height);
    const auto shapedMask = dice.Mask(width, height);
    CopyAlphaThrough(*alpha, sx, sy, *shape, shapeX, shapeY, *shapedAlpha, width, height);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const int ax = sx + x, ay = sy + y, bx = shapeX + x, by = shapeY + y;
        const bool inSource = ax >= 0 && ay >= 0 && ax < alpha->width && ay < alpha->height;
        const bool inShape =
            bx >= 0 && by >= 0 && bx < shape->width && by < shape->height && shape->Test(bx, by);
        ASSERT_EQ(shapedAlpha->Row(y)[x], inSource && inShape ? alpha->Row(ay)[ax] : 0);
      }
    }
    const int maskX = dice.Int(0, mask->width - 1), maskY = dice.Int(0, mask->height - 1);
    const int fitWidth = std::min(width, mask->width - maskX);
    const int fitHeight = std::min(height, mask->height - maskY);
    const int cornerX = dice.Int(0, shape->width - 1), cornerY = dice.Int(0, shape->height - 1);
    CopyMaskThrough(*mask, maskX, maskY, *shape, cornerX, cornerY, *shapedMask, fitWidth,
                    fitHeight);
    for (int y = 0; y < std::min(fitHeight, shape->height - cornerY); ++y) {
      for (int x = 0; x < std::min(fitWidth, shape->width - cornerX); ++x) {
        ASSERT_EQ(shapedMask->Test(x, y),
                  mask->Test(maskX + x, maskY + y) && shape->Test(cornerX + x, cornerY + y));
      }
    }
  }
}

TEST(VisibleBox, IsTheSmallestBoxAroundWhatShows) {
  Dice dice(5);
  for (int round = 0; round < rounds; ++round) {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    const auto mask = *AllocMask(width, height, true);
    const auto alpha = *AllocAlphaMap(width, height, true);
    mask->Bytes().back() = 1;  // padding, as long as the width leaves some
    if (width % 16 == 0) mask->Bytes().back() = 0;
    int left = width, top = height, right = -1, bottom = -1;
    for (int dots = dice.Int(0, 3); dots > 0; --dots) {
      const int x = dice.Int(0, width - 1), y = dice.Int(0, height - 1);
      mask->Set(x, y, true);
      alpha->Row(y)[x] = 1;
      left = std::min(left, x), right = std::max(right, x);
      top = std::min(top, y), bottom = std::max(bottom, y);
    }
    const Area want = right < 0 ? Area{} : Area{left, top, right - left + 1, bottom - top + 1};
    ASSERT_EQ(VisibleBox(*mask), want);
    ASSERT_EQ(VisibleBox(*alpha), want);
  }
}

TEST(MaskOps, FarRectanglesReachNothing) {
  Dice dice(6);
  const auto mask = dice.Mask(20, 20);
  const auto before = BytesOf(*mask);
  constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
  for (const BlitArea& area : {BlitArea{most, 0, 0, 0, most, 5},
                               {0, 0, least, 0, 20, 20},
                               {least, least, most, most, most, most},
                               {0, 0, 0, 0, -5, 20}}) {
    CopyMask(*mask, *mask, area, MASKXOR);
    FillMask(*mask, {area.tx, area.ty, area.width, -1}, MASKXOR);
  }
  EXPECT_EQ(BytesOf(*mask), before);
  FillMask(*mask, {-10, -10, most, most}, MASKVISIBLE);
  EXPECT_EQ(VisibleBox(*mask), (Area{0, 0, 20, 20}));
}

}  // namespace
}  // namespace quillmere
