// What the options of displays do, and what they refuse.
#include <gtest/gtest.h>

#include "unit/scene/stage.h"

namespace quillmere {
namespace {

TEST(DisplayOptions, AreRefusedOutOfRange) {
  Stage stage;
  const struct {
    TableArg options;
    Error error;
  } cases[] = {
      {Fields({{"width", 0}}), Error::WrongUsage},
      {Fields({{"height", -3}}), Error::WrongUsage},
      {Fields({{"fillstyle", 0}}), Error::WrongUsage},
      {Fields({{"fillstyle", 4}}), Error::WrongUsage},
      {Fields({{"title", std::string(256, 'x')}}), Error::WrongUsage},
      {Fields({{"scalemode", 3}}), Error::WrongUsage},
      {Fields({{"scalewidth", 0}}), Error::WrongUsage},
      {Fields({{"bgpic", 99}}), Error::BGPicNotFound},
      {Fields({{"bgpic", stage.Display(1).bgpic->Id()}}), Error::BGPicInUse},
      {Fields({{"fillstyle", 3}, {"texturebrush", 7}}), Error::BrushNotFound},
      {Fields({{"dragregion", List({Fields({{"x", 1}, {"y", 1}, {"width", 5}})})}}),
       Error::NotEnoughArguments},
      {Fields({{"dragregion", List({Fields({{"x", -1}, {"y", 1}, {"width", 5}, {"height", 5}})})}}),
       Error::WrongUsage},
      {Fields({{"sizeregion", List({Fields({{"x", 1}, {"y", 1}, {"width", 5}, {"height", 0}})})}}),
       Error::WrongUsage},
      {Fields({{"sizeregion",
                List({Fields({{"type", 15}, {"x", 1}, {"y", 1}, {"width", 5}, {"height", 5}})})}}),
       Error::WrongUsage},
  };
  const std::size_t pictures = stage.scene->bgpics.Count();
  for (const auto& item : cases) {
    EXPECT_EQ(stage.Call("CreateDisplay", {2, item.options}), static_cast<int>(item.error))
        << "case " << &item - cases;
    EXPECT_EQ(stage.scene->displays.Count(), 1u);
    EXPECT_EQ(stage.scene->bgpics.Count(), pictures);
  }
  EXPECT_EQ(stage.Call("CreateDisplay", {2, Fields({{"title", std::string(255, 'x')}})}), 0);
}

TEST(DisplayOptions, SetTheRecord) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 100},
                                                    {"height", 50},
                                                    {"x", 7},
                                                    {"y", 9},
                                                    {"color", 0x123456},
                                                    {"title", "Second"},
                                                    {"borderless", 1},
                                                    {"noclose", 1},
                                                    {"hidden", 1},
                                                    {"layers", 1},
                                                    {"private2", 5}})}),
            0);
  const qmDisplay& display = stage.Display(2);
  EXPECT_EQ(display.flags, static_cast<unsigned>(displayBorderless | displayNoClose |
                                                 displayHidden | displayLayers));
  EXPECT_TRUE(display.layersEnabled);
  EXPECT_EQ(display.private2, 5);
  EXPECT_EQ(display.state, DisplayState::Closed);
  EXPECT_EQ(display.canvas->Color(99, 49), 0x123456u);
  EXPECT_EQ(display.marginTextRight, 99);
  ASSERT_EQ(stage.Call("OpenDisplay", {2}), 0);
  EXPECT_EQ(&stage.Display(), &display);
  EXPECT_EQ(display.windowX, 7);
  EXPECT_EQ(stage.Shown(99, 49), 0x123456u);
  EXPECT_EQ(stage.Call("OpenDisplay", {2}), 1055);
}

TEST(DisplayOptions, ScaleSizesMayBePercentages) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 640},
                                                    {"height", 333},
                                                    {"scalemode", 1},
                                                    {"scalewidth", -50},
                                                    {"scaleheight", -50}})}),
            0);
  EXPECT_EQ(stage.Display(2).scaleWidth, 320);
  EXPECT_EQ(stage.Display(2).scaleHeight, 166);
  EXPECT_EQ(stage.Display(2).width, 320);
  EXPECT_EQ(stage.Display(2).scaleFactorX, 0.5);
  EXPECT_EQ(stage.Display(2).bgpic->logicalWidth, 640);
  // Without an engine there is nothing to scale.
  ASSERT_EQ(stage.Call("CreateDisplay", {3, Fields({{"width", 64}, {"scalewidth", 20}})}), 0);
  EXPECT_EQ(stage.Display(3).scaleWidth, 0);
  EXPECT_EQ(stage.Display(3).width, 64);
}

TEST(DisplayOptions, FillThePictureOfADisplay) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 10},
                                                    {"height", 20},
                                                    {"fillstyle", 2},
                                                    {"gradientstartcolor", 0xFF0000},
                                                    {"gradientendcolor", 0x0000FF}})}),
            0);
  EXPECT_EQ(stage.Display(2).canvas->Color(0, 0), 0xFF0000u);
  EXPECT_GT(stage.Display(2).canvas->Color(0, 19) & 0xFF, 0xE0u);
  ASSERT_EQ(stage.Call("CreateBrush", {4, 3, 2, 0xABCDEF}), 0);
  stage.Brush(4).planes.bitmap->At(1, 0) = 0x111111;
  ASSERT_EQ(stage.Call("CreateDisplay", {3, Fields({{"width", 10},
                                                    {"height", 20},
                                                    {"fillstyle", 3},
                                                    {"texturebrush", 4},
                                                    {"texturex", -2},
                                                    {"texturey", 5}})}),
            0);
  // Offset -2 is column 1 of 3, offset 5 is row 1 of 2.
  EXPECT_EQ(stage.Display(3).canvas->Color(0, 1), 0x111111u);
  EXPECT_EQ(stage.Display(3).canvas->Color(3, 19), 0x111111u);
  EXPECT_EQ(stage.Display(3).canvas->Color(0, 0), 0xABCDEFu);
}

TEST(DisplayOptions, KeptProportionsLeaveMargins) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 100},
                                                    {"height", 50},
                                                    {"color", 0xFFFFFF},
                                                    {"scalemode", 1},
                                                    {"keepproportions", 1},
                                                    {"scalewidth", 201},
                                                    {"scaleheight", 201}})}),
            0);
  const qmDisplay& display = stage.Display(2);
  EXPECT_EQ(display.width, 201);
  EXPECT_EQ(display.scaleHeight, 100);
  EXPECT_EQ(display.marginTop, 50);
  EXPECT_EQ(display.marginBottom, 51);
  EXPECT_EQ(display.marginLeft, 0);
  ASSERT_EQ(stage.Call("OpenDisplay", {2}), 0);
  EXPECT_EQ(stage.Shown(100, 49), 0u);
  EXPECT_EQ(stage.Shown(100, 50), 0xFFFFFFu);
  EXPECT_EQ(stage.Shown(200, 149), 0xFFFFFFu);
  EXPECT_EQ(stage.Shown(100, 150), 0u);
  const ScriptPoint point = ToScriptPoint(display, 100, 50 + 98);
  EXPECT_EQ(point.x, 49);
  EXPECT_EQ(point.y, 49);
}

TEST(DisplayOptions, FitScaleTakesTheUsableArea) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 100},
                                                    {"height", 100},
                                                    {"scalemode", 1},
                                                    {"fitscale", 1},
                                                    {"keepproportions", 1}})}),
            0);
  const qmDisplay& display = stage.Display(2);
  EXPECT_EQ(display.width, 800 - 8);
  EXPECT_EQ(display.height, 600 - 28);
  EXPECT_EQ(display.scaleWidth, 572);
  EXPECT_EQ(display.marginLeft, 110);
  EXPECT_EQ(stage.Call("OpenDisplay", {2}), 0);
}

TEST(DisplayOptions, RegionsStayInTheWindow) {
  Stage stage;
  const TableArg regions = List({Fields({{"x", 90}, {"y", 10}, {"width", 50}, {"height", 5}}),
                                 Fields({{"x", 500}, {"y", 500}, {"width", 5}, {"height", 5}})});
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 100},
                                                    {"height", 80},
                                                    {"borderless", 1},
                                                    {"sizeable", 1},
                                                    {"dragregion", regions}})}),
            0);
  const qmDisplay& display = stage.Display(2);
  ASSERT_EQ(display.dragRegions.size(), 2u);
  EXPECT_EQ(display.dragRegions[0].width, 10);
  EXPECT_EQ(display.dragRegions[1].x, 99);
  EXPECT_EQ(display.dragRegions[1].height, 1);
  ASSERT_EQ(display.sizeRegions.size(), 1u);
  EXPECT_EQ(display.sizeRegions[0].x, 90);
  EXPECT_EQ(display.sizeRegions[0].y, 70);
  // Twice as large, both ends are scaled and rounded.
  ASSERT_EQ(
      stage.Call(
          "CreateDisplay",
          {3, Fields({{"width", 100},
                      {"height", 80},
                      {"borderless", 1},
                      {"scalemode", 1},
                      {"scalewidth", 200},
                      {"scaleheight", 160},
                      {"dragregion",
                       List({Fields({{"x", 10}, {"y", 10}, {"width", 10}, {"height", 3}})})}})}),
      0);
  EXPECT_EQ(stage.Display(3).dragRegions[0].x, 20);
  EXPECT_EQ(stage.Display(3).dragRegions[0].width, 38 - 20 + 1);
}

}  // namespace
}  // namespace quillmere
