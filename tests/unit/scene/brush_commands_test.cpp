// The commands that change brushes and make them of other things.
#include <gtest/gtest.h>

#include "pixels/blit.h"
#include "pixels/mask_ops.h"
#include "pixels/placement.h"
#include "unit/scene/stage.h"

namespace quillmere {
namespace {

constexpr int ok = 0;

int Code(Error error) {
  return static_cast<int>(error);
}

constexpr int typeBrush = static_cast<int>(ObjectType::BRUSH);
constexpr int typeBGPic = static_cast<int>(ObjectType::BGPIC);
constexpr int typeLayer = static_cast<int>(ObjectType::LAYER);
constexpr int typeSprite = static_cast<int>(ObjectType::SPRITE);

class BrushCommands : public testing::Test {
 protected:
  /// Brush 1 of 6 by 4 pixels, each of a colour of its own.
  void SetUp() override {
    ASSERT_EQ(stage.Call("CreateBrush", {1, 6, 4}), ok);
    for (int y = 0; y < 4; ++y) {
      for (int x = 0; x < 6; ++x) Bitmap().At(x, y) = ColorAt(x, y);
    }
  }

  static std::uint32_t ColorAt(int x, int y) {
    return static_cast<std::uint32_t>(x << 20 | y << 4);
  }
  qmBitmap& Bitmap(int brush = 1) { return *stage.Brush(brush).planes.bitmap; }
  qmMask& Mask(int brush = 1) { return *stage.Brush(brush).planes.mask; }

  Stage stage;
};

TEST_F(BrushCommands, GuardRefusesSelectedAndLockedBrushes) {
  const std::vector<std::pair<const char*, std::vector<Arg>>> calls{
      {"ScaleBrush", {1, 9, 9}},
      {"RotateBrush", {1, 30}},
      {"TransformBrush", {1, 1, 0, 0, 2}},
      {"CropBrush", {1, 0, 0, 2, 2}},
      {"TrimBrush", {1}},
      {"DeleteMask", {1}},
      {"DeleteAlphaChannel", {1}},
      {"InvertMask", {1}},
      {"InvertAlphaChannel", {1}},
      {"InvertBrush", {1}},
      {"BrushToGray", {1}},
      {"FlipBrush", {1, 1}},
      {"TintBrush", {1, 0, 5}},
      {"MixBrush", {1, 1, 5}},
      {"ReplaceColors", {1, List({1, 2})}},
      {"FloodFill", {1, 0, 0, 1, 2}},
      {"SetBrushTransparency", {1, 0}},
      {"FreeBrush", {1}}};
  ASSERT_EQ(stage.Call("SelectBrush", {1}), ok);
  for (const auto& [name, arguments] : calls) {
    EXPECT_EQ(stage.Call(name, arguments), Code(Error::ActiveBrush)) << name;
  }
  ASSERT_EQ(stage.Call("EndSelect"), ok);
  stage.Brush(1).locked = 1;
  for (const auto& [name, arguments] : calls) {
    EXPECT_EQ(stage.Call(name, arguments), Code(Error::ObjectLocked)) << name;
  }
  stage.Brush(1).locked = 0;
  for (const auto& [name, arguments] : calls) {
    auto other = arguments;
    other[0] = 77;
    EXPECT_EQ(stage.Call(name, other), Code(Error::BrushNotFound)) << name;
  }
  EXPECT_EQ(Bitmap().Color(5, 3), ColorAt(5, 3));
  EXPECT_EQ(stage.Brush(1).width, 6);
}

// What is wrong with the brush is told before what is wrong with the other arguments.
TEST_F(BrushCommands, GuardComesFirst) {
  const std::vector<std::pair<const char*, std::vector<Arg>>> calls{
      {"ScaleBrush", {1, 0, 0}},       {"RotateBrush", {1, 30, 0}},
      {"CropBrush", {1, -1, 0, 2, 2}}, {"TintBrush", {1, 0, 300}},
      {"MixBrush", {1, 99, 5}},        {"ReplaceColors", {1, List({1})}},
      {"FloodFill", {1, -1, 0, 1, 2}}};
  ASSERT_EQ(stage.Call("SelectBrush", {1}), ok);
  for (const auto& [name, arguments] : calls) {
    EXPECT_EQ(stage.Call(name, arguments), Code(Error::ActiveBrush)) << name;
  }
}

TEST_F(BrushCommands, VectorBrushesAreTransformedButNotEdited) {
  stage.Brush(1).imageType = IMAGETYPE_VECTOR;
  EXPECT_EQ(stage.Call("InvertBrush", {1}), Code(Error::BrushTypeUnsupported));
  EXPECT_EQ(stage.Call("SelectBrush", {1}), Code(Error::BrushTypeUnsupported));
  EXPECT_EQ(stage.Call("DisplayBrushPart", {1, 0, 0, 0, 0, 2, 2}),
            Code(Error::BrushTypeUnsupported));
  ASSERT_EQ(stage.Call("RotateBrush", {1, 90}), ok);
  EXPECT_EQ(stage.Call("BrushToBGPic", {1, 5}), Code(Error::TransformedVectorBrushToBGPic));
  stage.Display().layersEnabled = true;
  EXPECT_EQ(stage.Call("DisplayBrush", {1, 0, 0}), Code(Error::CannotInsertVectorBrush));
}

TEST_F(BrushCommands, ScaleTakesSharesAndProportions) {
  EXPECT_EQ(stage.Call("ScaleBrush", {1, "200%", "50%"}), ok);
  EXPECT_EQ(stage.Brush(1).width, 12);
  EXPECT_EQ(stage.Brush(1).height, 2);
  // Rows end exactly on the last one; the step along a row is cut, so its end falls short.
  EXPECT_EQ(Bitmap().Color(11, 1), ColorAt(4, 3));
  EXPECT_EQ(stage.Call("ScaleBrush", {1, 6, KEEPASPRAT}), ok);
  EXPECT_EQ(stage.Brush(1).height, 1);
  EXPECT_EQ(stage.Call("ScaleBrush", {1, 0, 5}), Code(Error::SizeNotPositive));
  EXPECT_EQ(stage.Call("ScaleBrush", {1, KEEPASPRAT, KEEPASPRAT}), Code(Error::WrongUsage));
  EXPECT_EQ(stage.Call("ScaleBrush", {1, 70000, 5}), Code(Error::OutOfMemory));
  EXPECT_EQ(stage.Brush(1).width, 6);
}

TEST_F(BrushCommands, ScaleKeepsTheKindOfPlanes) {
  ASSERT_EQ(stage.Call("SetBrushTransparency", {1, ColorAt(0, 0)}), ok);
  ASSERT_EQ(stage.Call("ScaleBrush", {1, 12, 8}), ok);
  EXPECT_FALSE(Mask().Test(2, 0));
  EXPECT_TRUE(Mask().Test(3, 0));
  EXPECT_FALSE(stage.Brush(1).planes.alpha);
}

TEST_F(BrushCommands, RotationMakesRoomForCorners) {
  // The angle is cut to whole degrees and taken modulo 360.
  ASSERT_EQ(stage.Call("RotateBrush", {1, 360.9}), ok);
  EXPECT_EQ(stage.Brush(1).width, 6);
  ASSERT_TRUE(stage.Brush(1).planes.mask);
  EXPECT_EQ(Bitmap().Color(2, 1), ColorAt(2, 1));
  ASSERT_EQ(stage.Call("RotateBrush", {1, 90}), ok);
  EXPECT_EQ(stage.Brush(1).width, 4);
  EXPECT_EQ(stage.Brush(1).height, 6);
  EXPECT_EQ(stage.Call("RotateBrush", {1, 10, 0, 1}), Code(Error::WrongUsage));
  EXPECT_EQ(stage.Call("TransformBrush", {1, 0, 1, 1, 1}), Code(Error::WrongUsage));
  EXPECT_EQ(stage.Call("TransformBrush", {1, 1, 1, 1, 0}), Code(Error::WrongUsage));
  EXPECT_EQ(stage.Call("TransformBrush", {1, 2, 0, 0, 3}), ok);
  EXPECT_EQ(stage.Brush(1).width, 8);
  EXPECT_EQ(stage.Brush(1).height, 18);
}

TEST_F(BrushCommands, AlphaBrushesStayAlphaBrushes) {
  ASSERT_EQ(stage.Call("CreateBrush", {2, 8, 8, 0, Fields({{"alphachannel", 1}})}), ok);
  ASSERT_EQ(stage.Call("RotateBrush", {2, 45}), ok);
  EXPECT_TRUE(stage.Brush(2).planes.alpha);
  EXPECT_FALSE(stage.Brush(2).planes.mask);
  EXPECT_EQ(stage.Brush(2).planes.alpha->Row(0)[0], 0);
}

TEST_F(BrushCommands, CropCutsTheRectangle) {
  EXPECT_EQ(stage.Call("CropBrush", {1, -1, 0, 2, 2}),
            Code(Error::NegativeCoordinatesNotAllowedHere));
  EXPECT_EQ(stage.Call("CropBrush", {1, 6, 0, 2, 2}), Code(Error::SpecifiedCoordinatesOutRange));
  EXPECT_EQ(stage.Call("CropBrush", {1, 0, 4, 2, 2}), Code(Error::SpecifiedCoordinatesOutRange));
  EXPECT_EQ(stage.Call("CropBrush", {1, 0, 0, 0, 2}), Code(Error::SizeNotPositive));
  EXPECT_EQ(stage.Call("CropBrush", {1, 4, 1, 100, 2}), ok);
  EXPECT_EQ(stage.Brush(1).width, 2);
  EXPECT_EQ(stage.Brush(1).height, 2);
  EXPECT_EQ(Bitmap().Color(1, 1), ColorAt(5, 2));
}

TEST_F(BrushCommands, TrimFindsWhatIsVisible) {
  EXPECT_EQ(stage.Number("TrimBrush", {1}, 1), 0);
  EXPECT_EQ(stage.Brush(1).width, 6);
  ASSERT_EQ(stage.Call("SetBrushTransparency", {1, 0x0F0F0F}), ok);
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 6; ++x) Mask().Set(x, y, (x == 2 && y == 1) || (x == 4 && y == 2));
  }
  EXPECT_EQ(stage.Number("TrimBrush", {1}, 1), 2);
  EXPECT_EQ(stage.Brush(1).width, 3);
  EXPECT_EQ(stage.Brush(1).height, 2);
  EXPECT_EQ(Bitmap().Color(0, 0), ColorAt(2, 1));
  EXPECT_TRUE(Mask().Test(2, 1));

  const Arg clearAlpha = Fields({{"alphachannel", 1}, {"clear", 1}});
  ASSERT_EQ(stage.Call("CreateBrush", {2, 8, 8, 0, clearAlpha}), ok);
  EXPECT_EQ(stage.Call("TrimBrush", {2}), Code(Error::BrushFullyTransparent));
  EXPECT_EQ(stage.Brush(2).width, 8);
  stage.Brush(2).planes.alpha->Row(5)[3] = 1;
  EXPECT_EQ(stage.Number("TrimBrush", {2}, 2), 5);
  EXPECT_EQ(stage.Brush(2).width, 1);
}

TEST_F(BrushCommands, MaskAndAlphaAreDeletedAndInverted) {
  EXPECT_EQ(stage.Call("InvertMask", {1}), Code(Error::WrongUsage));
  EXPECT_EQ(stage.Call("InvertAlphaChannel", {1}), Code(Error::WrongUsage));
  ASSERT_EQ(stage.Call("SetBrushTransparency", {1, ColorAt(0, 0)}), ok);
  EXPECT_EQ(stage.Brush(1).transparentColor, static_cast<std::int32_t>(ColorAt(0, 0)));
  ASSERT_EQ(stage.Call("InvertMask", {1}), ok);
  EXPECT_TRUE(Mask().Test(0, 0));
  EXPECT_FALSE(Mask().Test(1, 0));
  ASSERT_EQ(stage.Call("DeleteMask", {1}), ok);
  EXPECT_FALSE(stage.Brush(1).planes.mask);
  EXPECT_EQ(stage.Brush(1).transparentColor, -1);

  ASSERT_EQ(stage.Call("CreateBrush", {2, 4, 4, 0, Fields({{"alphachannel", 1}})}), ok);
  ASSERT_EQ(stage.Call("InvertAlphaChannel", {2}), ok);
  EXPECT_EQ(stage.Brush(2).planes.alpha->Row(3)[3], 0);
  ASSERT_EQ(stage.Call("SetBrushTransparency", {2, 0xFFFFFFFFu}), ok);
  EXPECT_TRUE(stage.Brush(2).planes.alpha);
  ASSERT_EQ(stage.Call("SetBrushTransparency", {2, 0}), ok);
  EXPECT_FALSE(stage.Brush(2).planes.alpha);
  EXPECT_FALSE(Mask(2).Test(0, 0));
  ASSERT_EQ(stage.Call("DeleteAlphaChannel", {2}), ok);
}

TEST_F(BrushCommands, ColoursChange) {
  ASSERT_EQ(stage.Call("InvertBrush", {1}), ok);
  EXPECT_EQ(Bitmap().Color(5, 3), 0xFFFFFFu ^ ColorAt(5, 3));
  ASSERT_EQ(stage.Call("BrushToGray", {1}), ok);
  const std::uint32_t gray = Bitmap().Color(5, 3);
  EXPECT_EQ(gray % 0x010101, 0u);
  ASSERT_EQ(stage.Call("TintBrush", {1, 0xFF0000, "100%"}), ok);
  EXPECT_GT(Bitmap().Color(5, 3) >> 16, gray & 255);
  EXPECT_EQ(stage.Call("TintBrush", {1, 0, 256}), Code(Error::WrongUsage));
  EXPECT_EQ(stage.Call("TintBrush", {1, 0, -1}), Code(Error::WrongUsage));
}

TEST_F(BrushCommands, FlipsBothWays) {
  ASSERT_EQ(stage.Call("FlipBrush", {1, 1}), ok);
  EXPECT_EQ(Bitmap().Color(0, 1), ColorAt(5, 1));
  ASSERT_EQ(stage.Call("FlipBrush", {1, 0}), ok);
  EXPECT_EQ(Bitmap().Color(0, 0), ColorAt(5, 3));
}

TEST_F(BrushCommands, MixingHasExactEndsAndCutsToTheSmallerBrush) {
  ASSERT_EQ(stage.Call("CreateBrush", {2, 3, 9, 0xFFFFFF}), ok);
  ASSERT_EQ(stage.Call("MixBrush", {1, 2, -5}), ok);
  EXPECT_EQ(Bitmap().Color(2, 3), ColorAt(2, 3));
  ASSERT_EQ(stage.Call("MixBrush", {1, 2, 128}), ok);
  EXPECT_EQ(Bitmap().Color(2, 3), BlendPixel(ColorAt(2, 3), 0xFFFFFF, 128) & 0xFFFFFF);
  EXPECT_EQ(Bitmap().Color(3, 3), ColorAt(3, 3));
  ASSERT_EQ(stage.Call("MixBrush", {1, 2, 999}), ok);
  EXPECT_EQ(Bitmap().Color(2, 3), 0xFFFFFFu);
  EXPECT_EQ(stage.Call("MixBrush", {1, 9, 5}), Code(Error::BrushNotFound));
}

TEST_F(BrushCommands, ReplacedColoursAreReplacedAgain) {
  Bitmap().At(0, 0) = 0x000001;
  Bitmap().At(1, 0) = 0xEE000002;
  EXPECT_EQ(stage.Call("ReplaceColors", {1, List({1, 2, 3})}), Code(Error::WrongUsage));
  EXPECT_EQ(Bitmap().Color(0, 0), 1u);
  ASSERT_EQ(stage.Call("ReplaceColors", {1, List({1, 2, 2, 7})}), ok);
  EXPECT_EQ(Bitmap().Color(0, 0), 7u);
  EXPECT_EQ(Bitmap().Color(1, 0), 7u);
  EXPECT_EQ(stage.Call("ReplaceColors", {1, 5}), Code(Error::TableExpected));
}

TEST_F(BrushCommands, FloodStaysInsideTheBorder) {
  ASSERT_EQ(stage.Call("CreateBrush", {2, 5, 5, 0}), ok);
  for (int i = 0; i < 5; ++i) Bitmap(2).At(2, i) = 0xFF0000;
  ASSERT_EQ(stage.Call("FloodFill", {2, LEFT, BOTTOM, 0xFF0000, 0x00FF00}), ok);
  EXPECT_EQ(Bitmap(2).Color(0, 0), 0x00FF00u);
  EXPECT_EQ(Bitmap(2).Color(1, 4), 0x00FF00u);
  EXPECT_EQ(Bitmap(2).Color(2, 2), 0xFF0000u);
  EXPECT_EQ(Bitmap(2).Color(3, 2), 0u);
  ASSERT_EQ(stage.Call("FloodFill", {2, RIGHT, CENTER, 0xFF0000, 0x0000FF}), ok);
  EXPECT_EQ(Bitmap(2).Color(3, 0), 0x0000FFu);
  EXPECT_EQ(stage.Call("FloodFill", {2, -1, 0, 0, 0}),
            Code(Error::NegativeCoordinatesNotAllowedHere));
  EXPECT_EQ(stage.Call("FloodFill", {2, 5, 0, 0, 0}), Code(Error::SpecifiedCoordinatesOutRange));
}

TEST_F(BrushCommands, BrushesAreMadeOfOtherThings) {
  ASSERT_EQ(stage.Call("CreateBGPic", {5, 30, 20, 0x123456}), ok);
  ASSERT_EQ(stage.Call("ConvertToBrush", {typeBGPic, 5, 2}), ok);
  EXPECT_EQ(stage.Brush(2).width, 30);
  EXPECT_EQ(Bitmap(2).Color(29, 19), 0x123456u);
  EXPECT_EQ(stage.Brush(2).transparentColor, -1);

  ASSERT_EQ(stage.Call("SetBrushTransparency", {1, 0}), ok);
  const ObjectId made = stage.Make("GetBrushLink", {Arg(), typeBrush, 1});
  EXPECT_NE(made.handle, 0u);
  ASSERT_EQ(stage.Call("CopyBrush", {made, 3}), ok);
  EXPECT_FALSE(Mask(3).Test(0, 0));
  EXPECT_EQ(stage.Brush(3).transparentColor, 0);
  // The copy is independent, and an existing number is replaced.
  ASSERT_EQ(stage.Call("GetBrushLink", {3, typeBrush, 2}), ok);
  ASSERT_EQ(stage.Call("InvertBrush", {2}), ok);
  EXPECT_EQ(Bitmap(3).Color(0, 0), 0x123456u);

  EXPECT_EQ(stage.Call("ConvertToBrush", {typeBrush, 1, 1}), Code(Error::WrongUsage));
  EXPECT_EQ(stage.Call("ConvertToBrush", {typeBrush, 99, 1}), Code(Error::BrushNotFound));
  EXPECT_EQ(stage.Call("ConvertToBrush", {4711, 1, 2}), Code(Error::WrongUsage));
  EXPECT_EQ(stage.Call("ConvertToBrush", {typeLayer, 1, 2}), Code(Error::LayersRequired));
  EXPECT_EQ(stage.Brush(1).width, 6);
}

TEST_F(BrushCommands, FramesOfOtherObjectsCountFromOne) {
  stage.scene->pictureSources[ObjectType::SPRITE] = [&](const ObjectId& id, std::int32_t frame,
                                                        bool) -> Result<SourcePicture> {
    if (id.number != 8) return Fail(Error::SpriteNotFound);
    if (frame > 1) return Fail(Error::SpecifiedAnimationFrameOutRange);
    return SourcePicture{.planes = stage.Brush(1).planes, .transparentColor = 40 + frame};
  };
  ASSERT_EQ(stage.Call("ConvertToBrush", {typeSprite, 8, 2}), ok);
  EXPECT_EQ(stage.Brush(2).transparentColor, 40);
  ASSERT_EQ(stage.Call("ConvertToBrush", {typeSprite, 8, 2, 2}), ok);
  EXPECT_EQ(stage.Brush(2).transparentColor, 41);
  for (const int frame : {0, -1, 3}) {
    EXPECT_EQ(stage.Call("GetBrushLink", {2, typeSprite, 8, frame}),
              Code(Error::SpecifiedAnimationFrameOutRange));
  }
  EXPECT_EQ(stage.Call("GetBrushLink", {2, typeSprite, 9}), Code(Error::SpriteNotFound));
}

TEST_F(BrushCommands, DesktopIsGrabbed) {
  ASSERT_EQ(stage.Call("GrabDesktop", {2}), ok);
  EXPECT_EQ(stage.Brush(2).width, 800);
  EXPECT_EQ(stage.Brush(2).height, 600);
  ASSERT_EQ(stage.Call("CreateBrush", {3, 320, 200, 0x00FFFF}), ok);
  ASSERT_EQ(stage.Call("DisplayBrush", {3, 0, 0}), ok);
  const qmDisplay& display = stage.Display();
  const Arg part = Fields(
      {{"x", display.windowX + 100}, {"y", display.windowY + 100}, {"width", 2000}, {"height", 1}});
  ASSERT_EQ(stage.Call("GrabDesktop", {2, part}), ok);
  EXPECT_EQ(stage.Brush(2).width, 800 - display.windowX - 100);
  EXPECT_EQ(Bitmap(2).Color(0, 0), 0x00FFFFu);
  EXPECT_EQ(stage.Call("GrabDesktop", {2, Fields({{"x", -1}})}), Code(Error::WrongUsage));
  EXPECT_EQ(stage.Call("GrabDesktop", {2, Fields({{"width", 0}})}), Code(Error::WrongUsage));
  EXPECT_EQ(stage.Call("GrabDesktop", {2, Fields({{"y", 600}})}), Code(Error::WrongUsage));
}

TEST_F(BrushCommands, CreateAndCopyCheckTheirArguments) {
  EXPECT_EQ(stage.Call("CreateBrush", {2, 0, 10}), Code(Error::SizeNotPositive));
  EXPECT_EQ(stage.Call("CreateBrush", {2, 5, 5, 0, Fields({{"mask", 1}, {"alphachannel", 1}})}),
            Code(Error::WrongUsage));
  ASSERT_EQ(stage.Call("CreateBrush", {2, 5, 5, 0, Fields({{"mask", 1}})}), ok);
  EXPECT_EQ(stage.Brush(2).transparentColor, 0xAFC0DE);
  EXPECT_TRUE(Mask(2).Test(4, 4));
  ASSERT_EQ(stage.Call("CreateBrush", {2, 5, 5, 0, Fields({{"mask", 1}, {"clear", 1}})}), ok);
  EXPECT_FALSE(Mask(2).Test(4, 4));
  EXPECT_EQ(stage.Call("CopyBrush", {1, 1}), Code(Error::WrongUsage));
}

TEST_F(BrushCommands, ShowingTheSelectedBrushEndsTheSelection) {
  ASSERT_EQ(stage.Call("SelectBrush", {1}), ok);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 20, 20}), ok);
  EXPECT_FALSE(stage.Display().HasSelection());
  EXPECT_EQ(stage.Shown(25, 23), ColorAt(5, 3));
}

}  // namespace
}  // namespace quillmere
