// Pictures of the largest width and height, and sizes and rectangles that a script may ask for
// although no picture can have them.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "pixels/blit.h"
#include "pixels/image_ops.h"
#include "pixels/mask_ops.h"
#include "pixels/plane_convert.h"
#include "pixels/scale.h"
#include "pixels/transform.h"
#include "unit/pixels/plane_tables.h"
#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::Clone;
using test::Dice;
using test::SamePixels;

constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();

struct Size {
  int width, height;
};
/// As long as a picture can be, in both directions.
constexpr Size longSizes[] = {{maxPlaneSize, 2}, {2, maxPlaneSize}, {maxPlaneSize - 1, 1}};

/// A picture whose pixels tell their place: the sum of both coordinates.
BitmapPtr PlacePicture(const Size& size) {
  const BitmapPtr bitmap = *AllocBitmap(size.width, size.height);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) bitmap->At(x, y) = static_cast<std::uint32_t>(x + y);
  }
  return bitmap;
}

class LongPictures : public testing::TestWithParam<Size> {
 protected:
  [[nodiscard]] Area Whole() const { return {0, 0, size.width, size.height}; }
  [[nodiscard]] BlitArea Over() const { return {0, 0, 0, 0, size.width, size.height}; }
  /// The last pixel.
  static std::uint32_t Last(const qmBitmap& bitmap) {
    return bitmap.Color(bitmap.width - 1, bitmap.height - 1);
  }

  const Size size = GetParam();
  const int right = size.width - 1, bottom = size.height - 1;
  const std::uint32_t last = static_cast<std::uint32_t>(right + bottom);
  BitmapPtr picture = PlacePicture(size);
  DebugOutput debug;
  ScaleTables tables;
};

TEST_P(LongPictures, AreDrawnToTheLastPixel) {
  Dice dice(32);
  const BitmapPtr target = *AllocBitmap(size.width, size.height);
  RECTFILL(debug, target.get(), {least + 10, -5, most, 10}, 7);
  RECTFILL(debug, target.get(), {0, 0, most, most}, 5);
  EXPECT_EQ(Last(*target), 5u);
  const auto mask = dice.Mask(size.width, size.height);
  const auto alpha = dice.Alpha(size.width, size.height);
  mask->Set(right, bottom, true);
  alpha->Row(bottom)[right] = 128;
  BLTMASK(debug, *picture, target.get(), {0, 0, 0, 0, most, most}, *mask);
  EXPECT_EQ(Last(*target), last);
  RECTFILL(debug, target.get(), Whole(), 5);
  BLTALPHABITMAP(debug, *picture, target.get(), {0, 0, 0, 0, most, most}, *alpha);
  EXPECT_EQ(Last(*target), test::Blended(5, last, 128));
  BlendPicture(*target, *picture, mask.get(), nullptr, Over(), 255);
  EXPECT_EQ(Last(*target), last);
  TintPicture(*target, {right, bottom, most, most}, 0xFFFFFF, 0);
  BLTBITMAP(debug, *picture, target.get(), {right, bottom, 0, 0, most, most});
  EXPECT_EQ(target->Color(0, 0), last);
}

TEST_P(LongPictures, AreScaledDownAndUpAgain) {
  for (const bool smooth : {false, true}) {
    const Planes small = *ScalePlanes(tables, {picture, nullptr, nullptr}, Whole(), 3, 3, smooth);
    EXPECT_EQ(small.bitmap->Color(0, 0), 0u);
    const Planes large = *ScalePlanes(tables, small, {0, 0, 3, 3}, size.width, size.height, smooth);
    EXPECT_EQ(large.bitmap->Color(0, 0), 0u);
    const Planes same =
        *ScalePlanes(tables, {picture, nullptr, nullptr}, Whole(), size.width, size.height, false);
    EXPECT_TRUE(SamePixels(*same.bitmap, *picture));
  }
  // One corner differs from the others. In the middle it has a quarter, and half on a single row.
  const Planes pair{PlacePicture({2, 2}), nullptr, nullptr};
  pair.bitmap->At(1, 1) = pair.bitmap->At(0, 1) = pair.bitmap->At(1, 0) = 255;
  const Planes ramp = *ScalePlanes(tables, pair, {0, 0, 2, 2}, size.width, size.height, true);
  EXPECT_EQ(ramp.bitmap->Color(size.width / 2, size.height / 2), size.height == 1 ? 127u : 191u);
}

TEST_P(LongPictures, AreTurnedFlippedAndFilled) {
  const Planes planes{picture, nullptr, nullptr};
  const Planes turned = *TransformPlanes(planes, Whole(), BuildMatrix(0, 0, 1, 1, 90, 1, 1), false);
  EXPECT_EQ(turned.Width(), size.height);
  EXPECT_EQ(turned.Height(), size.width);
  EXPECT_EQ(TransformPlanes(planes, Whole(), BuildMatrix(0, 0, 1, 1, 45, 2, 2), true).error(),
            Error::OutOfMemory);
  ASSERT_TRUE(FlipPlanes(planes, true));
  ASSERT_TRUE(FlipPlanes(planes, false));
  EXPECT_EQ(picture->Color(0, 0), last);
  const MaskPtr keyed = *KeyToMask(*picture, 0);
  EXPECT_FALSE(keyed->Test(right, bottom));
  EXPECT_TRUE(keyed->Test(0, 0));
  EXPECT_EQ(VisibleBox(*keyed).width, size.width == 65535 ? 65534 : size.width);
  ASSERT_TRUE(FloodFillPicture(*picture, right, bottom, 0xFFFFFF, 1));
  EXPECT_EQ(picture->Color(0, 0), 1u);
  for (const int angle : {0, 45, 90, 181, 315}) {
    DrawGradient(debug, picture.get(), Whole(), 0, 0xFFFFFF, angle);
  }
  EXPECT_EQ((*PlanesToARGB(planes, 0, false)).size(),
            static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height));
}

INSTANTIATE_TEST_SUITE_P(Sizes, LongPictures, testing::ValuesIn(longSizes));

TEST(PlanesOutOfStep, AreWorkedOnAsFarAsTheyAgree) {
  Dice dice(33);
  ScaleTables tables;
  for (int round = 0; round < 100; ++round) {
    const auto size = [&] { return dice.Int(1, 70); };
    const Planes planes{dice.Bitmap(size(), size()), dice.Mask(size(), size()),
                        dice.Coin() ? dice.Alpha(size(), size()) : nullptr};
    const Area area{dice.Int(-5, 70), dice.Int(-5, 70), dice.Int(-1, 70), dice.Int(-1, 70)};
    const bool smooth = dice.Coin();
    const Area common = Intersect(area, {0, 0, planes.Width(), planes.Height()});
    const Planes scaled = *ScalePlanes(tables, planes, area, size(), size(), smooth);
    EXPECT_EQ(scaled.bitmap != nullptr, !common.Empty());
    const Planes turned = *TransformPlanes(planes, area, {1, 1, -1, 1}, smooth);
    EXPECT_EQ(turned.bitmap != nullptr, !common.Empty());
    ASSERT_TRUE(FlipPlanes(planes, dice.Coin()));
    EXPECT_TRUE(PlanesToARGB(planes, 0, dice.Coin()));
    const auto copy = CopyPlanes(planes, area.x, area.y, area.width, area.height);
    EXPECT_EQ(copy.has_value(), !common.Empty());
  }
}

}  // namespace
}  // namespace quillmere
