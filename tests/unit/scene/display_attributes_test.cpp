// What a change of attributes does to the window, the picture and the record, and what is left of
// it while a video is recorded.
#include <gtest/gtest.h>

#include "platform/memory_screen.h"
#include "unit/scene/stage.h"

namespace quillmere {
namespace {

int Change(Stage& stage, TableArg options) {
  return stage.Call("SetDisplayAttributes", {std::move(options)});
}

const MemoryWindow& WindowOf(const qmDisplay& display) {
  return dynamic_cast<const MemoryWindow&>(*display.window);
}

/// How often windows were opened, counted from the call on.
std::shared_ptr<int> CountOpenings(Stage& stage) {
  auto count = std::make_shared<int>(0);
  stage.scene->hooks.displayOpened.Join([count](qmDisplay&) { ++*count; });
  return count;
}

TEST(DisplayAttributes, OpenTheWindowAnewOnlyWhereItMustBe) {
  Stage stage;
  const auto openings = CountOpenings(stage);
  ASSERT_EQ(Change(stage, Fields({{"title", "T"},
                                  {"x", 10},
                                  {"width", 100},
                                  {"smoothscale", 1},
                                  {"hidepointer", 1},
                                  {"nomodeswitch", 1},
                                  {"active", 0}})),
            0);
  EXPECT_EQ(*openings, 0);
  EXPECT_EQ(WindowOf(stage.Display()).options.title, "T");
  EXPECT_EQ(WindowOf(stage.Display()).Geometry().x, 10);
  EXPECT_EQ(WindowOf(stage.Display()).Geometry().width, 100);
  int expected = 0;
  for (const char* flag :
       {"borderless", "sizeable", "fixed", "nohide", "usequartz", "noclose", "keepproportions"}) {
    ASSERT_EQ(Change(stage, Fields({{flag, 1}})), 0);
    EXPECT_EQ(*openings, ++expected) << flag;
    ASSERT_EQ(Change(stage, Fields({{flag, 1}})), 0);
    EXPECT_EQ(*openings, expected) << flag << " was set already";
  }
  EXPECT_TRUE(WindowOf(stage.Display()).options.sizeable);
}

TEST(DisplayAttributes, KeepThePositionUnlessTheSizeChanges) {
  Stage stage;
  ASSERT_EQ(stage.Call("MoveDisplay", {30, 40}), 0);
  ASSERT_EQ(Change(stage, Fields({{"title", "T"}})), 0);
  EXPECT_EQ(stage.Display().x, 30);
  ASSERT_EQ(Change(stage, Fields({{"width", 200}})), 0);
  EXPECT_EQ(stage.Display().x, CENTER);
  EXPECT_EQ(stage.Display().windowX, (800 - 208) / 2);
  EXPECT_EQ(stage.Display().y, 40);
  ASSERT_EQ(Change(stage, Fields({{"height", 100}, {"x", 5}, {"y", BOTTOM}})), 0);
  EXPECT_EQ(stage.Display().windowX, 5);
  EXPECT_EQ(stage.Display().windowY, 600 - 128);
}

TEST(DisplayAttributes, ASizeThatDoesNotFitChangesNothing) {
  Stage stage;
  EXPECT_EQ(Change(stage, Fields({{"width", 900}, {"title", "T"}})), 1085);
  EXPECT_EQ(stage.host.errors.argument, "900x200");
  EXPECT_EQ(stage.Display().title, "Quillmere");
  EXPECT_EQ(stage.Display().width, 320);
  EXPECT_EQ(stage.Display().bgpic->logicalWidth, 320);
  // Without its frame it just fits.
  ASSERT_EQ(Change(stage, Fields({{"width", 800}, {"borderless", 1}})), 0);
  EXPECT_EQ(WindowOf(stage.Display()).Geometry().width, 800);
}

TEST(DisplayAttributes, APictureBringsItsSizeAndEndsWhatWasGoingOn) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBGPic", {5, 100, 50, 0x00FF00}), 0);
  ASSERT_EQ(stage.Call("BeginDoubleBuffer"), 0);
  std::vector<std::int32_t> oldWidths;
  stage.scene->hooks.bgpicChanged.Join(
      [&](qmDisplay&, qmBGPic& old) { oldWidths.push_back(old.logicalWidth); });
  ASSERT_EQ(Change(stage, Fields({{"bgpic", 5}, {"width", 300}})), 0);
  EXPECT_EQ(oldWidths, std::vector<std::int32_t>{320});
  EXPECT_FALSE(stage.Display().doubleBuffered);
  EXPECT_EQ(stage.scene->currentOutput, stage.Display().bgpic);
  EXPECT_EQ(stage.Display().width, 100) << "the size is the picture's";
  EXPECT_EQ(stage.Shown(99, 49), 0x00FF00u);
  ASSERT_EQ(stage.Call("CreateBrush", {1, 5, 5, 0xFF0000}), 0);
  ASSERT_EQ(stage.Call("SelectBrush", {1}), 0);
  ASSERT_EQ(stage.Call("CreateBGPic", {6, 60, 50}), 0);
  ASSERT_EQ(stage.Call("DisplayBGPic", {6, Fields({{"x", 1}, {"y", 2}})}), 0);
  EXPECT_FALSE(stage.Display().HasSelection());
  EXPECT_EQ(stage.Display().windowX, 1);
}

TEST(DisplayAttributes, AFillIsPaintedAnew) {
  Stage stage;
  ASSERT_EQ(Change(stage, Fields({{"color", 0x112233}})), 0);
  EXPECT_EQ(stage.Shown(319, 199), 0x112233u);
  ASSERT_EQ(Change(stage, Fields({{"fillstyle", 2}, {"gradientstartcolor", 0xFF0000}})), 0);
  EXPECT_EQ(stage.Shown(0, 0), 0xFF0000u);
  EXPECT_EQ(Change(stage, Fields({{"fillstyle", 3}, {"texturebrush", 9}})),
            static_cast<int>(Error::BrushNotFound));
  EXPECT_EQ(stage.Shown(0, 0), 0xFF0000u);
}

TEST(DisplayAttributes, AReopenedWindowIsActiveOnlyIfItWas) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 40}})}), 0);
  ASSERT_EQ(stage.Call("OpenDisplay", {2, 1}), 0);
  const auto lastActive = [&] {
    PlatformWindow* active = nullptr;
    while (const auto message = stage.platform->windows().GetNextWindowMessage()) {
      if (message->kind == WindowMessageKind::Active) active = message->window;
    }
    return active;
  };
  EXPECT_EQ(lastActive(), stage.Display(1).window.get());
  ASSERT_EQ(Change(stage, Fields({{"fixed", 1}})), 0);
  EXPECT_EQ(lastActive(), stage.Display(1).window.get());
  stage.Display(1).input.windowActive = false;
  ASSERT_EQ(Change(stage, Fields({{"fixed", 0}})), 0);
  EXPECT_NE(lastActive(), stage.Display(1).window.get());
}

TEST(DisplayAttributes, AHiddenWindowStaysHiddenAndIsMoved) {
  Stage stage;
  ASSERT_EQ(stage.Call("HideDisplay"), 0);
  ASSERT_EQ(stage.Call("MoveDisplay", {70, 80}), 0);
  EXPECT_EQ(WindowOf(stage.Display()).Geometry().x, 70);
  ASSERT_EQ(stage.Call("SetTitle", {"Hidden"}), 0);
  ASSERT_EQ(Change(stage, Fields({{"sizeable", 1}, {"width", 100}})), 0);
  EXPECT_EQ(stage.Display().state, DisplayState::Minimized);
  EXPECT_TRUE(WindowOf(stage.Display()).iconified);
  EXPECT_EQ(WindowOf(stage.Display()).options.title, "Hidden");
  ASSERT_EQ(stage.Call("ShowDisplay"), 0);
  EXPECT_EQ(WindowOf(stage.Display()).Geometry().width, 100);
}

TEST(DisplayAttributes, LayerScalingNeedsSwitchableLayers) {
  Stage stage;
  ASSERT_EQ(stage.Call("BeginDoubleBuffer"), 0);
  EXPECT_EQ(Change(stage, Fields({{"scalemode", 2}})),
            static_cast<int>(Error::DoubleBufferingActive));
  EXPECT_FALSE(stage.Display().layerScale);
  ASSERT_EQ(stage.Call("EndDoubleBuffer"), 0);
  ASSERT_EQ(Change(stage, Fields({{"scalemode", 2}, {"scalewidth", 640}})), 0);
  EXPECT_EQ(stage.Display().scaleWidth, 640);
  EXPECT_EQ(stage.Display().scaleHeight, 200);
  // The other engine takes the sizes over.
  ASSERT_EQ(Change(stage, Fields({{"scalemode", 1}})), 0);
  EXPECT_EQ(stage.Display().scaleWidth, 640);
  EXPECT_EQ(stage.Display().bgpic->outputWidth, 320);
  EXPECT_EQ(stage.Display().scaleFactorX, 2.0);
}

TEST(DisplayAttributes, AnIconStandsForAllWindows) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 40}})}), 0);
  SetWindowIcon(*stage.scene, {2, 1, {0xFF112233, 0x00000000}});
  EXPECT_EQ(WindowOf(stage.Display(1)).icon.width, 2);
  ASSERT_EQ(stage.Call("OpenDisplay", {2}), 0);
  EXPECT_EQ(WindowOf(stage.Display(2)).icon.pixels[0], 0xFF112233u);
}

TEST(DisplaySelection, OfTheCurrentDisplayDoesNothing) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 40}})}), 0);
  ASSERT_EQ(stage.Call("OpenDisplay", {2, 1}), 0);
  stage.Display(2).window->Activate();
  ASSERT_EQ(stage.Call("CreateBrush", {1, 5, 5}), 0);
  ASSERT_EQ(stage.Call("SelectBrush", {1}), 0);
  while (stage.platform->windows().GetNextWindowMessage()) {
  }
  ASSERT_EQ(stage.Call("SelectDisplay", {1}), 0);
  EXPECT_FALSE(stage.platform->windows().GetNextWindowMessage()) << "it was not activated";
  EXPECT_TRUE(stage.Display().HasSelection());
  ASSERT_EQ(stage.Call("SelectDisplay", {2, 1}), 0);
  EXPECT_FALSE(stage.platform->windows().GetNextWindowMessage()) << "the flag keeps it from that";
  EXPECT_FALSE(stage.Display(1).HasSelection());
}

TEST(DisplaySelection, LeavesDoubleBufferingAlone) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 40}})}), 0);
  ASSERT_EQ(stage.Call("BeginDoubleBuffer"), 0);
  ASSERT_EQ(stage.Call("SelectDisplay", {2}), 0);
  EXPECT_EQ(stage.Call("Flip"), 1244);
  EXPECT_TRUE(stage.Display(1).doubleBuffered);
  ASSERT_EQ(stage.Call("SelectDisplay", {1}), 0);
  EXPECT_EQ(stage.scene->currentOutput, stage.Display().doubleBufferOutput.get());
  EXPECT_EQ(stage.Call("Flip"), 0);
}

TEST(DisplayCommands, AreRefusedWhileAVideoIsRecorded) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2}), 0);
  ASSERT_EQ(stage.Call("CreateBGPic", {5, 100, 50, 0x00FF00}), 0);
  stage.scene->recorder.recording = [] { return true; };
  constexpr int recording = 1317;
  EXPECT_EQ(stage.Call("CreateDisplay", {3}), 1351);
  EXPECT_EQ(stage.Call("OpenDisplay", {2}), recording);
  EXPECT_EQ(stage.Call("CloseDisplay", {1}), recording);
  EXPECT_EQ(stage.Call("FreeDisplay", {2}), recording);
  EXPECT_EQ(stage.Call("SelectDisplay", {2}), recording);
  EXPECT_EQ(stage.Call("HideDisplay"), recording);
  EXPECT_EQ(stage.Call("ShowDisplay"), recording);
  EXPECT_EQ(stage.Call("ChangeDisplayMode", {2, 800, 600}), recording);
  ASSERT_EQ(Change(stage, Fields({{"width", 200}, {"title", "T"}, {"x", 3}, {"scalemode", 9}})), 0);
  EXPECT_EQ(stage.Display().width, 200);
  EXPECT_EQ(stage.Display().title, "Quillmere");
  ASSERT_EQ(Change(stage, Fields({{"bgpic", 5}})), 0);
  EXPECT_EQ(stage.Display().width, 100);
}

TEST(DisplayCommands, LeaveADisplayThatDrawsInTheBackground) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateDisplay", {2}), 0);
  const qmDisplay* busy = &stage.Display(2);
  stage.scene->asyncDraw.any = [busy](const qmDisplay& display) { return &display == busy; };
  EXPECT_EQ(stage.Call("FreeDisplay", {2}), 1380);
  EXPECT_EQ(stage.Call("CreateDisplay", {2}), 1380);
  EXPECT_EQ(&stage.Display(2), busy);
  EXPECT_EQ(stage.Call("CreateDisplay", {1}), 1346);
}

}  // namespace
}  // namespace quillmere
