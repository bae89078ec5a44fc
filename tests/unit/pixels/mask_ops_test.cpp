#include "pixels/mask_ops.h"

#include <gtest/gtest.h>

#include <limits>

#include "unit/pixels/plane_tables.h"
#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::BitOfAlpha;
using test::Clone;
using test::CopiedBit;
using test::CopiedByte;
using test::Dice;
using test::FilledBit;
using test::ForPixels;
using test::SameBytes;

constexpr int rounds = 120;
constexpr MaskMode maskModes[] = {MASKVISIBLE, MASKINVISIBLE, MASKVANILLACOPY,
                                  MASKXOR,     MASKAND,       MASKOR};

TEST(MaskOps, EveryModeEqualsItsTableBitByBit) {
  Dice dice(2);
  for (int round = 0; round < rounds; ++round) {
    for (const MaskMode mode : maskModes) {
      const auto source = dice.Mask(dice.Int(1, 70), dice.Int(1, 70));
      const auto alpha = dice.Alpha(source->width, source->height);
      const auto before = dice.Mask(dice.Int(1, 70), dice.Int(1, 70));
      const BlitArea area = dice.Rectangle(70);
      const auto copied = Clone(*before), fromAlpha = Clone(*before), filled = Clone(*before);
      CopyMask(*source, *copied, area, mode);
      AlphaToMask(*alpha, *fromAlpha, area, mode);
      FillMask(*filled, area.Target(), mode);

      const auto wantCopied = Clone(*before), wantFromAlpha = Clone(*before);
      const auto wantFilled = Clone(*before);
      ForPixels(area, *source, *before, [&](int sx, int sy, int tx, int ty) {
        const bool d = before->Test(tx, ty);
        wantCopied->Set(tx, ty, CopiedBit(mode, d, source->Test(sx, sy)));
        wantFromAlpha->Set(tx, ty, BitOfAlpha(mode, d, alpha->Row(sy)[sx]));
      });
      ForPixels(area.Target(), *before,
                [&](int x, int y) { wantFilled->Set(x, y, FilledBit(mode, before->Test(x, y))); });
      ASSERT_TRUE(SameBytes(*copied, *wantCopied)) << "mode " << mode;
      ASSERT_TRUE(SameBytes(*fromAlpha, *wantFromAlpha)) << "mode " << mode;
      ASSERT_TRUE(SameBytes(*filled, *wantFilled)) << "mode " << mode;
    }
  }
}

TEST(AlphaOps, EveryModeEqualsItsTableByteByByte) {
  Dice dice(3);
  for (int round = 0; round < rounds; ++round) {
    for (int mode = 0; mode < 8; ++mode) {
      const auto source = dice.Alpha(dice.Int(1, 70), dice.Int(1, 70));
      const auto target = dice.Alpha(dice.Int(1, 70), dice.Int(1, 70));
      const auto want = Clone(*target);
      const BlitArea area = dice.Rectangle(70);
      const std::uint8_t value = dice.Byte();
      ForPixels(area, *source, *want, [&](int sx, int sy, int tx, int ty) {
        std::uint8_t& d = want->Row(ty)[tx];
        d = static_cast<std::uint8_t>(
            CopiedByte(static_cast<AlphaCopyMode>(mode), d, source->Row(sy)[sx], value));
      });
      CopyAlpha(*source, *target, area, static_cast<AlphaCopyMode>(mode), value);
      ASSERT_TRUE(SameBytes(*want, *target)) << "mode " << mode;
    }
  }
}

TEST(AlphaOps, FillsAndMasksChooseBytes) {
  Dice dice(4);
  for (int round = 0; round < rounds; ++round) {
    const auto mask = dice.Mask(dice.Int(1, 70), dice.Int(1, 70));
    const auto drawn = dice.Alpha(dice.Int(1, 70), dice.Int(1, 70));
    const auto filled = Clone(*drawn), wantDrawn = Clone(*drawn), wantFilled = Clone(*drawn);
    const BlitArea area = dice.Rectangle(70);
    const std::uint8_t value = dice.Byte();
    ForPixels(area, *mask, *drawn, [&](int sx, int sy, int tx, int ty) {
      if (mask->Test(sx, sy)) wantDrawn->Row(ty)[tx] = value;
    });
    ForPixels(area.Target(), *filled, [&](int x, int y) { wantFilled->Row(y)[x] = value; });
    MaskToAlpha(*mask, *drawn, area, value);
    FillAlpha(*filled, area.Target(), value);
    ASSERT_TRUE(SameBytes(*drawn, *wantDrawn));
    ASSERT_TRUE(SameBytes(*filled, *wantFilled));
  }
}

TEST(Shapes, LeaveNothingOutsideOfSourceAndShape) {
  Dice dice(24);
  for (int round = 0; round < rounds; ++round) {
    const auto mask = dice.Mask(dice.Int(1, 70), dice.Int(1, 70));
    const auto alpha = dice.Alpha(mask->width, mask->height);
    const auto shape = dice.Mask(dice.Int(1, 70), dice.Int(1, 70));
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    const int sx = dice.Int(-5, 60), sy = dice.Int(-5, 60);
    const int shapeX = dice.Int(-20, 60), shapeY = dice.Int(-20, 60);
    const auto shapedAlpha = dice.Alpha(width, height);
    const auto shapedMask = dice.Mask(width, height);
    CopyAlphaThrough(*alpha, sx, sy, *shape, shapeX, shapeY, *shapedAlpha, width, height);
    CopyMaskThrough(*mask, sx, sy, *shape, shapeX, shapeY, *shapedMask, width, height);
    ForPixels({0, 0, width, height}, *shapedMask, [&](int x, int y) {
      const int ax = sx + x, ay = sy + y, bx = shapeX + x, by = shapeY + y;
      const bool inSource = ax >= 0 && ay >= 0 && ax < alpha->width && ay < alpha->height;
      const bool inShape =
          bx >= 0 && by >= 0 && bx < shape->width && by < shape->height && shape->Test(bx, by);
      ASSERT_EQ(shapedAlpha->Row(y)[x], inSource && inShape ? alpha->Row(ay)[ax] : 0);
      ASSERT_EQ(shapedMask->Test(x, y), inSource && inShape && mask->Test(ax, ay));
    });
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
  const auto before = Clone(*mask);
  constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
  for (const BlitArea& area : {BlitArea{most, 0, 0, 0, most, 5},
                               {0, 0, least, 0, 20, 20},
                               {least, least, most, most, most, most},
                               {0, 0, 0, 0, -5, 20}}) {
    CopyMask(*mask, *mask, area, MASKXOR);
    FillMask(*mask, {area.tx, area.ty, area.width, -1}, MASKXOR);
  }
  EXPECT_TRUE(SameBytes(*mask, *before));
  FillMask(*mask, {-10, -10, most, most}, MASKVISIBLE);
  EXPECT_EQ(VisibleBox(*mask), (Area{0, 0, 20, 20}));
}

}  // namespace
}  // namespace quillmere
