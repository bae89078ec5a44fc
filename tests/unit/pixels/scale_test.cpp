#include "pixels/scale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::Dice;

/// A channel of a plane at a place of the source rectangle.
using Sample = std::function<int(int x, int y)>;

int PlainColumn(int i, int sourceSize, int targetSize) {
  if (targetSize == 1) return 0;
  const auto step = static_cast<std::int64_t>(static_cast<double>(sourceSize - 1) /
                                              static_cast<double>(targetSize - 1) * 65536);
  return static_cast<int>(step * i >> 16);
}

int PlainRow(int j, int sourceSize, int targetSize) {
  if (targetSize == 1) return 0;
  const double step = static_cast<double>(sourceSize - 1) / static_cast<double>(targetSize - 1);
  double position = 0;
  for (int k = 0; k < j; ++k) position += step;
  return static_cast<int>(position);
}

/// The smooth formula for one channel; the relative tables of advances and fractions are walked.
struct SmoothAxis {
  SmoothAxis(int sourceSize, int targetSize) {
    const auto step = static_cast<std::int64_t>((static_cast<std::uint64_t>(sourceSize - 1) << 16) /
                                                static_cast<unsigned>(targetSize));
    std::int64_t p = 0, at = 0;
    for (int i = 0; i <= targetSize; ++i) {
      at += p >> 16;
      position.push_back(static_cast<int>(at));
      fraction.push_back(static_cast<int>(p & 0xFFFF));
      p = (p & 0xFFFF) + step;
    }
  }
  std::vector<int> position, fraction;
};

int Smooth(const Sample& sample, const SmoothAxis& across, const SmoothAxis& down, int i, int j,
           int width, int height) {
  const int x0 = across.position[static_cast<std::size_t>(i)], x1 = std::min(x0 + 1, width - 1);
  const int y0 = down.position[static_cast<std::size_t>(j)], y1 = std::min(y0 + 1, height - 1);
  const int fx = across.fraction[static_cast<std::size_t>(i)];
  const int fy = down.fraction[static_cast<std::size_t>(j)];
  const int top = (((sample(x1, y0) - sample(x0, y0)) * fx) >> 16) + sample(x0, y0);
  const int bottom = (((sample(x1, y1) - sample(x0, y1)) * fx) >> 16) + sample(x0, y1);
  return (((bottom - top) * fy) >> 16) + top;
}

/// Compares a scaled triple with the formulas, pixel by pixel.
void ExpectScaled(const Planes& scaled, const Planes& source, const Area& area, int width,
                  int height, bool smooth) {
  ASSERT_EQ(scaled.Width(), width);
  ASSERT_EQ(scaled.Height(), height);
  const SmoothAxis across(area.width, width), down(area.height, height);
  for (int y = 0; y < height; ++y) {
    const int nearY =
        smooth ? down.position[static_cast<std::size_t>(y)] : PlainRow(y, area.height, height);
    for (int x = 0; x < width; ++x) {
      const int nearX =
          smooth ? across.position[static_cast<std::size_t>(x)] : PlainColumn(x, area.width, width);
      const auto expected = [&](const Sample& sample) {
        return smooth ? Smooth(sample, across, down, x, y, area.width, area.height)
                      : sample(nearX, nearY);
      };
      for (int shift = 0; shift < 32; shift += 8) {
        const Sample channel = [&](int sx, int sy) {
          return static_cast<int>(source.bitmap->At(area.x + sx, area.y + sy) >> shift & 255);
        };
        ASSERT_EQ(static_cast<int>(scaled.bitmap->At(x, y) >> shift & 255), expected(channel))
            << x << ", " << y << " of " << area.width << "x" << area.height << " to " << width
            << "x" << height;
      }
      ASSERT_EQ(scaled.alpha->Row(y)[x], expected([&](int sx, int sy) {
                  return source.alpha->Row(area.y + sy)[area.x + sx];
                }));
      ASSERT_EQ(scaled.mask->Test(x, y), source.mask->Test(area.x + nearX, area.y + nearY));
    }
  }
}

TEST(ScalePlanes, EqualsItsFormulasOnAllPlanes) {
  Dice dice(9);
  ScaleTables tables;
  for (int round = 0; round < 300; ++round) {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    const Planes source{dice.Bitmap(width, height), dice.Mask(width, height),
                        dice.Alpha(width, height)};
    const int x = dice.Int(0, width - 1), y = dice.Int(0, height - 1);
    const Area area{x, y, dice.Int(1, width - x), dice.Int(1, height - y)};
    const int targetWidth = dice.Int(1, 70), targetHeight = dice.Int(1, 70);
    const bool smooth = dice.Coin();
    const Planes scaled = *ScalePlanes(tables, source, area, targetWidth, targetHeight, smooth);
    ExpectScaled(scaled, source, area, targetWidth, targetHeight, smooth);

    const auto into = dice.Bitmap(dice.Int(1, 70), dice.Int(1, 70));
    const auto before = test::Clone(*into);
    ASSERT_TRUE(
        ScaleBitmapInto(tables, *source.bitmap, area, *into, targetWidth, targetHeight, smooth));
    for (int row = 0; row < into->height; ++row) {
      for (int column = 0; column < into->width; ++column) {
        const bool drawn = column < targetWidth && row < targetHeight;
        ASSERT_EQ(into->At(column, row), (drawn ? scaled.bitmap : before)->At(column, row));
      }
    }
  }
}

std::vector<int> Row(const qmBitmap& bitmap) {
  std::vector<int> colors;
  for (int x = 0; x < bitmap.width; ++x) colors.push_back(static_cast<int>(bitmap.Color(x, 0)));
  return colors;
}

TEST(ScalePlanes, SmallCasesStandAsCounted) {
  ScaleTables tables;
  Planes pair{*AllocBitmap(2, 2), nullptr, nullptr};
  for (int i = 0; i < 4; ++i) pair.bitmap->At(i & 1, i >> 1) = static_cast<std::uint32_t>(i * 100);
  const Area whole{0, 0, 2, 2};
  EXPECT_EQ(Row(*ScalePlanes(tables, pair, whole, 3, 1, false)->bitmap), (std::vector{0, 0, 100}));
  const Planes four = *ScalePlanes(tables, pair, whole, 4, 4, false);
  EXPECT_EQ(Row(*four.bitmap), (std::vector{0, 0, 0, 0}));
  EXPECT_EQ(four.bitmap->Color(0, 2), 0u);
  EXPECT_EQ(four.bitmap->Color(0, 3), 200u);
  EXPECT_EQ(Row(*ScalePlanes(tables, pair, whole, 2, 2, true)->bitmap), (std::vector{0, 50}));
}

TEST(ScalePlanes, LongRowsDoNotOverflow) {
  ScaleTables tables;
  Planes wide{*AllocBitmap(65536, 1), nullptr, nullptr};
  for (int x = 0; x < 65536; ++x) wide.bitmap->At(x, 0) = static_cast<std::uint32_t>(x);
  const Planes plain = *ScalePlanes(tables, wide, {0, 0, 65536, 1}, 65536, 2, false);
  EXPECT_EQ(plain.bitmap->Color(65535, 1), 65535u);
  EXPECT_EQ(plain.bitmap->Color(40000, 0), 40000u);
  const Planes smooth = *ScalePlanes(tables, wide, {0, 0, 65536, 1}, 2, 1, true);
  EXPECT_EQ(smooth.bitmap->Color(1, 0), 0x7F7Fu) << "half way from 0x7FFF to 0x8000, byte by byte";
}

TEST(ScalePlanes, WorksOnAnyPlaneAloneAndRefusesNonsense) {
  Dice dice(10);
  ScaleTables tables;
  const Planes maskOnly{nullptr, dice.Mask(5, 5), nullptr};
  const Planes scaled = *ScalePlanes(tables, maskOnly, {0, 0, 5, 5}, 9, 3, true);
  EXPECT_EQ(scaled.mask->width, 9);
  EXPECT_FALSE(scaled.bitmap);
  EXPECT_FALSE(ScalePlanes(tables, maskOnly, {0, 0, 5, 5}, 0, 3, true)->mask);
  EXPECT_FALSE(ScalePlanes(tables, maskOnly, {0, 0, 0, 5}, 3, 3, true)->mask);
  EXPECT_FALSE(ScalePlanes(tables, maskOnly, {9, 9, 5, 5}, 3, 3, true)->mask);
  EXPECT_EQ(ScalePlanes(tables, maskOnly, {0, 0, 5, 5}, 70000, 3, true).error(),
            Error::OutOfMemory);
  const auto target = dice.Bitmap(2, 2), source = dice.Bitmap(2, 2);
  EXPECT_TRUE(ScaleBitmapInto(tables, *source, {0, 0, 2, 2}, *target, -1, 5, true));
  EXPECT_EQ(ScaleBitmapInto(tables, *source, {0, 0, 2, 2}, *target, 2147483647, 5, true).error(),
            Error::OutOfMemory);
}

}  // namespace
}  // namespace quillmere
