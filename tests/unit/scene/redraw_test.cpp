// Composition and the lists of rectangles.
#include <gtest/gtest.h>

#include "pixels/blit.h"
#include "unit/scene/stage.h"

namespace quillmere {
namespace {

/// A layer that shows a brush at a place, as the stack would hold it.
qmLayer& AddBrushLayer(Stage& stage, int brush, int x, int y) {
  auto layer = std::make_unique<qmLayer>();
  layer->type = ObjectType::BRUSH;
  layer->id = layer->originalId = {brush, 0};
  auto frame = std::make_shared<qmFrame>();
  frame->boxX = frame->x = x;
  frame->boxY = frame->y = y;
  frame->outWidth = frame->width = stage.Brush(brush).width;
  frame->outHeight = frame->height = stage.Brush(brush).height;
  layer->logical = layer->transformed = layer->output = frame;
  stage.Display().bgpic->layers.push_back(std::move(layer));
  return *stage.Display().bgpic->layers.back();
}

void Recompose(Stage& stage) {
  AddDirty(*stage.scene, 0, 0, 320, 200);
}

TEST(Redraw, ComplainsAboutWrongCalls) {
  Stage stage;
  qmDisplay& display = stage.Display();
  qmBitmap* target = display.scratch.get();
  REDRAW(*stage.scene, display, *display.bgpic, nullptr, 0, 0, 5, 5, 0);
  REDRAW(*stage.scene, display, *display.bgpic, target, 0, 0, 0, 5, 0);
  REDRAW(*stage.scene, display, *display.bgpic, target, 0, -1, 5, 5, 0);
  EXPECT_EQ(stage.debugText,
            "ERROR! REDRAW CALLED WITHOUT DSTBM\n"
            "ERROR! REDRAW CALLED WITH WIDTH/HEIGHT <= 0\n"
            "ERROR! REDRAW CALLED WITH NEGATIVE X/Y COORDINATES\n");
}

TEST(Redraw, ComposesLayersFromTheBottom) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 20, 0xFF0000}), 0);
  ASSERT_EQ(stage.Call("CreateBrush", {2, 20, 20, 0x00FF00}), 0);
  AddBrushLayer(stage, 1, 10, 10);
  qmLayer& top = AddBrushLayer(stage, 2, 20, 20);
  Recompose(stage);
  EXPECT_EQ(stage.Shown(19, 19), 0xFF0000u);
  EXPECT_EQ(stage.Shown(20, 20), 0x00FF00u);
  EXPECT_EQ(stage.Shown(9, 9), 0u);
  top.hidden = true;
  Recompose(stage);
  EXPECT_EQ(stage.Shown(20, 20), 0xFF0000u);
  top.hidden = false;
  top.leftOut = true;
  Recompose(stage);
  EXPECT_EQ(stage.Shown(20, 20), 0xFF0000u);
  top.leftOut = false;
  // Tint comes first, transparency after it.
  top.tint = 255;
  top.tintColor = 0x0000FF;
  top.transparency = 128;
  Recompose(stage);
  const int tintedGreen = 255 + ((0 - 255) * 255 >> 8);
  const int tintedBlue = 0 + (255 * 255 >> 8);
  const auto over = [](int source, int target) { return source + ((target - source) * 128 >> 8); };
  EXPECT_EQ(stage.Shown(30, 30),
            static_cast<unsigned>(over(tintedGreen, 0) << 8 | over(tintedBlue, 0)));
  EXPECT_EQ(
      stage.Shown(25, 25),
      static_cast<unsigned>(over(0, 255) << 16 | over(tintedGreen, 0) << 8 | over(tintedBlue, 0)));
}

TEST(Redraw, KeepsLayersInTheirRegion) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 20, 0xFF0000}), 0);
  qmLayer& layer = AddBrushLayer(stage, 1, 10, 10);
  auto region = std::make_shared<qmClipRegion>();
  region->x = region->y = 15;
  region->width = region->height = 10;
  region->mask = *AllocMask(10, 10, true);
  region->mask->Set(0, 0, true);
  region->mask->Set(9, 9, true);
  layer.output->ownRegion = region;
  layer.output->clipRegion = region.get();
  for (const int transparency : {0, 128}) {
    layer.transparency = transparency;
    Recompose(stage);
    EXPECT_NE(stage.Shown(15, 15), 0u);
    EXPECT_NE(stage.Shown(24, 24), 0u);
    EXPECT_EQ(stage.Shown(16, 15), 0u);
    EXPECT_EQ(stage.Shown(14, 14), 0u);
    EXPECT_EQ(stage.Shown(25, 25), 0u);
  }
}

TEST(DirtyLists, PaintEachPlaceOnce) {
  Stage stage;
  int paints = 0;
  stage.scene->recorder.collectsFrames = [] { return true; };
  stage.scene->recorder.frameDirty = [&] { ++paints; };
  std::vector<DirtyRect> rects = {{0, 0, 9, 9}, {200, 100, 210, 110}, {5, 5, 20, 20}};
  MergeAndPaint(*stage.scene, rects);
  EXPECT_EQ(paints, 2);
  EXPECT_TRUE(rects.empty());
  AddDirty(*stage.scene, -50, 0, 50, 10);
  EXPECT_EQ(paints, 2);
  AddDirty(*stage.scene, -50, 0, 51, 10);
  EXPECT_EQ(paints, 3);
  AddDirty(*stage.scene, 2147483600, 0, 2147483647, 10);
  EXPECT_EQ(paints, 3);
}

TEST(Redraw, DrawsSpritesLast) {
  Stage stage;
  const Area sprite{50, 50, 10, 10};
  stage.scene->sprites.any = [](const qmBGPic&) { return true; };
  stage.scene->sprites.overlap = [=](const qmBGPic&, const Area& area) {
    return !Intersect(sprite, area).Empty();
  };
  stage.scene->sprites.draw = [&](const qmBGPic&, qmBitmap& target, const Area& area) {
    const Area part = Intersect(sprite, area);
    if (!part.Empty()) RECTFILL(stage.host.debug, &target, part, 0xFFFF00);
  };
  ASSERT_EQ(stage.Call("CreateBrush", {1, 40, 40, 0xFF0000}), 0);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 40, 40}), 0);
  EXPECT_EQ(stage.Shown(55, 55), 0xFFFF00u) << "drawing goes beneath the sprite";
  EXPECT_EQ(stage.Shown(45, 45), 0xFF0000u);
  EXPECT_EQ(stage.Display().canvas->Color(55, 55), 0xFF0000u);
}

TEST(FramePacing, KeepsTheLimit) {
  Stage stage;
  EXPECT_EQ(stage.Number("GetFPSLimit", {}), 60);
  const auto framesInASecond = [&] {
    const auto start = stage.platform->time().GetSysTime();
    int frames = 0;
    while (stage.platform->time().GetSysTime() - start < std::chrono::seconds(1)) {
      EXPECT_EQ(stage.Call("VWait"), 0);
      ++frames;
    }
    return frames;
  };
  EXPECT_NEAR(framesInASecond(), 60, 1);
  ASSERT_EQ(stage.Call("SetFPSLimit", {25}), 0);
  EXPECT_NEAR(framesInASecond(), 25, 1);
  ASSERT_EQ(stage.Call("SetFPSLimit", {100}), 0);
  EXPECT_NEAR(framesInASecond(), 100, 2);
  ASSERT_EQ(stage.Call("SetFPSLimit", {-5}), 0);
  EXPECT_EQ(stage.Number("GetFPSLimit", {}), 60);
  EXPECT_NEAR(framesInASecond(), 60, 1);
}

}  // namespace
}  // namespace quillmere
