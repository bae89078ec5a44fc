#include "pixels/planes.h"

#include <gtest/gtest.h>

#include "pixels/plane_convert.h"
#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::Dice;

TEST(Planes, RowsArePaddedAsTold) {
  EXPECT_EQ(BitmapPixelsPerRow(8), 12);
  EXPECT_EQ(BitmapPixelsPerRow(7), 8);
  EXPECT_EQ(MaskBytesPerRow(16), 2);
  EXPECT_EQ(MaskBytesPerRow(17), 4);
  EXPECT_EQ(AlphaBytesPerRow(5), 8);
  MaskPtr mask = *AllocMask(17, 2, true);
  mask->Set(16, 1, true);
  EXPECT_EQ(mask->Row(1)[2], 128);
  EXPECT_TRUE(mask->Test(16, 1));
  mask->Set(16, 1, false);
  EXPECT_EQ(mask->Row(1)[2], 0);
}

TEST(Planes, SizesOutsideAreRefused) {
  for (const auto& [width, height] : {std::pair{0, 5},
                                      {5, 0},
                                      {-1, 5},
                                      {65537, 1},
                                      {1, 65537},
                                      {65536, 65536},
                                      {2147483647, 2147483647}}) {
    EXPECT_EQ(AllocBitmap(width, height).error(), Error::OutOfMemory);
    if (width == height && width == 65536) continue;
    EXPECT_EQ(AllocMask(width, height, false).error(), Error::OutOfMemory);
    EXPECT_EQ(AllocAlphaMap(width, height, true).error(), Error::OutOfMemory);
  }
  EXPECT_TRUE(AllocBitmap(65536, 1));
  EXPECT_TRUE(AllocMask(1, 65536, true));
}

TEST(Planes, ViewsLeaveTheirMemoryAlone) {
  std::uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  {
    qmAlphaMap view = ViewAlphaMap(bytes, 4, 3, 2);
    EXPECT_EQ(view.Row(1)[0], 5);
    view.Row(1)[2] = 9;
  }
  EXPECT_EQ(bytes[6], 9);
}

TEST(CopyPlanes, CutsOutTheSamePixelsOfAllPlanes) {
  Dice dice(1);
  for (int round = 0; round < 60; ++round) {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    const Planes source{dice.Bitmap(width, height), dice.Mask(width, height),
                        dice.Alpha(width, height)};
    const int x = dice.Int(0, width - 1), y = dice.Int(0, height - 1);
    const Planes copy = *CopyPlanes(source, x, y, dice.Int(1, 80), dice.Int(1, 80));
    ASSERT_LE(x + copy.Width(), width);
    for (int j = 0; j < copy.Height(); ++j) {
      for (int i = 0; i < copy.Width(); ++i) {
        ASSERT_EQ(copy.bitmap->At(i, j), source.bitmap->At(x + i, y + j));
        ASSERT_EQ(copy.mask->Test(i, j), source.mask->Test(x + i, y + j));
        ASSERT_EQ(copy.alpha->Row(j)[i], source.alpha->Row(y + j)[x + i]);
      }
    }
  }
  const Planes alone{dice.Bitmap(4, 4), nullptr, nullptr};
  EXPECT_TRUE(CopyPlanes(alone)->IsOpaque());
  EXPECT_EQ(CopyPlanes(alone, 4, 0, 2, 2).error(), Error::OutOfMemory);
  EXPECT_EQ(CopyPlanes(alone, 0, 0, -3, 2).error(), Error::OutOfMemory);
}

TEST(PlanesToARGB, TakesAlphaFromWhicheverPlaneThereIs) {
  BitmapPtr bitmap = *AllocBitmap(3, 1);
  bitmap->At(0, 0) = 0x77112233;
  bitmap->At(1, 0) = 0x00445566;
  bitmap->At(2, 0) = 0xFF778899;
  MaskPtr mask = *AllocMask(3, 1, true);
  mask->Set(1, 0, true);
  AlphaPtr alpha = *AllocAlphaMap(3, 1, true);
  alpha->Row(0)[1] = 255;
  alpha->Row(0)[2] = 7;
  using Words = std::vector<std::uint32_t>;
  EXPECT_EQ(*PlanesToARGB({bitmap, nullptr, nullptr}, 5, false),
            (Words{0xFF112233, 0xFF445566, 0xFF778899}));
  EXPECT_EQ(*PlanesToARGB({bitmap, mask, nullptr}, 5, true),
            (Words{0x00112233, 0xFF445566, 0x00778899}));
  EXPECT_EQ(*PlanesToARGB({bitmap, mask, nullptr}, 0xAB000005, false),
            (Words{0xAB000005, 0xFF445566, 0xAB000005}));
  EXPECT_EQ(*PlanesToARGB({bitmap, nullptr, alpha}, 0xABCDEF12, false),
            (Words{0x00CDEF12, 0xFF445566, 0x07778899}));
}

TEST(ARGBToBitmap, BuildsTheMaskFromTheColourAlone) {
  const std::uint32_t words[] = {0xFF000001, 0x00000001, 2, 99, 3, 0x80000001, 4};
  const Planes planes = *ARGBToBitmap(words, 1, 3, 2, 4);
  EXPECT_EQ(planes.bitmap->Color(1, 1), 1u);
  EXPECT_FALSE(planes.mask->Test(0, 0));
  EXPECT_FALSE(planes.mask->Test(1, 0));
  EXPECT_TRUE(planes.mask->Test(2, 0));
  EXPECT_FALSE(planes.mask->Test(1, 1));
  EXPECT_EQ(planes.mask->Row(0)[1], 0) << "padding is cleared";
  EXPECT_FALSE(ARGBToBitmap(words, {}, 3, 2, 4)->mask);
  EXPECT_EQ((*ARGBToAlpha(words, 3, 2, 4))->Row(1)[1], 0x80);

  const MaskPtr mask = *KeyToMask(*planes.bitmap, 0xFF000001);
  for (int y = 0; y < 2; ++y) EXPECT_EQ(mask->Row(y)[0], planes.mask->Row(y)[0]);
}

TEST(PlaneConversion, EqualsItsRulesPixelByPixel) {
  Dice dice(27);
  for (int round = 0; round < 150; ++round) {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    Planes planes{dice.Bitmap(width, height), nullptr, nullptr};
    const int kind = dice.Int(0, 2);
    if (kind == 1) planes.mask = dice.Mask(width, height);
    if (kind == 2) planes.alpha = dice.Alpha(width, height);
    const std::uint32_t fill = dice.Pixel(), key = planes.bitmap->At(0, 0) ^ 0xFF000000;
    const bool keepMask = dice.Coin();
    const auto words = *PlanesToARGB(planes, fill, keepMask);
    const MaskPtr keyed = *KeyToMask(*planes.bitmap, key);
    const Planes back = *ARGBToBitmap(words, key, width, height, width);
    const AlphaPtr tops = *ARGBToAlpha(words, width, height, width);
    test::ForPixels({0, 0, width, height}, *planes.bitmap, [&](int x, int y) {
      const std::uint32_t color = planes.bitmap->Color(x, y);
      std::uint32_t want = 0xFF000000 | color;
      if (planes.mask && !planes.mask->Test(x, y)) want = keepMask ? color : fill;
      if (planes.alpha) {
        const std::uint32_t alpha = planes.alpha->Row(y)[x];
        want = alpha << 24 | (alpha == 0 ? fill & 0xFFFFFF : color);
      }
      ASSERT_EQ(words[static_cast<std::size_t>(y * width + x)], want);
      ASSERT_EQ(keyed->Test(x, y), color != (key & 0xFFFFFF));
      ASSERT_EQ(back.bitmap->Color(x, y), want & 0xFFFFFF);
      ASSERT_EQ(back.mask->Test(x, y), ((want ^ key) & 0xFFFFFF) != 0);
      ASSERT_EQ(tops->Row(y)[x], want >> 24);
    });
  }
}

TEST(ARGBToBitmap, RefusesArraysThatAreTooShort) {
  const std::uint32_t words[6] = {};
  EXPECT_TRUE(ARGBToBitmap(words, {}, 2, 2, 4));
  EXPECT_FALSE(ARGBToBitmap(words, {}, 3, 2, 4));
  EXPECT_FALSE(ARGBToBitmap(words, {}, 3, 2, 2));
  EXPECT_FALSE(ARGBToBitmap(words, {}, 65536, 65536, 65536));
  EXPECT_FALSE(ARGBToAlpha(words, 3, 3, 3));
}

}  // namespace
}  // namespace quillmere
