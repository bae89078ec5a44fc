// What the display path asks of the layer stack, and what selecting and showing pictures with
// layers does with theirs. The stack itself is played by the test.
#include <gtest/gtest.h>

#include "unit/scene/stage.h"

namespace quillmere {
namespace {

constexpr std::uint32_t blue = 0x0000FF;

class LayerRequests : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(stage.Call("CreateBrush", {1, 20, 10, blue}), 0);
    stage.Display().layersEnabled = true;
    stage.scene->layerService.add = [this](NewLayer layer) -> Status {
      tags = *layer.tags;
      layer.tags = nullptr;
      asked = layer;
      AddLayerTo(*stage.scene->currentOutput, layer.x, layer.y);
      return {};
    };
  }
  void TearDown() override { stage.Display().layersEnabled = false; }

  /// Puts brush 1 on top of a picture's stack, as the stack does it for a plain layer.
  void AddLayerTo(qmBGPic& bgpic, int x, int y) {
    auto layer = std::make_unique<qmLayer>();
    layer->type = ObjectType::BRUSH;
    layer->id = layer->originalId = {1, 0};
    layer->leftOut = stage.Display().outputType == ObjectType::BGPIC;
    auto frame = std::make_shared<qmFrame>();
    frame->x = frame->boxX = frame->anchoredX = x;
    frame->y = frame->boxY = frame->anchoredY = y;
    frame->width = frame->outWidth = 20;
    frame->height = frame->outHeight = 10;
    layer->logical = layer->transformed = layer->output = frame;
    bgpic.layers.push_back(std::move(layer));
  }

  int Display(TableArg options) { return stage.Call("DisplayBrush", {1, 50, 60, options}); }
  [[nodiscard]] bool LeavesPaintingToTheCaller() const {
    return (asked.flags & addLayerNoRepaint) != 0;
  }

  Stage stage;
  NewLayer asked;
  qmDrawTags tags;
};

TEST_F(LayerRequests, PlainLayerIsPaintedByTheDisplayPath) {
  ASSERT_EQ(Display({}), 0);
  EXPECT_TRUE(LeavesPaintingToTheCaller());
  EXPECT_EQ(asked.position, -1);
  EXPECT_EQ(asked.width, 20);
  EXPECT_EQ(asked.frame->frameCount, 1);
  EXPECT_EQ(stage.Shown(50, 60), blue);
}

TEST_F(LayerRequests, HiddenLayerIsMadeButNotPainted) {
  ASSERT_EQ(Display(Fields({{"hidden", 1}, {"name", "ghost"}})), 0);
  EXPECT_FALSE(LeavesPaintingToTheCaller());
  EXPECT_TRUE(tags.hidden);
  EXPECT_EQ(tags.name, "ghost");
  EXPECT_EQ(stage.Shown(50, 60), 0u);
}

TEST_F(LayerRequests, StackPaintsWhatIsNotPlain) {
  for (const TableArg& options :
       {Fields({{"transparency", "50%"}}), Fields({{"tint", 1}}), Fields({{"scalex", 2}}),
        Fields({{"rotate", 5}}), Fields({{"insertpos", 1}})}) {
    ASSERT_EQ(Display(options), 0);
    EXPECT_FALSE(LeavesPaintingToTheCaller());
    EXPECT_EQ(stage.Shown(50, 60), 0u);
    // Something to insert a layer below.
    AddLayerTo(*stage.Display().bgpic, 200, 100);
  }
  EXPECT_EQ(asked.position, 1);
}

TEST_F(LayerRequests, PlacesBehindTheTopAreTheTop) {
  AddLayerTo(*stage.Display().bgpic, 0, 0);
  ASSERT_EQ(Display(Fields({{"insertpos", 99}})), 0);
  EXPECT_EQ(asked.position, 2);
  EXPECT_TRUE(LeavesPaintingToTheCaller());
}

TEST_F(LayerRequests, LayersOfASelectedPictureAppearWhenTheSelectionEnds) {
  ASSERT_EQ(stage.Call("SelectBGPic"), 0);
  ASSERT_EQ(Display({}), 0);
  EXPECT_EQ(stage.Shown(50, 60), 0u);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  EXPECT_EQ(stage.Shown(50, 60), blue);
  EXPECT_EQ(stage.Shown(69, 69), blue);
  EXPECT_EQ(stage.Shown(70, 69), 0u);
}

TEST_F(LayerRequests, OnlyARealDrawIntoABrushLeavesItsLayersACopy) {
  AddLayerTo(*stage.Display().bgpic, 0, 0);
  ASSERT_EQ(stage.Call("CreateBrush", {2, 5, 5, 0x00FF00}), 0);
  const qmLayer& layer = *stage.Display().bgpic->layers.front();
  ASSERT_EQ(stage.Call("SelectBrush", {1}), 0);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  EXPECT_EQ(layer.id.number, 1);
  ASSERT_EQ(stage.Call("SelectBrush", {1}), 0);
  stage.Brush(1).locked = 1;
  EXPECT_EQ(stage.Call("DisplayBrush", {2, 0, 0}), 1314);
  stage.Brush(1).locked = 0;
  EXPECT_EQ(layer.id.number, 1);
  ASSERT_EQ(stage.Call("DisplayBrush", {2, 0, 0}), 0);
  EXPECT_EQ(layer.id.number, 0);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  EXPECT_EQ(stage.Brush(1).planes.bitmap->Color(0, 0), 0x00FF00u);
  const auto shown = LayerPlanes(*stage.scene, layer, *layer.output, true, -1);
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->planes.bitmap->Color(0, 0), blue);
}

TEST_F(LayerRequests, PictureThatIsShownBringsItsLayersAlong) {
  ASSERT_EQ(stage.Call("CreateBGPic", {2, 100, 80, 0xFF0000}), 0);
  AddLayerTo(stage.BGPic(2), 30, 20);
  ASSERT_EQ(stage.Call("DisplayBGPic", {2}), 0);
  EXPECT_EQ(stage.Shown(0, 0), 0xFF0000u);
  EXPECT_EQ(stage.Shown(30, 20), blue);
  // A part of it is drawn with them on request.
  ASSERT_EQ(stage.Call("CreateBGPic", {3, 100, 80}), 0);
  ASSERT_EQ(stage.Call("DisplayBGPic", {3}), 0);
  stage.Display().layersEnabled = false;
  ASSERT_EQ(stage.Call("DisplayBGPicPart", {2, 0, 0, 40, 40, 0, 0}), 0);
  EXPECT_EQ(stage.Shown(30, 20), 0xFF0000u);
  ASSERT_EQ(stage.Call("DisplayBGPicPart", {2, 0, 0, 40, 40, 0, 0, Fields({{"layers", 1}})}), 0);
  EXPECT_EQ(stage.Shown(30, 20), blue);
}

}  // namespace
}  // namespace quillmere
