// The start of the displays in each display mode, and the way between window and full screen.
#include <gtest/gtest.h>

#include "platform/memory_screen.h"
#include "unit/scene/stage.h"

namespace quillmere {
namespace {

StageOptions InMode(std::int32_t mode) {
  StageOptions options;
  options.settings.displayMode = mode;
  return options;
}

StageOptions Empty() {
  StageOptions options;
  options.withDisplay = false;
  return options;
}

const MemoryWindow& WindowOf(const qmDisplay& display) {
  return dynamic_cast<const MemoryWindow&>(*display.window);
}

qmDisplay& Backdrop(Stage& stage) {
  return *stage.scene->displays.All().begin();
}

TEST(DisplayModes, FullScreenPutsTheDisplaysOnAScreenOfTheirOwn) {
  StageOptions options = InMode(displayModeFullScreen);
  options.settings.scrWidth = 640;
  options.settings.scrHeight = 480;
  Stage stage(options);
  EXPECT_TRUE(stage.scene->fullScreen);
  ASSERT_EQ(stage.scene->displays.Count(), 2u);
  EXPECT_EQ(Backdrop(stage).width, 640);
  EXPECT_EQ(Backdrop(stage).height, 480);
  EXPECT_EQ(Backdrop(stage).y, 0);
  const qmDisplay& display = stage.Display(1);
  EXPECT_TRUE(display.Has(displayBorderless));
  EXPECT_TRUE(display.Has(displayFixed));
  EXPECT_FALSE(display.Has(displaySizeable));
  EXPECT_EQ(display.windowX, 160);
  EXPECT_EQ(display.windowY, 140);
  EXPECT_EQ(Stage::ShownIn(*stage.platform, Backdrop(stage), 0, 0), 0u);
  EXPECT_EQ(stage.Call("ChangeDisplayMode", {2, 640, 480}), 0);
  EXPECT_EQ(stage.scene->screenWidth, 640);
  ASSERT_EQ(stage.Call("ChangeDisplayMode", {2, 800, 600}), 0);
  EXPECT_EQ(Backdrop(stage).width, 800);
  EXPECT_EQ(display.windowX, 240);
}

TEST(DisplayModes, AMissingScreenModeIsToldWithItsSize) {
  Stage stage(Empty());
  ASSERT_EQ(stage.Call("CreateDisplay", {1}), 0);
  ScreenSettings settings;
  settings.displayMode = displayModeOwnScreen;
  settings.scrWidth = 801;
  settings.scrHeight = 600;
  const Status opened = OpenDisplays(stage.State(), settings, {});
  ASSERT_FALSE(opened);
  EXPECT_EQ(opened.error(), Error::ScreenSizeUnsupported);
  EXPECT_EQ(stage.host.errors.argument, "801x600x32");
}

TEST(DisplayModes, AnOwnScreenKeepsTheFrames) {
  Stage stage(InMode(displayModeOwnScreen));
  EXPECT_TRUE(stage.scene->fullScreen);
  EXPECT_EQ(stage.scene->displays.Count(), 1u) << "nobody asked for a backdrop";
  EXPECT_FALSE(stage.Display(1).Has(displayBorderless));
  ASSERT_EQ(stage.Call("ChangeDisplayMode", {1}), 0);
  EXPECT_FALSE(stage.scene->fullScreen);
}

TEST(DisplayModes, AFakeFullScreenCoversTheDesktop) {
  StageOptions options = InMode(displayModeFakeFullScreen);
  options.settings.backfillMode = BackfillKind::Gradient;
  options.settings.backfillStart = 0xFF0000;
  options.settings.backfillEnd = 0x0000FF;
  Stage stage(options);
  EXPECT_FALSE(stage.scene->fullScreen);
  EXPECT_TRUE(stage.Display(1).Has(displayBorderless));
  qmDisplay& backdrop = Backdrop(stage);
  EXPECT_EQ(backdrop.private1, 1);
  EXPECT_EQ(backdrop.y, 0) << "the title bar is covered too";
  EXPECT_EQ(backdrop.height, 600);
  EXPECT_FALSE(WindowOf(backdrop).pointerShown);
  EXPECT_EQ(Stage::ShownIn(*stage.platform, backdrop, 0, 0), 0xFF0000u);
  EXPECT_EQ(stage.Call("ChangeDisplayMode", {1}), 0) << "it is in windows already";
  EXPECT_EQ(stage.scene->settings.displayMode, displayModeFakeFullScreen);
}

TEST(DisplayModes, ABackdropLeavesTheTitleBarFree) {
  StageOptions options;
  options.settings.backfillMode = BackfillKind::Color;
  options.settings.backfillStart = 0x123456;
  Stage stage(options);
  EXPECT_EQ(Backdrop(stage).y, 24);
  EXPECT_EQ(Backdrop(stage).height, 576);
  EXPECT_TRUE(WindowOf(Backdrop(stage)).pointerShown);
  options.settings.hideTitleBar = 1;
  Stage whole(options);
  EXPECT_EQ(Backdrop(whole).y, 0);
}

TEST(DisplayModes, ABackdropShowsABrush) {
  for (const BackfillKind kind : {BackfillKind::Texture, BackfillKind::Picture}) {
    Stage stage(Empty());
    ASSERT_EQ(stage.Call("CreateDisplay", {1, Fields({{"width", 100}, {"active", 1}})}), 0);
    ASSERT_EQ(stage.Call("CreateBrush", {7, 40, 30, 0x00FF00}), 0);
    ScreenSettings settings;
    settings.displayMode = displayModeFakeFullScreen;
    settings.backfillMode = kind;
    settings.backfillBrush = 7;
    settings.pictureX = RIGHT;
    settings.pictureY = BOTTOM;
    settings.backfillStart = settings.backfillEnd = 0x0000FF;
    ASSERT_TRUE(OpenDisplays(stage.State(), settings, {}));
    const auto shown = [&](int x, int y) {
      return Stage::ShownIn(*stage.platform, Backdrop(stage), x, y);
    };
    EXPECT_EQ(shown(799, 599), 0x00FF00u);
    EXPECT_EQ(shown(760, 570), 0x00FF00u);
    EXPECT_EQ(shown(759, 570), kind == BackfillKind::Texture ? 0x00FF00u : 0x0000FFu);
    EXPECT_EQ(stage.scene->brushes.Count(), 1u) << "only the script's brush is left";
  }
}

TEST(DisplayModes, ABackdropThatCannotBeMadeLeavesNothing) {
  Stage stage(Empty());
  ASSERT_EQ(stage.Call("CreateDisplay", {1, Fields({{"active", 1}})}), 0);
  ScreenSettings settings;
  settings.backfillMode = BackfillKind::Texture;
  settings.backfillBrush = 99;
  const Status opened = OpenDisplays(stage.State(), settings, {});
  ASSERT_FALSE(opened);
  EXPECT_EQ(opened.error(), Error::BrushNotFound);
  EXPECT_EQ(stage.scene->brushes.Count(), 0u);
  EXPECT_EQ(stage.scene->displays.Count(), 1u);
}

TEST(DisplayModes, PointersAreHiddenOnlyOnFullScreens) {
  Stage stage(Empty());
  ASSERT_EQ(stage.Call("CreateDisplay", {1, Fields({{"width", 100}, {"hidepointer", 1}})}), 0);
  ASSERT_TRUE(OpenDisplays(stage.State(), {}, {}));
  EXPECT_TRUE(WindowOf(stage.Display()).pointerShown);
  ASSERT_EQ(stage.Call("ChangeDisplayMode", {2, 800, 600}), 0);
  EXPECT_FALSE(WindowOf(stage.Display()).pointerShown);
  ASSERT_EQ(stage.Call("ChangeDisplayMode", {1}), 0);
  EXPECT_TRUE(WindowOf(stage.Display()).pointerShown);
}

TEST(DisplayModes, ASwitchKeepsTheStateOfEachDisplay) {
  Stage stage;
  for (const int number : {2, 3}) {
    ASSERT_EQ(stage.Call("CreateDisplay", {number, Fields({{"width", 50}, {"height", 40}})}), 0);
  }
  ASSERT_EQ(stage.Call("OpenDisplay", {2}), 0);
  ASSERT_EQ(stage.Call("HideDisplay"), 0);
  ASSERT_EQ(stage.Call("SelectDisplay", {1}), 0);
  ASSERT_EQ(stage.Call("ChangeDisplayMode", {2, 800, 600}), 0);
  EXPECT_EQ(stage.Display(1).state, DisplayState::Open);
  EXPECT_EQ(stage.Display(2).state, DisplayState::Minimized);
  EXPECT_EQ(stage.Display(3).state, DisplayState::Closed);
  EXPECT_EQ(&stage.Display(), &stage.Display(1));
  ASSERT_EQ(stage.Call("OpenDisplay", {3}), 0);
  EXPECT_EQ(stage.Display(3).windowX, 375) << "it has no frame on a full screen either";
}

TEST(DisplayModes, TheUserSwitchesToTheScreenOfTheSettings) {
  StageOptions options;
  options.settings.scrWidth = 640;
  options.settings.scrHeight = 400;
  Stage stage(options);
  ASSERT_TRUE(ToggleDisplayMode(stage.State()));
  EXPECT_TRUE(stage.scene->fullScreen);
  EXPECT_EQ(stage.scene->screenWidth, 640);
  ASSERT_TRUE(ToggleDisplayMode(stage.State()));
  EXPECT_FALSE(stage.scene->fullScreen);
}

TEST(DisplayStart, TheFirstActiveDisplayIsCurrent) {
  Stage stage(Empty());
  ASSERT_EQ(stage.Call("CreateDisplay", {1, Fields({{"width", 50}})}), 0);
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"active", 1}, {"hidden", 1}})}), 0);
  ASSERT_EQ(stage.Call("CreateDisplay", {3, Fields({{"width", 60}, {"active", 1}})}), 0);
  ASSERT_EQ(stage.Call("CreateDisplay", {4, Fields({{"width", 70}, {"active", 1}})}), 0);
  ASSERT_TRUE(OpenDisplays(stage.State(), {}, {}));
  EXPECT_EQ(&stage.Display(), &stage.Display(3));
  EXPECT_EQ(stage.Display(1).state, DisplayState::Open);
  EXPECT_EQ(stage.Display(2).state, DisplayState::Closed);
  PlatformWindow* active = nullptr;
  while (const auto message = stage.platform->windows().GetNextWindowMessage()) {
    if (message->kind == WindowMessageKind::Active) active = message->window;
  }
  EXPECT_EQ(active, stage.Display(3).window.get());
}

TEST(DisplayStart, WithoutAnActiveDisplayTheFirstOneIsCurrentButNotActivated) {
  Stage stage(Empty());
  ASSERT_EQ(stage.Call("CreateDisplay", {2}), 0);
  const Status none = OpenDisplays(stage.State(), {}, {});
  ASSERT_FALSE(none);
  EXPECT_EQ(none.error(), Error::DisplayNotFound);
  ASSERT_EQ(stage.Call("CreateDisplay", {1}), 0);
  ASSERT_TRUE(OpenDisplays(stage.State(), {}, {}));
  EXPECT_EQ(&stage.Display(), &stage.Display(1));
  EXPECT_FALSE(stage.platform->windows().GetNextWindowMessage());
}

}  // namespace
}  // namespace quillmere
