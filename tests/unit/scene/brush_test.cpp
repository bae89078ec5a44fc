// Brushes: making them, drawing with tags, and drawing into them.
#include <gtest/gtest.h>

#include "unit/scene/stage.h"

namespace quillmere {
namespace {

TEST(Brushes, AreMadeWithTheirPlanes) {
  Stage stage;
  EXPECT_EQ(stage.Call("CreateBrush", {1, 0, 10}), 1218);
  EXPECT_EQ(stage.Call("CreateBrush", {1, 5, 5, 0, Fields({{"mask", 1}, {"alphachannel", 1}})}),
            1055);
  ASSERT_EQ(stage.Call("CreateBrush", {1, 5, 5, 0, Fields({{"mask", 1}})}), 0);
  EXPECT_EQ(stage.Brush(1).transparentColor, 0xAFC0DE);
  EXPECT_TRUE(stage.Brush(1).planes.mask->Test(4, 4));
  ASSERT_EQ(stage.Call("CreateBrush", {2, 5, 5, 0, Fields({{"alphachannel", 1}, {"clear", 1}})}),
            0);
  EXPECT_EQ(stage.Brush(2).planes.alpha->Row(4)[4], 0);
  EXPECT_EQ(stage.Brush(2).transparentColor, -1);
  const ObjectId first = stage.Make("CreateBrush", {Arg(), 5, 5});
  const ObjectId second = stage.Make("CreateBrush", {Arg(), 5, 5});
  EXPECT_NE(first.handle, second.handle);
  EXPECT_EQ(stage.Call("CopyBrush", {1, 1}), 1055);
  ASSERT_EQ(stage.Call("CopyBrush", {1, 7}), 0);
  EXPECT_EQ(stage.Brush(7).transparentColor, 0xAFC0DE);
  EXPECT_EQ(stage.Call("FreeBrush", {first}), 0);
  EXPECT_EQ(stage.Call("FreeBrush", {first}), 1041);
  EXPECT_EQ(stage.Call("FreeBrush", {70}), 1174);
  EXPECT_EQ(stage.host.errors.index, 70);
}

TEST(Brushes, LoadPartsAndTransparency) {
  Stage stage;
  const std::string file = TempFileName("part.png");
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, 0x0000FF}), 0);
  stage.Brush(1).planes.bitmap->At(12, 3) = 0x00FF00;
  ASSERT_EQ(stage.Call("SaveBrush", {1, file, Arg(), 1}), 0);
  const auto load = [&](TableArg options) { return stage.Call("LoadBrush", {2, file, options}); };
  EXPECT_EQ(load(Fields({{"x", -1}})), 1154);
  EXPECT_EQ(load(Fields({{"y", 10}})), 1217);
  EXPECT_EQ(load(Fields({{"width", 0}})), 1218);
  EXPECT_EQ(load(Fields({{"height", -1}})), 1218);
  EXPECT_EQ(load(Fields({{"transparency", 1}, {"globalalpha", 9}})), 1223);
  EXPECT_EQ(load(Fields({{"loadalpha", 1}})), 1170);
  EXPECT_EQ(load(Fields({{"cachedload", 1}})), 1246);
  ASSERT_EQ(load(Fields({{"x", 12}, {"y", 3}, {"width", 100}, {"height", 2}, {"cache", 1}})), 0);
  EXPECT_EQ(stage.Brush(2).width, 8);
  EXPECT_EQ(stage.Brush(2).height, 2);
  EXPECT_EQ(stage.Brush(2).planes.bitmap->Color(0, 0), 0x00FF00u);
  ASSERT_EQ(load(Fields({{"globalalpha", 300}, {"cachedload", 1}})), 0);
  EXPECT_EQ(stage.Brush(2).width, 20);
  EXPECT_EQ(stage.Brush(2).planes.alpha->Row(0)[0], 255);
  ASSERT_EQ(stage.Call("LoadBrush", {2, file, 0x0000FF}), 0);
  EXPECT_TRUE(stage.Brush(2).planes.mask->Test(12, 3));
  EXPECT_FALSE(stage.Brush(2).planes.mask->Test(11, 3));
  EXPECT_EQ(stage.Brush(2).transparentColor, 0x0000FF);
}

TEST(DrawTags, AreChecked) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, 0x0000FF}), 0);
  const struct {
    TableArg tags;
    int error;
  } cases[] = {
      {Fields({{"scalex", 0}}), 1055},         {Fields({{"anchorx", 1.01}}), 1055},
      {Fields({{"anchory", -0.1}}), 1055},     {Fields({{"transform", List({0, 0, 0, 1})}}), 1055},
      {Fields({{"insertpos", -1}}), 1370},     {Fields({{"name", std::string(256, 'n')}}), 1373},
      {Fields({{"transparency", "400%"}}), 0},
  };
  for (const auto& item : cases) {
    EXPECT_EQ(stage.Call("DisplayBrush", {1, 0, 0, item.tags}), item.error)
        << "case " << &item - cases;
  }
  EXPECT_EQ(stage.Call("DisplayBrush", {1, 0, 0, "x"}), 1140);
}

TEST(DrawTags, PlaceThePicture) {
  const struct {
    int x;
    int y;
    TableArg tags;
    Area box;
  } cases[] = {
      {-100000, -100000, {}, {150, 95, 20, 10}},
      {-80000 - 5, -60000, {}, {295, 190, 20, 10}},
      {50, 60, Fields({{"anchorx", 0.5}, {"anchory", 1}}), {40, 50, 20, 10}},
      {50, 60, Fields({{"scalex", 2}}), {50, 60, 40, 10}},
      {50, 60, Fields({{"width", 10}, {"height", 30}}), {50, 60, 10, 30}},
      // Around its middle a picture of twice the size reaches as far to all sides.
      {50,
       60,
       Fields({{"scalex", 2}, {"scaley", 2}, {"anchorx", 0.5}, {"anchory", 0.5}}),
       {30, 50, 40, 20}},
      {-100000, -100000, Fields({{"anchorx", 0.5}, {"anchory", 0.5}}), {150, 95, 20, 10}},
      {-3, -4, {}, {0, 0, 17, 6}},
  };
  for (const auto& item : cases) {
    Stage stage;
    ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, 0x0000FF}), 0);
    ASSERT_EQ(stage.Call("DisplayBrush", {1, item.x, item.y, item.tags}), 0);
    int x1 = 320;
    int y1 = 200;
    int x2 = -1;
    int y2 = -1;
    for (int y = 0; y < 200; ++y) {
      for (int x = 0; x < 320; ++x) {
        if (stage.Display().canvas->Color(x, y) == 0) continue;
        x1 = std::min(x1, x);
        y1 = std::min(y1, y);
        x2 = std::max(x2, x);
        y2 = std::max(y2, y);
      }
    }
    EXPECT_EQ((Area{x1, y1, x2 - x1 + 1, y2 - y1 + 1}), item.box) << "case " << &item - cases;
  }
}

TEST(DrawTags, TurnThePicture) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, 0x0000FF}), 0);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 100, 100, Fields({{"rotate", -90}})}), 0);
  const auto count = [&] {
    int pixels = 0;
    for (int y = 0; y < 200; ++y) {
      for (int x = 0; x < 320; ++x) pixels += stage.Display().canvas->Color(x, y) != 0;
    }
    return pixels;
  };
  EXPECT_EQ(count(), 200);
  EXPECT_EQ(stage.Shown(95, 110), 0x0000FFu);
}

TEST(BrushParts, AreCutToTheBrush) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, 0x0000FF}), 0);
  EXPECT_EQ(stage.Call("DisplayBrushPart", {1, 0, -1, 0, 0, 5, 5}), 1154);
  EXPECT_EQ(stage.Call("DisplayBrushPart", {1, 0, 10, 0, 0, 5, 5}), 1217);
  EXPECT_EQ(stage.Call("DisplayBrushPart", {1, 0, 0, 0, 0, 5, 0}), 1218);
  ASSERT_EQ(stage.Call("DisplayBrushPart", {1, 15, 5, 50, 50, 100, 100}), 0);
  EXPECT_EQ(stage.Shown(54, 54), 0x0000FFu);
  EXPECT_EQ(stage.Shown(55, 54), 0u);
  EXPECT_EQ(stage.Shown(54, 55), 0u);
}

TEST(BrushSelection, DrawsIntoTheBrush) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, 0x0000FF}), 0);
  ASSERT_EQ(stage.Call("CreateBrush", {2, 5, 5, 0x00FF00}), 0);
  stage.Display().cursorX = 33;
  ASSERT_EQ(stage.Call("SelectBrush", {1}), 0);
  EXPECT_EQ(stage.Display().cursorX, 0);
  EXPECT_EQ(stage.Display().marginTextRight, 19);
  EXPECT_EQ(stage.Call("FreeBrush", {1}), 1149);
  ASSERT_EQ(stage.Call("DisplayBrush", {2, -80000, -60000}), 0);
  EXPECT_EQ(stage.Brush(1).planes.bitmap->Color(19, 9), 0x00FF00u);
  EXPECT_EQ(stage.Shown(0, 0), 0u);
  // Showing the selected brush ends the selection.
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 0, 0}), 0);
  EXPECT_EQ(stage.Display().outputType, ObjectType::DISPLAY);
  EXPECT_EQ(stage.Display().cursorX, 33);
  EXPECT_EQ(stage.Shown(19, 9), 0x00FF00u);
}

TEST(BrushSelection, MakesMissingPlanesAtTheFirstDraw) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, 0, Fields({{"alphachannel", 1}})}), 0);
  ASSERT_EQ(stage.Call("CreateBrush", {2, 5, 5, 0, Fields({{"mask", 1}})}), 0);
  stage.Brush(2).planes.mask->Set(2, 2, false);
  ASSERT_EQ(stage.Call("SelectMask", {1}), 0);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  EXPECT_TRUE(stage.Brush(1).planes.alpha);
  EXPECT_FALSE(stage.Brush(1).planes.mask);
  ASSERT_EQ(stage.Call("SelectMask", {1}), 0);
  ASSERT_EQ(stage.Call("SetMaskMode", {1}), 0);
  ASSERT_EQ(stage.Call("DisplayBrush", {2, 0, 0}), 0);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  ASSERT_TRUE(stage.Brush(1).planes.mask);
  EXPECT_FALSE(stage.Brush(1).planes.alpha);
  EXPECT_FALSE(stage.Brush(1).planes.mask->Test(0, 0));
  EXPECT_TRUE(stage.Brush(1).planes.mask->Test(2, 2));
  EXPECT_TRUE(stage.Brush(1).planes.mask->Test(19, 9));
  ASSERT_EQ(stage.Call("SelectAlphaChannel", {1}), 0);
  ASSERT_EQ(stage.Call("SetAlphaIntensity", {100}), 0);
  ASSERT_EQ(stage.Call("DisplayBrush", {2, 0, 0}), 0);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  EXPECT_EQ(stage.Brush(1).planes.alpha->Row(0)[0], 100);
  EXPECT_EQ(stage.Brush(1).planes.alpha->Row(2)[2], 255);
  EXPECT_EQ(stage.Call("SelectMask", {1, 4}), 1014);
  EXPECT_EQ(stage.Call("SelectBrush", {1, 2}), 1055);
}

/// An object of another room that has frames.
class FramedObject : public Selectable {
 public:
  Result<SelectedPlanes> Resolve(SelectionTarget& target) override {
    resolved = target;
    return planes;
  }
  Result<SelectedPlanes> Prepare(const SelectionTarget& target) override {
    prepared = target;
    return planes;
  }
  void Finish(const SelectionTarget& target) override { finished = target; }

  SelectedPlanes planes;
  SelectionTarget resolved;
  SelectionTarget prepared;
  SelectionTarget finished;
};

TEST(BrushSelection, FramesOfOtherObjectsAreSelected) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, 0, Fields({{"mask", 1}})}), 0);
  const int layerType = static_cast<int>(ObjectType::LAYER);
  EXPECT_EQ(stage.Call("SelectMask", {7, layerType, 3}), 1078);
  FramedObject layer;
  layer.planes = {stage.Brush(1).planes, 20, 10};
  stage.scene->selectables[ObjectType::LAYER] = &layer;
  stage.Display().layersEnabled = true;
  ASSERT_EQ(stage.Call("SelectMask", {7, layerType, 3}), 0);
  EXPECT_EQ(layer.resolved.frame, 3);
  EXPECT_EQ(layer.resolved.id.number, 7);
  EXPECT_EQ(stage.Display().out.mask, stage.Brush(1).planes.mask);
  ASSERT_TRUE(PrepareOutput(*stage.scene));
  EXPECT_EQ(layer.prepared.frame, 3);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  EXPECT_EQ(layer.finished.frame, 3);
  EXPECT_EQ(layer.finished.kind, ObjectType::MASK);
  stage.Display().layersEnabled = false;
}

TEST(BrushSelection, ComboWritesAllPlanes) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, 0x0000FF, Fields({{"mask", 1}})}), 0);
  ASSERT_EQ(stage.Call("CreateBrush", {2, 5, 5, 0x00FF00, Fields({{"mask", 1}})}), 0);
  stage.Brush(2).planes.mask->Set(2, 2, false);
  ASSERT_EQ(stage.Call("SelectBrush", {1, 1}), 0);
  ASSERT_EQ(stage.Call("DisplayBrush", {2, 0, 0}), 0);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  EXPECT_FALSE(stage.Brush(1).planes.mask->Test(2, 2));
  EXPECT_EQ(stage.Brush(1).planes.bitmap->Color(1, 1), 0x00FF00u);
  EXPECT_EQ(stage.Brush(1).planes.bitmap->Color(2, 2), 0x0000FFu);
}

TEST(Brushes, LeaveLayersACopyWhenTheyChange) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, 0x0000FF}), 0);
  auto layer = std::make_unique<qmLayer>();
  layer->type = ObjectType::BRUSH;
  layer->id = layer->originalId = {1, 0};
  layer->logical = layer->transformed = layer->output = std::make_shared<qmFrame>();
  stage.Display().bgpic->layers.push_back(std::move(layer));
  ASSERT_TRUE(FindBrushToModify(*stage.scene, {1, 0}));
  const qmLayer& shown = *stage.Display().bgpic->layers.front();
  EXPECT_EQ(shown.id.number, 0);
  EXPECT_EQ(shown.originalId.number, 1);
  EXPECT_EQ(stage.scene->brushes.Count(), 2u);
  const auto picture = LayerPlanes(*stage.scene, shown, *shown.output, true, -1);
  ASSERT_TRUE(picture);
  EXPECT_NE(picture->planes.bitmap, stage.Brush(1).planes.bitmap);
  stage.Display().bgpic->layers.clear();
  CollectHiddenObjects(*stage.scene);
  EXPECT_EQ(stage.scene->brushes.Count(), 1u);
}

}  // namespace
}  // namespace quillmere
