// From a command to the window and to a file: the shortest way through the whole scene.
#include <gtest/gtest.h>

#include <filesystem>

#include "unit/scene/stage.h"

namespace quillmere {
namespace {

TEST(ThinLine, DrawsABrushOnTheWindow) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBrush", {1, 40, 30, 0xFF8000}), 0);
  ASSERT_EQ(stage.Call("DisplayBrush", {1, 10, 20}), 0);
  EXPECT_EQ(stage.Shown(9, 20), 0u);
  EXPECT_EQ(stage.Shown(10, 20), 0xFF8000u);
  EXPECT_EQ(stage.Shown(49, 49), 0xFF8000u);
  EXPECT_EQ(stage.Shown(50, 49), 0u);
  EXPECT_EQ(stage.Display().canvas->Color(10, 20), 0xFF8000u);
}

TEST(ThinLine, SavesAndLoadsPictures) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateGradientBGPic", {5, 0, 0xFF0000, 0x0000FF, 32, 16}), 0);
  ASSERT_EQ(stage.Call("BGPicToBrush", {5, 1}), 0);
  for (const auto& [format, name] : {std::pair{0, "a.bmp"}, std::pair{1, "a.png"}}) {
    const std::string file = TempFileName(name);
    ASSERT_EQ(stage.Call("SaveBrush", {1, file, Arg(), format}), 0) << name;
    ASSERT_EQ(stage.Call("LoadBrush", {2, file}), 0) << name;
    ASSERT_EQ(stage.Call("LoadBGPic", {6, file}), 0) << name;
    for (int y = 0; y < 16; ++y) {
      EXPECT_EQ(stage.Brush(2).planes.bitmap->Color(31, y),
                stage.Brush(1).planes.bitmap->Color(31, y));
      EXPECT_EQ(stage.BGPic(6).scaled.bitmap->Color(0, y),
                stage.Brush(1).planes.bitmap->Color(0, y));
    }
  }
  std::filesystem::remove_all(std::filesystem::path(TempFileName("x")).parent_path());
}

TEST(ThinLine, ShowsAnotherPicture) {
  Stage stage;
  ASSERT_EQ(stage.Call("CreateBGPic", {2, 100, 60, 0x00FF00}), 0);
  ASSERT_EQ(stage.Call("DisplayBGPic", {2}), 0);
  EXPECT_EQ(stage.Display().width, 100);
  EXPECT_EQ(stage.Shown(99, 59), 0x00FF00u);
  // The size has changed and no position was given: the window stands in the middle.
  EXPECT_EQ(stage.Display().windowX, (800 - 108) / 2);
}

}  // namespace
}  // namespace quillmere
