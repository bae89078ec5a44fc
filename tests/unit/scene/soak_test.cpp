// Displays that come and go for a long time leave nothing behind.
#include <gtest/gtest.h>
#include <malloc.h>

#include "unit/scene/stage.h"

namespace quillmere {
namespace {

/// One life of a display, with everything that it can own.
void LiveOnce(Stage& stage, int turn) {
  const int scaleMode = turn % 3;
  ASSERT_EQ(stage.Call("CreateDisplay", {2, Fields({{"width", 60 + turn % 7},
                                                    {"height", 40},
                                                    {"scalemode", scaleMode},
                                                    {"borderless", turn % 2}})}),
            0);
  ASSERT_EQ(stage.Call("OpenDisplay", {2}), 0);
  ASSERT_EQ(stage.Call("ChangeDisplaySize", {80, 50}), 0);
  ASSERT_TRUE(ResizeDisplay(*stage.scene, stage.Display(), {.width = 90, .height = 70}));
  ASSERT_EQ(stage.Call("HideDisplay"), 0);
  ASSERT_EQ(stage.Call("ShowDisplay"), 0);
  if (scaleMode != SCALEMODE_LAYER) {
    ASSERT_EQ(stage.Call("BeginDoubleBuffer"), 0);
    ASSERT_EQ(stage.Call("DisplayBrush", {1, 0, 0}), 0);
    ASSERT_EQ(stage.Call("Flip"), 0);
    ASSERT_EQ(stage.Call("EndDoubleBuffer"), 0);
  }
  ASSERT_EQ(stage.Call("CreateBGPic", {3, 70, 30}), 0);
  ASSERT_EQ(stage.Call("DisplayBGPic", {3}), 0);
  ASSERT_EQ(stage.Call("FreeBGPic", {3}), 0);
  ASSERT_EQ(stage.Call("SelectBrush", {1}), 0);
  ASSERT_EQ(stage.Call("SelectDisplay", {1}), 0);
  ASSERT_EQ(stage.Call("CloseDisplay", {2}), 0);
  ASSERT_EQ(stage.Call("FreeDisplay", {2}), 0);
  while (stage.platform->windows().GetNextWindowMessage()) {
  }
}

std::size_t BytesInUse(Stage& stage) {
  vmSetGCThreshold(stage.State(), 0);
  return mallinfo2().uordblks;
}

TEST(Soak, TenThousandDisplaysLeaveNothingBehind) {
#ifdef QUILLMERE_SANITIZED
  constexpr int turns = 300;
#else
  constexpr int turns = 10000;
#endif
  constexpr int warmUp = 100;
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 5, 5}), 0);
  [[maybe_unused]] std::size_t inUse = 0;
  for (int turn = 0; turn < warmUp + turns; ++turn) {
    if (turn == warmUp) inUse = BytesInUse(stage);
    LiveOnce(stage, turn);
    if (HasFatalFailure()) return;
  }
  EXPECT_EQ(stage.scene->displays.Count(), 1u);
  EXPECT_EQ(stage.scene->bgpics.Count(), 1u);
  EXPECT_EQ(stage.scene->brushes.Count(), 1u);
#ifndef QUILLMERE_SANITIZED
  // The platform numbers every window that there ever was; nothing else may grow.
  constexpr std::size_t bytesOfAWindowNumber = 32;
  EXPECT_LT(BytesInUse(stage), inUse + turns * bytesOfAWindowNumber);
#endif
}

}  // namespace
}  // namespace quillmere
