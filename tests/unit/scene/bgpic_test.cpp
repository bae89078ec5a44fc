// Background pictures: making, scaling, freeing, showing and selecting them.
#include <gtest/gtest.h>

#include "scene/fill.h"
#include "scene/pending.h"
#include "unit/scene/stage.h"

namespace quillmere {
namespace {

TEST(BGPics, AreRefusedWithWrongSizes) {
  Stage stage;
  EXPECT_EQ(stage.Call("CreateBGPic", {1, 0, 5}), 1055);
  EXPECT_EQ(stage.Call("CreateGradientBGPic", {1, 0, 0xFF0000, 0x0000FF, 0, 100}), 1218);
  EXPECT_EQ(stage.Call("CreateTexturedBGPic", {1, 9}), 1174);
  EXPECT_EQ(stage.Call("CopyBGPic", {1, 1}), 1055);
  EXPECT_EQ(stage.Call("FreeBGPic", {1}), 1177);
  EXPECT_EQ(stage.Call("LoadBGPic", {1, "x.png", Fields({{"transparency", 0}, {"loadalpha", 1}})}),
            1223);
  EXPECT_EQ(stage.Call("LoadBGPic", {1, "/nowhere/x.png"}), 1045);
}

TEST(BGPics, ScaleFromTheirBase) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBGPic", {2, 64, 32}), 0);
  for (int i = 0; i < 64 * 32; ++i) {
    stage.BGPic(2).base.bitmap->At(i % 64, i / 64) = static_cast<std::uint32_t>(i * 7919);
  }
  ASSERT_EQ(stage.Call("CopyBGPic", {2, 3}), 0);
  ASSERT_EQ(stage.Call("ScaleBGPic", {2, 7, 5}), 0);
  ASSERT_EQ(stage.Call("ScaleBGPic", {2, 50, 20}), 0);
  ASSERT_EQ(stage.Call("ScaleBGPic", {3, 50, 20}), 0);
  for (int y = 0; y < 20; ++y) {
    for (int x = 0; x < 50; ++x) {
      ASSERT_EQ(stage.BGPic(2).scaled.bitmap->Color(x, y),
                stage.BGPic(3).scaled.bitmap->Color(x, y));
    }
  }
  ASSERT_EQ(stage.Call("ScaleBGPic", {2, "200%", 100000}), 0);
  EXPECT_EQ(stage.BGPic(2).logicalWidth, 100);
  EXPECT_EQ(stage.BGPic(2).logicalHeight, 40);
  EXPECT_EQ(stage.BGPic(2).baseWidth, 64);
}

TEST(BGPics, RebuildTheirFillAtAnySize) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateGradientBGPic", {2, 1, 0x102030, 0xF0E0D0, 40, 30}), 0);
  ASSERT_EQ(stage.Call("CreateGradientBGPic", {3, 5, 0x102030, 0xF0E0D0, 90, 70, 90}), 0);
  ASSERT_EQ(stage.Call("ScaleBGPic", {2, 90, 70}), 0);
  for (int x = 0; x < 90; ++x) {
    ASSERT_EQ(stage.BGPic(2).scaled.bitmap->Color(x, 9), stage.BGPic(3).scaled.bitmap->Color(x, 9));
  }
  EXPECT_EQ(stage.Call("BGPicToBrush", {2, 1}), 1392);
  EXPECT_EQ(stage.Call("BGPicToBrush", {3, 1}), 0);
  EXPECT_EQ(stage.Call("SelectBGPic", {3, 0}), 1390);
}

TEST(BGPics, LiveOnWhileTheyAreShown) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBGPic", {2, 50, 40, 0xFF0000}), 0);
  ASSERT_EQ(stage.Call("DisplayBGPic", {2}), 0);
  EXPECT_EQ(stage.Call("ScaleBGPic", {2, 10, 10}), 1366);
  const std::size_t before = stage.scene->bgpics.Count();
  ASSERT_EQ(stage.Call("FreeBGPic", {2}), 0);
  EXPECT_EQ(stage.scene->bgpics.Count(), before);
  EXPECT_EQ(stage.Call("FreeBGPic", {2}), 1177);
  EXPECT_EQ(stage.Shown(0, 0), 0xFF0000u);
  ASSERT_EQ(stage.Call("CreateBGPic", {2, 50, 40, 0x00FF00}), 0);
  ASSERT_EQ(stage.Call("DisplayBGPic", {2}), 0);
  EXPECT_EQ(stage.Shown(0, 0), 0x00FF00u);
  EXPECT_EQ(stage.scene->bgpics.Count(), before) << "the hidden picture has gone";
}

TEST(BGPics, ComeBackCleanWhenShownAgain) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBGPic", {2, 50, 40, 0xFF0000}), 0);
  ASSERT_EQ(stage.Call("CreateBrush", {1, 5, 5, 0x00FF00}), 0);
  ASSERT_EQ(stage.Call("DisplayBGPic", {2}), 0);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 0, 0}), 0);
  EXPECT_EQ(stage.Shown(0, 0), 0x00FF00u);
  ASSERT_EQ(stage.Call("DisplayBGPic", {2}), 0);
  EXPECT_EQ(stage.Shown(0, 0), 0xFF0000u);
}

TEST(BGPics, GiveTheDisplayTheirShape) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 50, 40, 0xFFFFFF, Fields({{"mask", 1}, {"clear", 1}})}),
            0);
  stage.Brush(1).planes.mask->Set(10, 10, true);
  ASSERT_EQ(stage.Call("BrushToBGPic", {1, 2}), 0);
  ASSERT_EQ(stage.Call("SetDisplayAttributes", {Fields({{"bgpic", 2}, {"borderless", 1}})}), 0);
  EXPECT_EQ(stage.Display().state, DisplayState::Open);
  EXPECT_EQ(stage.Shown(10, 10), 0xFFFFFFu);
  EXPECT_NE(stage.Shown(11, 10), 0xFFFFFFu) << "outside of the shape the desktop shows";
}

TEST(BGPics, ShowPartsOfThemselves) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBGPic", {2, 50, 40, 0xFF0000}), 0);
  EXPECT_EQ(stage.Call("DisplayBGPicPart", {2, -1, 0, 5, 5}), 1154);
  EXPECT_EQ(stage.Call("DisplayBGPicPart", {2, 50, 0, 5, 5}), 1217);
  EXPECT_EQ(stage.Call("DisplayBGPicPart", {2, 0, 0, 0, 5}), 1218);
  EXPECT_EQ(stage.Call("DisplayBGPicPart", {2, 0, 0, 5, 5, 0, 0, "x"}), 1140);
  ASSERT_EQ(stage.Call("DisplayBGPicPart", {2, 45, 30, 20, 5}), 0);
  EXPECT_EQ(stage.Shown(49, 34), 0xFF0000u);
  EXPECT_EQ(stage.Shown(50, 30), 0u);
  ASSERT_EQ(stage.Call("DisplayBGPicPart", {2, 0, 0, 5, 5, 100, 100, 1}), 0);
  EXPECT_EQ(stage.Shown(104, 104), 0xFF0000u);
}

TEST(BGPicSelection, DrawsIntoTheBase) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBGPic", {2, 20, 10, 0xFF0000}), 0);
  ASSERT_EQ(stage.Call("ScaleBGPic", {2, 40, 20}), 0);
  ASSERT_EQ(stage.Call("CreateBrush", {1, 10, 10, 0x00FF00}), 0);
  ASSERT_EQ(stage.Call("SelectBGPic", {2, 0}), 0);
  EXPECT_EQ(stage.Call("FreeBGPic", {2}), 1378);
  EXPECT_EQ(stage.Call("ScaleBGPic", {2, 5, 5}), 1378);
  stage.BGPic(2).locked = 1;
  EXPECT_EQ(stage.Call("ScaleBGPic", {2, 5, 5}), 1314);
  stage.BGPic(2).locked = 0;
  ASSERT_EQ(stage.Call("DisplayBrush", {1, -90000, 0}), 0);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  EXPECT_EQ(stage.BGPic(2).base.bitmap->Color(9, 9), 0x00FF00u);
  EXPECT_EQ(stage.BGPic(2).scaled.bitmap->Color(5, 19), 0x00FF00u);
  EXPECT_EQ(stage.BGPic(2).scaled.bitmap->Color(39, 19), 0xFF0000u);
  EXPECT_EQ(stage.BGPic(2).logicalWidth, 40);
  ASSERT_EQ(stage.Call("DisplayBGPic", {2}), 0);
  EXPECT_EQ(stage.Call("SelectBGPic", {Arg(), 0}), 1377);
}

TEST(BGPicSelection, NeedsLayersAndTheRightDisplay) {
  Stage stage;
  EXPECT_EQ(stage.Call("SelectBGPic"), 1078);
  EXPECT_EQ(stage.Call("SelectBGPic", {Arg(), 3}), 1055);
  ASSERT_EQ(stage.Call("CreateDisplay", {2}), 0);
  stage.Display().layersEnabled = true;
  EXPECT_EQ(stage.Call("SelectBGPic", {stage.Display(2).bgpic->Id()}), 1367);
  ASSERT_EQ(stage.Call("SelectBGPic"), 0);
  EXPECT_EQ(stage.Display().outputType, ObjectType::BGPIC);
  EXPECT_TRUE(stage.Display().layersEnabled);
  EXPECT_EQ(stage.Call("FreeBGPic", {stage.Display().bgpic->Id()}), 1378);
  AddDirty(*stage.scene, -5, 3, 10, 10);
  ASSERT_EQ(stage.Display().dirtyRects.size(), 1u);
  EXPECT_EQ(stage.Display().dirtyRects[0], (DirtyRect{-5, 3, 4, 12}));
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  EXPECT_TRUE(stage.Display().dirtyRects.empty());
}

TEST(PendingPictures, WaitForTheBrushOfTheirTexture) {
  Stage stage;
  const std::string file = TempFileName("pending.png");
  ASSERT_EQ(stage.Call("CreateBrush", {1, 4, 4, 0xFFFFFF}), 0);
  stage.Brush(1).planes.bitmap->At(0, 0) = 0xFF00FF;
  ASSERT_EQ(stage.Call("SaveBrush", {1, file, Arg(), 1}), 0);
  stage.host.flags.inPreload = true;
  ASSERT_EQ(
      stage.Call(
          "LoadBGPic",
          {2, file, Fields({{"transparency", 0xFF00FF}, {"fillstyle", 3}, {"texturebrush", 9}})}),
      0);
  EXPECT_TRUE(stage.BGPic(2).pending);
  ASSERT_EQ(stage.Call("LoadBrush", {9, file, 0xFFFFFF}), 0);
  EXPECT_TRUE(stage.Brush(9).pending);
  stage.host.flags.inPreload = false;
  ASSERT_TRUE(MakePendingPlanes(*stage.scene));
  EXPECT_FALSE(stage.BGPic(2).pending);
  EXPECT_TRUE(stage.BGPic(2).base.IsOpaque());
  EXPECT_EQ(stage.BGPic(2).shown.bitmap->Color(0, 0), 0xFF00FFu) << "the texture shows through";
  ASSERT_TRUE(stage.Brush(9).planes.mask);
  EXPECT_TRUE(stage.Brush(9).planes.mask->Test(0, 0));
  EXPECT_FALSE(stage.Brush(9).planes.mask->Test(1, 0));
}

TEST(TileBitmap, RepeatsFromAnyOffset) {
  Host host;
  BitmapPtr tile = *AllocBitmap(3, 2);
  for (int i = 0; i < 6; ++i) tile->At(i % 3, i / 3) = static_cast<std::uint32_t>(i + 1);
  for (const int offsetX : {0, 1, 5, -1, -7, 2000000000}) {
    for (const int offsetY : {0, 1, -3}) {
      BitmapPtr target = *AllocBitmap(11, 7);
      for (int y = 0; y < 7; ++y) std::fill_n(target->Row(y), 11, 99u);
      TileBitmap(host.debug, *target, {-2, 1, 9, 20}, *tile, offsetX, offsetY);
      for (int y = 0; y < 7; ++y) {
        for (int x = 0; x < 11; ++x) {
          const bool inside = x < 7 && y >= 1;
          const long column = ((static_cast<long>(offsetX) + x + 2) % 3 + 3) % 3;
          const long row = ((static_cast<long>(offsetY) + y - 1) % 2 + 2) % 2;
          const auto expected = inside ? static_cast<std::uint32_t>(row * 3 + column + 1) : 99u;
          ASSERT_EQ(target->Color(x, y), expected) << offsetX << ' ' << offsetY;
        }
      }
    }
  }
}

}  // namespace
}  // namespace quillmere
