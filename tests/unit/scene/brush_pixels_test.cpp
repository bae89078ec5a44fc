// The commands that change brushes, each compared with a plain loop over its pixels.
#include <gtest/gtest.h>

#include "unit/pixels/plane_tables.h"
#include "unit/pixels/random_pictures.h"
#include "unit/scene/stage.h"

namespace quillmere {
namespace {

using test::Clone;
using test::Dice;
using test::ForPixels;

constexpr int rounds = 40;

class BrushPixels : public testing::Test {
 protected:
  /// Gives a brush random planes: with a mask, with an alpha map, or opaque.
  void MakeBrush(int number, int width, int height) {
    ASSERT_EQ(stage.Call("CreateBrush", {number, width, height}), 0);
    Planes& planes = stage.Brush(number).planes;
    planes.bitmap = dice.Bitmap(width, height);
    const int kind = dice.Int(0, 2);
    if (kind == 1) planes.mask = dice.Mask(width, height);
    if (kind == 2) planes.alpha = dice.Alpha(width, height);
  }

  /// Calls a command on random brushes 1 and 2 and compares each colour with the one that
  /// `reference` makes of what was there before.
  template <class Arguments, class Reference>
  void Compare(const char* command, Arguments arguments, Reference reference) {
    for (int round = 0; round < rounds; ++round) {
      for (const int number : {1, 2}) MakeBrush(number, dice.Int(1, 70), dice.Int(1, 70));
      const auto before = Clone(*stage.Brush(1).planes.bitmap);
      ASSERT_EQ(stage.Call(command, arguments()), 0);
      const qmBitmap& after = *stage.Brush(1).planes.bitmap;
      ForPixels({0, 0, before->width, before->height}, *before, [&](int x, int y) {
        ASSERT_EQ(after.Color(x, y), reference(*before, x, y) & 0xFFFFFF) << command;
      });
    }
  }

  [[nodiscard]] const Planes& PlanesOf(int number) { return stage.Brush(number).planes; }

  Dice dice{34};
  Stage stage;
  int value = 0;
  std::uint32_t color = 0;
};

TEST_F(BrushPixels, ColoursEqualTheirFormulas) {
  const auto onlyBrush = [] { return std::vector<Arg>{1}; };
  Compare("InvertBrush", onlyBrush, [](auto& b, int x, int y) { return ~b.Color(x, y); });
  Compare("BrushToGray", onlyBrush, [](auto& b, int x, int y) {
    const std::uint32_t pixel = b.Color(x, y);
    const double red = pixel >> 16, green = pixel >> 8 & 255, blue = pixel & 255;
    const double redGreen = red * 0.299 + green * 0.587;
    return static_cast<std::uint32_t>(blue * 0.114 + redGreen) * 0x010101;
  });
  const auto tint = [&] {
    value = dice.Byte();
    color = dice.Pixel() & 0xFFFFFF;
    return std::vector<Arg>{1, color, value};
  };
  Compare("TintBrush", tint,
          [&](auto& b, int x, int y) { return test::MixBytes(b.Color(x, y), color, value); });
  const auto tintByShare = [&] {
    const int share = dice.Int(0, 100);
    value = share * 255 / 100;
    color = dice.Pixel() & 0xFFFFFF;
    return std::vector<Arg>{1, color, std::to_string(share) + "%"};
  };
  Compare("TintBrush", tintByShare,
          [&](auto& b, int x, int y) { return test::MixBytes(b.Color(x, y), color, value); });
  const auto mix = [&] {
    value = dice.Byte();
    return std::vector<Arg>{1, 2, value};
  };
  Compare("MixBrush", mix, [&](auto& b, int x, int y) {
    const qmBitmap& other = *PlanesOf(2).bitmap;
    const bool isInside = x < other.width && y < other.height;
    return isInside ? test::Blended(b.Color(x, y), other.Color(x, y), value) : b.Color(x, y);
  });
  const auto replace = [&] {
    color = PlanesOf(1).bitmap->Color(0, 0);
    return std::vector<Arg>{1, List({color, 5, 5, 9})};
  };
  Compare("ReplaceColors", replace, [&](auto& b, int x, int y) {
    const std::uint32_t pixel = b.Color(x, y);
    return pixel == color || pixel == 5 ? 9u : pixel;
  });
}

TEST_F(BrushPixels, FlippingAndCroppingMoveAllPlanes) {
  for (int round = 0; round < rounds; ++round) {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    MakeBrush(1, width, height);
    const Planes before = PlanesOf(1);
    const auto x = dice.Int(0, width - 1), y = dice.Int(0, height - 1);
    ASSERT_EQ(stage.Call("CopyBrush", {1, 2}), 0);
    const bool across = dice.Coin();
    ASSERT_EQ(stage.Call("FlipBrush", {2, across ? dice.Int(1, 9) : 0}), 0);
    ASSERT_EQ(stage.Call("CropBrush", {2, x, y, dice.Int(1, 90), dice.Int(1, 90)}), 0);
    const Planes& after = PlanesOf(2);
    ASSERT_EQ(after.mask != nullptr, before.mask != nullptr);
    ASSERT_EQ(after.alpha != nullptr, before.alpha != nullptr);
    ForPixels({0, 0, width - x, height - y}, *after.bitmap, [&](int i, int j) {
      const int fromX = across ? width - 1 - (x + i) : x + i;
      const int fromY = across ? y + j : height - 1 - (y + j);
      ASSERT_EQ(after.bitmap->Color(i, j), before.bitmap->Color(fromX, fromY));
      if (after.mask) {
        ASSERT_EQ(after.mask->Test(i, j), before.mask->Test(fromX, fromY));
      }
      if (after.alpha) {
        ASSERT_EQ(after.alpha->Row(j)[i], before.alpha->Row(fromY)[fromX]);
      }
    });
  }
}

TEST_F(BrushPixels, TransparencyAndInversionMakeTheirPlanes) {
  for (int round = 0; round < rounds; ++round) {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    MakeBrush(1, width, height);
    const Planes planes = PlanesOf(1);
    const Area whole{0, 0, width, height};
    if (planes.alpha) {
      const auto before = Clone(*planes.alpha);
      ASSERT_EQ(stage.Call("InvertAlphaChannel", {1}), 0);
      ForPixels(whole, *before, [&](int x, int y) {
        ASSERT_EQ(PlanesOf(1).alpha->Row(y)[x], 255 - before->Row(y)[x]);
      });
    }
    const std::uint32_t key = planes.bitmap->Color(width / 2, height / 2);
    ASSERT_EQ(stage.Call("SetBrushTransparency", {1, key}), 0);
    ASSERT_FALSE(PlanesOf(1).alpha);
    ASSERT_EQ(stage.Call("InvertMask", {1}), 0);
    ForPixels(whole, *planes.bitmap, [&](int x, int y) {
      ASSERT_EQ(PlanesOf(1).mask->Test(x, y), planes.bitmap->Color(x, y) == key);
    });
    const int left = static_cast<int>(stage.Number("TrimBrush", {1}));
    ASSERT_LE(left, width / 2) << "the key's own pixel is left";
    ASSERT_GT(left + PlanesOf(1).Width(), width / 2);
  }
}

TEST_F(BrushPixels, SizesOutOfReachAreRefusedAndLeaveTheBrush) {
  constexpr int outOfMemory = static_cast<int>(Error::OutOfMemory);
  MakeBrush(1, 65536, 2);
  const auto before = Clone(*PlanesOf(1).bitmap);
  const std::pair<const char*, std::vector<Arg>> refused[] = {
      {"CreateBrush", {2, 65537, 1}},
      {"CreateBrush", {2, 65536, 65536}},
      {"CreateBrush", {2, 2147483647, 2147483647}},
      {"CreateBGPic", {2, 1, 65537}},
      {"ScaleBrush", {1, 65537, 1}},
      {"ScaleBrush", {1, 65536, 65536, 1}},
      {"ScaleBrush", {1, 1e300, 2}},
      {"ScaleBrush", {1, "1000%", "1000000000%"}},
      {"RotateBrush", {1, 45}},
      {"RotateBrush", {1, 0, 1e9, 1e9}},
      {"RotateBrush", {1, 1, 1e300, -1e300, 1}},
      {"TransformBrush", {1, 1, 1e12, -1e12, 1, 1}},
  };
  for (const auto& [command, arguments] : refused) {
    EXPECT_EQ(stage.Call(command, arguments), outOfMemory) << command;
  }
  EXPECT_TRUE(test::SamePixels(*PlanesOf(1).bitmap, *before));
  EXPECT_EQ(stage.Call("FloodFill", {1, 65536, 0, 0, 0}),
            static_cast<int>(Error::SpecifiedCoordinatesOutRange));
  EXPECT_EQ(stage.Call("CropBrush", {1, 2147483647, 0, 5, 5}),
            static_cast<int>(Error::SpecifiedCoordinatesOutRange));
  ASSERT_EQ(stage.Call("CropBrush", {1, 65535, 1, 2147483647, 2147483647}), 0);
  EXPECT_EQ(PlanesOf(1).bitmap->Color(0, 0), before->Color(65535, 1));
  ASSERT_EQ(stage.Call("ScaleBrush", {1, 65536, 3, 1}), 0);
  EXPECT_EQ(PlanesOf(1).bitmap->Color(65535, 2), before->Color(65535, 1));
}

}  // namespace
}  // namespace quillmere
