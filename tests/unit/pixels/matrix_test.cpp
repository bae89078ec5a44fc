#include "pixels/matrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::Dice;

TEST(BuildMatrix, TakesTheSizeAsSoonAsItDiffers) {
  EXPECT_EQ(BuildMatrix(0, 50, 100, 100, 0, 7, 7), (Matrix{1, 0, 0, 0.5}));
  EXPECT_EQ(BuildMatrix(100, 0, 100, 60, 0, 2, 3), (Matrix{2, 0, 0, 3}));
  EXPECT_EQ(BuildMatrix(0, 0, 5, 5, 0, 1, 1), Matrix{});
}

TEST(BuildMatrix, TurnsCounterClockwiseAfterScaling) {
  // A quarter turn takes what is right to the top.
  const Matrix quarter = BuildMatrix(0, 0, 10, 10, 90, 2, 3);
  EXPECT_NEAR(quarter.m00, 0, 1e-12);
  EXPECT_NEAR(quarter.m01, -2, 1e-12);
  EXPECT_NEAR(quarter.m10, 3, 1e-12);
  EXPECT_NEAR(quarter.m11, 0, 1e-12);
  for (int angle = -800; angle <= 800; ++angle) {
    if (angle == 0) continue;
    const double a = (360 - angle % 360) * 0.017453292519943295;
    const Matrix want{2.5 * std::cos(a), 2.5 * std::sin(a), 0.75 * std::sin(a),
                      -0.75 * std::cos(a)};
    ASSERT_EQ(BuildMatrix(0, 0, 10, 10, angle, 2.5, -0.75), want) << angle;
  }
}

TEST(AnchoredBox, StandsAroundTheAnchor) {
  const PlacedBox twice = AnchoredBox(100, 200, 11, 21, {2, 0, 0, 3}, 5, 10);
  EXPECT_EQ(twice.x, 95);
  EXPECT_EQ(twice.y, 180);
  EXPECT_EQ(twice.width, 21);
  EXPECT_EQ(twice.height, 61);
  Dice dice(29);
  const auto part = [&] { return dice.Int(-300, 300) / 100.0; };
  for (int round = 0; round < 1000; ++round) {
    const Matrix m{part(), part(), part(), part()};
    const int x = dice.Int(-500, 500), y = dice.Int(-500, 500);
    const int w = dice.Int(1, 300), h = dice.Int(1, 300);
    const double ax = w * dice.Int(0, 4) / 4.0, ay = h * dice.Int(0, 4) / 4.0;
    double left = 1e9, top = 1e9, right = -1e9, bottom = -1e9;
    for (const auto& [cx, cy] : {std::pair{0, 0}, {w - 1, 0}, {w - 1, h - 1}, {0, h - 1}}) {
      const double mx = m.m00 * (cx - ax) + m.m10 * (cy - ay) + ax;
      const double my = m.m01 * (cx - ax) + m.m11 * (cy - ay) + ay;
      left = std::min(left, mx), right = std::max(right, mx);
      top = std::min(top, my), bottom = std::max(bottom, my);
    }
    const PlacedBox box = AnchoredBox(x, y, w, h, m, ax, ay);
    ASSERT_EQ(box.x, static_cast<int>(left + x));
    ASSERT_EQ(box.y, static_cast<int>(top + y));
    ASSERT_EQ(box.width, static_cast<int>(right - left + 1));
    ASSERT_EQ(box.height, static_cast<int>(bottom - top + 1));
  }
}

TEST(TransformVertex, CutsBeforeTheAnchorIsAdded) {
  EXPECT_EQ(TransformVertex({7, 3}, {1.5, 0, 0, -1}, 4, 4), (Vertex{8, 5}));
  EXPECT_EQ(TransformVertex({1, 4}, {1.5, 0, 0, -1}, 4, 4), (Vertex{0, 4}));
  constexpr int most = std::numeric_limits<int>::max();
  EXPECT_EQ(TransformVertex({most, -most}, {3, 0, 0, 3}, -most, most), (Vertex{most, -most - 1}));
}

TEST(TransformedSize, StaysInRange) {
  EXPECT_EQ(TransformedSize({1e300, 0, 0, 1}, 65536, 65536).width, 2147483647);
}

}  // namespace
}  // namespace quillmere
