#include "pixels/placement.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

TEST(Placement, ConstantsStandForPlacesOfTheirDirection) {
  const PlacementSpan screen{0, 640};
  EXPECT_EQ(ResolveX(CENTER, 101, screen), 269);
  EXPECT_EQ(ResolveX(CENTER, 741, screen), -50) << "the half is cut toward zero";
  EXPECT_EQ(ResolveX(LEFT + 7, 100, screen), 7);
  EXPECT_EQ(ResolveX(RIGHT - 7, 100, screen), 533);
  EXPECT_EQ(ResolveX(LEFTOUT, 100, screen), -100);
  EXPECT_EQ(ResolveX(RIGHTOUT + 4999, 100, screen), 5639);
  EXPECT_EQ(ResolveY(TOP, 100, screen), 0);
  EXPECT_EQ(ResolveY(BOTTOM, 100, screen), 540);
  EXPECT_EQ(ResolveY(TOPOUT, 100, screen), -100);
  EXPECT_EQ(ResolveY(BOTTOMOUT, 100, screen), 640);
  EXPECT_EQ(ResolveY(CENTER, 1, screen), 319) << "a point has size 1";
}

TEST(Placement, OtherValuesStay) {
  const PlacementSpan screen{0, 640};
  EXPECT_EQ(ResolveX(TOP, 100, screen), TOP);
  EXPECT_EQ(ResolveY(RIGHTOUT, 100, screen), RIGHTOUT);
  EXPECT_EQ(ResolveX(-15000, 100, screen, 0.5), -15000);
  EXPECT_EQ(ResolveX(LEFT + 5000, 100, screen), LEFT + 5000);
  EXPECT_TRUE(IsPositionConstant(TOPOUT - 4999));
  EXPECT_FALSE(IsPositionConstant(-5));
  EXPECT_FALSE(IsPositionConstant(-105000));
}

TEST(Placement, AreasHaveAnOriginAndObjectsAnAnchor) {
  EXPECT_EQ(ResolveX(RIGHT, 100, {50, 200}), 150);
  EXPECT_EQ(ResolveX(RIGHT, 101, {50, 200}, 0.5), 199);
  EXPECT_EQ(ResolveX(LEFTOUT, 2147483647, {-2147483647, 5}, 0), -2147483647 - 1);
}

}  // namespace
}  // namespace quillmere
