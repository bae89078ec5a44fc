// The life of displays: several of them, their states, sizes and attributes.
#include <gtest/gtest.h>

#include <limits>

#include "unit/scene/stage.h"

namespace quillmere {
namespace {

constexpr int keepAspect = 100000;

TEST(Displays, AreReplacedAndFreedByTheRules) {
  Stage stage;
  EXPECT_EQ(stage.Call("CreateDisplay", {1}), static_cast<int>(Error::DisplayIsActive));
  EXPECT_EQ(stage.Call("FreeDisplay", {1}), static_cast<int>(Error::DisplayIsActive));
  EXPECT_EQ(stage.Call("FreeDisplay", {2}), static_cast<int>(Error::DisplayNotFound));
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 50}})}), 0);
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 60}})}), 0);
  EXPECT_EQ(stage.Display(2).width, 60);
  EXPECT_EQ(stage.scene->bgpics.Count(), 2u);
  const ObjectId automatic = stage.Make("CreateDisplay", {Arg()});
  EXPECT_EQ(stage.Call("SelectDisplay", {automatic}), 0);
  EXPECT_EQ(stage.Call("FreeDisplay", {automatic}), static_cast<int>(Error::DisplayIsActive));
  ASSERT_EQ(stage.Call("SelectDisplay", {1}), 0);
  EXPECT_EQ(stage.Call("FreeDisplay", {automatic}), 0);
  EXPECT_EQ(stage.Call("FreeDisplay", {automatic}), static_cast<int>(Error::ObjectNotFound));
  EXPECT_EQ(stage.Call("FreeDisplay", {2}), 0);
  EXPECT_EQ(stage.scene->bgpics.Count(), 1u);
}

TEST(Displays, DrawWithoutAWindow) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 5, 5, 0x00FF00}), 0);
  ASSERT_EQ(stage.Call("CloseDisplay", {1}), 0);
  EXPECT_EQ(stage.Call("CloseDisplay", {1}), 1055);
  EXPECT_EQ(stage.Call("ActivateDisplay", {1}), 1055);
  EXPECT_EQ(stage.Call("HideDisplay"), 1055);
  EXPECT_EQ(stage.Call("ShowDisplay"), 1055);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 0, 0}), 0);
  ASSERT_EQ(stage.Call("OpenDisplay", {1}), 0);
  EXPECT_EQ(stage.Shown(4, 4), 0x00FF00u);
}

TEST(Displays, EachHaveTheirOwnScene) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 5, 5, 0x00FF00}), 0);
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 40}, {"height", 40}})}), 0);
  ASSERT_EQ(stage.Call("OpenDisplay", {2, 1}), 0);
  EXPECT_EQ(&stage.Display(), &stage.Display(1));
  ASSERT_EQ(stage.Call("SelectBrush", {1}), 0);
  ASSERT_EQ(stage.Call("SelectDisplay", {2}), 0);
  EXPECT_EQ(stage.Display(1).outputType, ObjectType::DISPLAY);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 0, 0}), 0);
  EXPECT_EQ(stage.Display(2).canvas->Color(0, 0), 0x00FF00u);
  EXPECT_EQ(stage.Display(1).canvas->Color(0, 0), 0u);
}

TEST(Displays, HidingTheLastOneHidesTheBackdrop) {
  StageOptions options;
  options.settings.backfillMode = BackfillKind::Color;
  options.settings.backfillStart = 0x336699;
  Stage stage(options);
  ASSERT_EQ(stage.scene->displays.Count(), 2u);
  qmDisplay& backdrop = *stage.scene->displays.All().begin();
  EXPECT_EQ(backdrop.private1, 1);
  EXPECT_EQ(backdrop.width, 800);
  EXPECT_EQ(Stage::ShownIn(*stage.platform, backdrop, 2, 2), 0x336699u);
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 40}})}), 0);
  ASSERT_EQ(stage.Call("OpenDisplay", {2}), 0);
  ASSERT_EQ(stage.Call("HideDisplay"), 0);
  EXPECT_EQ(backdrop.state, DisplayState::Open);
  ASSERT_EQ(stage.Call("SelectDisplay", {1}), 0);
  ASSERT_EQ(stage.Call("HideDisplay"), 0);
  EXPECT_EQ(backdrop.state, DisplayState::Minimized);
  ASSERT_EQ(stage.Call("ShowDisplay"), 0);
  EXPECT_EQ(backdrop.state, DisplayState::Open);
  EXPECT_EQ(stage.Display(1).state, DisplayState::Open);
}

TEST(Displays, ChangeTheirSize) {
  Stage stage;
  EXPECT_EQ(stage.Call("ChangeDisplaySize", {keepAspect, keepAspect}), 1055);
  EXPECT_EQ(stage.Call("ChangeDisplaySize", {0, 100}), 1218);
  EXPECT_EQ(stage.Call("ChangeDisplaySize", {2000, 100}), 1085);
  EXPECT_EQ(stage.host.errors.argument, "2000x100");
  EXPECT_EQ(stage.Display().width, 320);
  EXPECT_EQ(stage.Display().bgpic->logicalWidth, 320);
  ASSERT_EQ(stage.Call("MoveDisplay", {11, 12}), 0);
  ASSERT_EQ(
      stage.Call("ChangeDisplaySize", {"50%", keepAspect, Fields({{"x", 100000}, {"y", 100000}})}),
      0);
  EXPECT_EQ(stage.Display().width, 160);
  EXPECT_EQ(stage.Display().height, 100);
  EXPECT_EQ(stage.Display().windowX, 11);
  EXPECT_EQ(stage.Display().bgpic->logicalHeight, 100);
  EXPECT_EQ(stage.Display().canvas->width, 160);
  EXPECT_EQ(stage.Display().marginTextRight, 159);
  ASSERT_EQ(stage.Call("ChangeDisplaySize", {301, 201}), 0);
  EXPECT_EQ(stage.Display().windowX, (800 - 309) / 2);
  // 301 / 201 of 51 rows is 76.37, of 33 columns 22.04.
  ASSERT_EQ(stage.Call("ChangeDisplaySize", {keepAspect, 51}), 0);
  EXPECT_EQ(stage.Display().width, 76);
}

TEST(Displays, SurviveWindowsThatNoScreenReaches) {
  constexpr int far = std::numeric_limits<int>::max();
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"scalemode", 1}})}), 0);
  ASSERT_EQ(stage.Call("SelectDisplay", {2}), 0);
  ASSERT_EQ(stage.Call("ChangeDisplaySize", {5, far}), 0);
  EXPECT_EQ(stage.Call("OpenDisplay", {2}), 1085);
  ASSERT_EQ(stage.Call("SelectDisplay", {1}), 0);
  ASSERT_EQ(stage.Call("MoveDisplay", {far, -far}), 0);
  EXPECT_EQ(stage.Display(1).window->Geometry().y, -windowReach);
  const int frameTop = stage.Display(1).border.top;
  ASSERT_EQ(stage.Call("SetDisplayAttributes", {Fields({{"borderless", 1}})}), 0);
  EXPECT_EQ(stage.Display(1).window->Geometry().y, -windowReach + frameTop);
}

TEST(Displays, FollowTheUsersSize) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 100},
                                                    {"height", 100},
                                                    {"color", 0xFF0000},
                                                    {"scalemode", 1},
                                                    {"keepproportions", 1}})}),
            0);
  ASSERT_EQ(stage.Call("OpenDisplay", {2}), 0);
  qmDisplay& display = stage.Display(2);
  ASSERT_TRUE(ResizeDisplay(*stage.scene, display, {.width = 300, .height = 200}));
  EXPECT_EQ(display.scaleWidth, 200);
  EXPECT_EQ(display.marginLeft, 50);
  EXPECT_EQ(display.scaleFactorX, 2.0);
  EXPECT_EQ(display.bgpic->logicalWidth, 100);
  EXPECT_EQ(stage.Shown(49, 0), 0u);
  EXPECT_EQ(stage.Shown(50, 0), 0xFF0000u);
  ASSERT_EQ(stage.Call("CreateBrush", {1, 2, 2, 0x0000FF}), 0);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 98, 98}), 0);
  EXPECT_EQ(stage.Shown(249, 199), 0x0000FFu);
  EXPECT_EQ(display.scratch->Color(99, 99), 0x0000FFu);
}

TEST(Displays, AttributesSwitchTheEngine) {
  Stage stage;
  ASSERT_EQ(stage.Call("SetDisplayAttributes",
                       {Fields({{"scalemode", 1}, {"scalewidth", 400}, {"scaleheight", 300}})}),
            0);
  EXPECT_EQ(stage.Display().width, 400);
  EXPECT_EQ(stage.Display().scaleFactorX, 1.25);
  ASSERT_EQ(stage.Call("SetDisplayAttributes", {Fields({{"title", "New"}})}), 0);
  EXPECT_EQ(stage.Display().scaleWidth, 400);
  EXPECT_EQ(stage.Display().title, "New");
  ASSERT_EQ(stage.Call("SetDisplayAttributes", {Fields({{"scalemode", 0}})}), 0);
  EXPECT_EQ(stage.Display().width, 320);
  EXPECT_EQ(stage.Display().scaleWidth, 0);
  EXPECT_EQ(stage.Display().scaleFactorX, 1.0);
  ASSERT_EQ(stage.Call("SetDisplayAttributes", {Fields({{"scalemode", 2}})}), 0);
  EXPECT_TRUE(stage.Display().layersEnabled);
  EXPECT_EQ(stage.Display().scaleWidth, 320);
  // The size that the script sees changes, the window stays.
  ASSERT_EQ(stage.Call("ChangeDisplaySize", {160, 100}), 0);
  EXPECT_EQ(stage.Display().width, 320);
  EXPECT_EQ(stage.Display().bgpic->logicalWidth, 160);
  EXPECT_EQ(stage.Display().bgpic->outputWidth, 320);
  EXPECT_EQ(stage.Display().scaleFactorY, 2.0);
  EXPECT_EQ(stage.Display().canvas->width, 320);
}

TEST(Displays, KeepTheInnerPictureWhenTheBorderGoes) {
  Stage stage;
  ASSERT_EQ(stage.Call("MoveDisplay", {100, 100}), 0);
  ASSERT_EQ(stage.Call("SetDisplayAttributes", {Fields({{"borderless", 1}})}), 0);
  EXPECT_EQ(stage.Display().windowX, 104);
  EXPECT_EQ(stage.Display().windowY, 124);
  EXPECT_EQ(stage.Display().state, DisplayState::Open);
  ASSERT_EQ(stage.Call("SetDisplayAttributes", {Fields({{"borderless", 0}})}), 0);
  EXPECT_EQ(stage.Display().windowX, 100);
  EXPECT_EQ(stage.Display().windowY, 100);
}

TEST(Displays, SwitchToAFullScreenAndBack) {
  Stage stage;
  EXPECT_EQ(stage.Call("ChangeDisplayMode", {2}), 1055);
  EXPECT_EQ(stage.Call("ChangeDisplayMode", {2, 0, 100}), 1055);
  EXPECT_EQ(stage.Call("ChangeDisplayMode", {1, 640, 480}), 1055);
  EXPECT_EQ(stage.Call("ChangeDisplayMode", {3, 640, 480}), 1055);
  ASSERT_EQ(stage.Call("CreateBrush", {1, 5, 5, 0x00FF00}), 0);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 0, 0}), 0);
  ASSERT_EQ(stage.Call("ChangeDisplayMode", {2, 800, 600}), 0);
  EXPECT_TRUE(stage.scene->fullScreen);
  EXPECT_EQ(stage.Display().state, DisplayState::Open);
  EXPECT_TRUE(stage.Display().Has(displayBorderless));
  EXPECT_EQ(stage.Display().windowX, 240);
  EXPECT_EQ(stage.Shown(4, 4), 0x00FF00u);
  EXPECT_EQ(stage.scene->displays.Count(), 2u) << "a black backdrop stands behind the display";
  ASSERT_EQ(stage.Call("ChangeDisplayMode", {1}), 0);
  EXPECT_FALSE(stage.scene->fullScreen);
  EXPECT_FALSE(stage.Display().Has(displayBorderless));
  EXPECT_EQ(stage.scene->displays.Count(), 1u);
  EXPECT_EQ(stage.scene->bgpics.Count(), 1u);
}

TEST(Displays, GoBackWhenTheScreenIsTooSmallForThem) {
  Stage stage;
  ASSERT_EQ(stage.Call("MoveDisplay", {30, 40}), 0);
  EXPECT_EQ(stage.Call("ChangeDisplayMode", {2, 100, 100}), 1085);
  EXPECT_FALSE(stage.scene->fullScreen);
  EXPECT_EQ(stage.Display().state, DisplayState::Open);
  EXPECT_EQ(stage.Display().windowX, 30);
  EXPECT_FALSE(stage.Display().Has(displayBorderless));
  EXPECT_EQ(stage.scene->displays.Count(), 1u);
}

TEST(Displays, GiveUpATooLargeScreenAndStayAsTheyAre) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 799}, {"height", 500}})}), 0);
  EXPECT_EQ(stage.Call("OpenDisplay", {2}), 1085);
  EXPECT_EQ(stage.Display(2).state, DisplayState::Closed);
  EXPECT_EQ(&stage.Display(), &stage.Display(1));
}

TEST(DoubleBuffer, ShowsWhatIsFlipped) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 320, 200, 0x00FF00}), 0);
  EXPECT_EQ(stage.Call("Flip"), 1244);
  EXPECT_EQ(stage.Call("EndDoubleBuffer"), 1244);
  ASSERT_EQ(stage.Call("BeginDoubleBuffer"), 0);
  EXPECT_EQ(stage.Call("BeginDoubleBuffer"), 1229);
  EXPECT_EQ(stage.Call("EndSelect"), 1055);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 10, 10}), 0);
  EXPECT_EQ(stage.Shown(10, 10), 0u);
  ASSERT_EQ(stage.Call("Flip"), 0);
  EXPECT_EQ(stage.Shown(10, 10), 0x00FF00u);
  // A selection interrupts it, the end of the selection goes back.
  ASSERT_EQ(stage.Call("CreateBrush", {2, 10, 10}), 0);
  ASSERT_EQ(stage.Call("SelectBrush", {2}), 0);
  EXPECT_FALSE(stage.Display().doubleBuffered);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  EXPECT_TRUE(stage.Display().doubleBuffered);
  EXPECT_EQ(stage.Display().canvas->Color(10, 10), 0u);
  ASSERT_EQ(stage.Call("EndDoubleBuffer"), 0);
  EXPECT_EQ(stage.Display().canvas->Color(10, 10), 0x00FF00u);
  EXPECT_EQ(stage.scene->currentOutput, stage.Display().bgpic);
}

TEST(DoubleBuffer, IsRefusedWhileSomethingElseIsInTheWay) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 5, 5}), 0);
  ASSERT_EQ(stage.Call("SelectBrush", {1}), 0);
  EXPECT_EQ(stage.Call("BeginDoubleBuffer"), 1082);
  ASSERT_EQ(stage.Call("SelectMask", {1}), 0);
  EXPECT_EQ(stage.Call("BeginDoubleBuffer"), 1147);
  ASSERT_EQ(stage.Call("SelectAlphaChannel", {1}), 0);
  EXPECT_EQ(stage.Call("BeginDoubleBuffer"), 1167);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  stage.Display().layersEnabled = true;
  EXPECT_EQ(stage.Call("BeginDoubleBuffer"), 1162);
  ASSERT_EQ(stage.Call("SelectBGPic"), 0);
  EXPECT_EQ(stage.Call("BeginDoubleBuffer"), 1056);
  ASSERT_EQ(stage.Call("EndSelect"), 0);
  stage.Display().layersEnabled = false;
  stage.Display().bgpic->layers.push_back(std::make_unique<qmLayer>());
  EXPECT_EQ(stage.Call("BeginDoubleBuffer"), 1162);
  stage.Display().bgpic->layers.clear();
  ASSERT_EQ(stage.Call("CreateBrush", {2, 5, 5, 0, Fields({{"mask", 1}})}), 0);
  ASSERT_EQ(stage.Call("BrushToBGPic", {2, 2}), 0);
  ASSERT_EQ(stage.Call("DisplayBGPic", {2}), 0);
  EXPECT_EQ(stage.Call("BeginDoubleBuffer"), 1230);
}

TEST(DoubleBuffer, ScalesTheFrontPicture) {
  Stage stage;
  ASSERT_EQ(stage.Call("SetDisplayAttributes", {Fields({{"scalemode", 1},
                                                        {"keepproportions", 1},
                                                        {"scalewidth", 400},
                                                        {"scaleheight", 400}})}),
            0);
  ASSERT_EQ(stage.Call("CreateBrush", {1, 320, 200, 0x00FF00}), 0);
  ASSERT_EQ(stage.Call("BeginDoubleBuffer"), 0);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 0, 0}), 0);
  ASSERT_EQ(stage.Call("Flip"), 0);
  EXPECT_EQ(stage.Display().marginTop, 75);
  EXPECT_EQ(stage.Shown(0, 74), 0u);
  EXPECT_EQ(stage.Shown(0, 75), 0x00FF00u);
  EXPECT_EQ(stage.Shown(399, 324), 0x00FF00u);
  EXPECT_EQ(stage.Shown(399, 325), 0u);
}

}  // namespace
}  // namespace quillmere
