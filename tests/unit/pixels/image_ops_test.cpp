#include "pixels/image_ops.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>

#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::Clone;
using test::Dice;
using test::ForPixels;
using test::SameBytes;
using test::SamePixels;

/// The brightness as told: sums of products in doubles, in this order.
std::uint32_t GrayOf(std::uint32_t pixel) {
  const double r = pixel >> 16 & 255, g = pixel >> 8 & 255, b = pixel & 255;
  const double redGreen = r * 0.299 + g * 0.587;
  return (pixel & 0xFF000000) | static_cast<std::uint32_t>(b * 0.114 + redGreen) * 0x010101;
}

TEST(Gray, RoundsAsTheSumInDoublesForEveryColour) {
  BitmapPtr bitmap = *AllocBitmap(4099, 64);
  const auto check = [&](const auto& colorAt) {
    for (int y = 0; y < 64; ++y) {
      for (int x = 0; x < 4099; ++x) bitmap->At(x, y) = colorAt(x, y);
    }
    GrayPicture(*bitmap);
    for (int y = 0; y < 64; ++y) {
      for (int x = 0; x < 4099; ++x) {
        ASSERT_EQ(bitmap->At(x, y), GrayOf(colorAt(x, y))) << std::hex << colorAt(x, y);
      }
    }
  };
  for (std::uint32_t part = 0; part < 64; ++part) {
    check([part](int x, int y) {
      return 0xAB000000 | part << 18 | static_cast<std::uint32_t>(y) << 12 |
             static_cast<std::uint32_t>(x & 0xFFF);
    });
  }
  check([](int x, int y) { return static_cast<std::uint32_t>((x + y) & 255) * 0x01010101; });
  EXPECT_EQ(bitmap->Color(255, 0), 0xFFFFFFu);
}

TEST(Invert, TurnsAllBitsPaddingOfMaskAndAlphaIncluded) {
  Dice dice(17);
  for (int round = 0; round < 100; ++round) {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    const auto bitmap = dice.Bitmap(width, height), want = Clone(*bitmap);
    ForPixels({0, 0, width, height}, *want, [&](int x, int y) { want->At(x, y) ^= 0xFFFFFFFF; });
    InvertPicture(*bitmap);
    ASSERT_TRUE(SameBytes(*bitmap, *want));

    const auto mask = dice.Mask(width, height), wantMask = Clone(*mask);
    for (std::uint8_t& byte : wantMask->Bytes()) byte = static_cast<std::uint8_t>(255 - byte);
    InvertMask(*mask);
    ASSERT_TRUE(SameBytes(*mask, *wantMask));
    const auto alpha = dice.Alpha(width, height), wantAlpha = Clone(*alpha);
    for (std::uint8_t& byte : wantAlpha->Bytes()) byte = static_cast<std::uint8_t>(255 - byte);
    InvertAlpha(*alpha);
    ASSERT_TRUE(SameBytes(*alpha, *wantAlpha));
  }
}

TEST(Flip, MirrorsAllPlanesInBothDirections) {
  Dice dice(18);
  for (int round = 0; round < 200; ++round) {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    Planes planes{dice.Bitmap(width, height), dice.Mask(width, height), dice.Alpha(width, height)};
    const auto bitmap = Clone(*planes.bitmap);
    std::vector<bool> bits;
    std::vector<int> bytes;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        bits.push_back(planes.mask->Test(x, y));
        bytes.push_back(planes.alpha->Row(y)[x]);
      }
    }
    const bool horizontal = dice.Coin();
    ASSERT_TRUE(FlipPlanes(planes, horizontal));
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const int fromX = horizontal ? width - 1 - x : x, fromY = horizontal ? y : height - 1 - y;
        const auto from = static_cast<std::size_t>(fromY * width + fromX);
        ASSERT_EQ(planes.bitmap->At(x, y), bitmap->At(fromX, fromY));
        ASSERT_EQ(planes.mask->Test(x, y), bits[from]);
        ASSERT_EQ(planes.alpha->Row(y)[x], bytes[from]);
      }
    }
  }
}

TEST(ReplaceColors, WalksThePairsWithTheChangedValue) {
  BitmapPtr bitmap = *AllocBitmap(4, 1);
  const std::uint32_t words[] = {0xFF000001, 2, 3, 1};
  std::copy_n(words, 4, bitmap->Row(0));
  BitmapPtr swapped = Clone(*bitmap);
  const ColorPair chain[] = {{1, 2}, {2, 3}};
  ReplaceColorList(*bitmap, chain);
  for (int x = 0; x < 4; ++x) EXPECT_EQ(bitmap->Color(x, 0), 3u);
  const ColorPair swap[] = {{1, 2}, {2, 1}};
  ReplaceColorList(*swapped, swap);
  EXPECT_EQ(swapped->Color(0, 0), 1u);
  EXPECT_EQ(swapped->Color(1, 0), 1u);
  EXPECT_EQ(swapped->Color(2, 0), 3u);
}

TEST(ReplaceColors, EqualsTheWalkOfEachPixel) {
  Dice dice(26);
  const auto color = [&] { return static_cast<std::uint32_t>(dice.Int(0, 5)) * 0x010001; };
  for (int round = 0; round < 200; ++round) {
    const auto bitmap = dice.Bitmap(dice.Int(1, 70), dice.Int(1, 70));
    std::vector<ColorPair> pairs;
    for (int i = dice.Int(0, 6); i > 0; --i) pairs.push_back({color(), color()});
    const auto top = [&] { return static_cast<std::uint32_t>(dice.Byte()) << 24; };
    const Area whole{0, 0, bitmap->width, bitmap->height};
    ForPixels(whole, *bitmap, [&](int x, int y) { bitmap->At(x, y) = top() | color(); });
    const auto before = Clone(*bitmap);
    ReplaceColorList(*bitmap, pairs);
    ForPixels(whole, *bitmap, [&](int x, int y) {
      std::uint32_t pixel = before->Color(x, y);
      for (const ColorPair& pair : pairs) {
        if (pixel == pair.from) pixel = pair.to;
      }
      ASSERT_EQ(bitmap->Color(x, y), pixel);
    });
  }
}

/// The fill as it is told: by recursion.
void FillByRecursion(qmBitmap& b, int x, int y, std::uint32_t border, std::uint32_t fill) {
  if (b.Color(x, y) == border) return;
  int left = x, right = x;
  while (left >= 0 && b.Color(left, y) != border) b.At(left--, y) = fill;
  ++left;
  while (right + 1 < b.width && b.Color(right + 1, y) != border) b.At(++right, y) = fill;
  for (const int row : {y - 1, y + 1}) {
    if (row < 0 || row >= b.height) continue;
    bool armed = true;
    for (int i = left; i <= right; ++i) {
      const bool stops = b.Color(i, row) == border || b.Color(i, row) == fill;
      if (!stops && armed) {
        FillByRecursion(b, i, row, border, fill);
        armed = false;
      }
      if (b.Color(i, row) == border || b.Color(i, row) == fill) armed = true;
    }
  }
}

TEST(FloodFill, EqualsTheRecursionOnMazes) {
  Dice dice(19);
  for (int round = 0; round < 500; ++round) {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    BitmapPtr bitmap = *AllocBitmap(width, height);
    const int walls = dice.Int(0, 6);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const int kind = dice.Int(0, 9);
        bitmap->At(x, y) = kind < walls ? 7u : kind == 9 ? 9u : static_cast<std::uint32_t>(kind);
      }
    }
    const BitmapPtr want = Clone(*bitmap);
    const int x = dice.Int(0, width - 1), y = dice.Int(0, height - 1);
    const std::uint32_t fill = dice.Int(0, 9) == 0 ? 7 : 9;
    FillByRecursion(*want, x, y, 7, fill);
    ASSERT_TRUE(FloodFillPicture(*bitmap, x, y, 7, fill));
    ASSERT_TRUE(SamePixels(*bitmap, *want));
  }
}

TEST(FloodFill, LooksAtTheColourAloneAndStaysInside) {
  BitmapPtr bitmap = *AllocBitmap(3, 1);
  bitmap->At(0, 0) = 1;
  bitmap->At(1, 0) = 0xFF000007;
  bitmap->At(2, 0) = 1;
  ASSERT_TRUE(FloodFillPicture(*bitmap, 0, 0, 7, 5));
  EXPECT_EQ(bitmap->Color(0, 0), 5u);
  EXPECT_EQ(bitmap->Color(2, 0), 1u);
  ASSERT_TRUE(FloodFillPicture(*bitmap, 1, 0, 7, 3));
  EXPECT_EQ(bitmap->Color(1, 0), 7u) << "a start on the border changes nothing";
  for (const auto& [x, y] : {std::pair{-1, 0}, {3, 0}, {0, 1}, {2147483647, -2147483647}}) {
    ASSERT_TRUE(FloodFillPicture(*bitmap, x, y, 7, 3));
  }
  EXPECT_EQ(bitmap->Color(0, 0), 5u);
}

/// The gradient as it is told, one pixel at a time.
std::uint32_t GradientPixel(int x, int y, int W, int H, std::uint32_t from, std::uint32_t to,
                            int A) {
  using Wide = std::int64_t;
  const double a = A * 3.141592653589793 / 180;
  const auto cx = static_cast<Wide>(std::cos(a) * -255), sy = static_cast<Wide>(std::sin(a) * 255);
  if (A < 0) A = 360 - (-A % 360);
  A %= 360;
  Wide k = H, o = 0, p = 0, s = 1;
  if ((A > 90 && A <= 180) || A > 270) k = -H, o = H;
  if (A > 90 && A <= 270) o = H - o, p = H, s = -1;
  const Wide denominator = sy * W - k * cx;
  const Wide numerator = sy * W * o - p * (k * cx) + x * (k * sy * s) + y * (-s * (k * cx));
  const Wide t = numerator / denominator;
  std::uint32_t color = 0;
  for (int shift = 16; shift >= 0; shift -= 8) {
    const Wide start = from >> shift & 255, end = to >> shift & 255;
    color |= static_cast<std::uint32_t>(start + (t * (end - start)) / H) << shift;
  }
  return color;
}

TEST(Gradient, EqualsItsFormulaAtEveryAngle) {
  Dice dice(20);
  DebugOutput debug;
  for (int round = 0; round < 1200; ++round) {
    const int angle = round < 720 ? round - 360 : dice.Int(-100000, 100000);
    const Area area{dice.Int(-10, 10), dice.Int(-10, 10), dice.Int(1, 70), dice.Int(1, 70)};
    const auto bitmap = dice.Bitmap(dice.Int(1, 70), dice.Int(1, 70));
    const auto want = Clone(*bitmap);
    const std::uint32_t from = dice.Pixel() & 0xFFFFFF, to = dice.Pixel() & 0xFFFFFF;
    for (int y = std::max(area.y, 0); y < std::min(area.y + area.height, want->height); ++y) {
      for (int x = std::max(area.x, 0); x < std::min(area.x + area.width, want->width); ++x) {
        want->At(x, y) =
            GradientPixel(x - area.x, y - area.y, area.width, area.height, from, to, angle);
      }
    }
    DrawGradient(debug, bitmap.get(), area, from, to, angle);
    ASSERT_TRUE(SamePixels(*bitmap, *want)) << "angle " << angle;
  }
}

TEST(Gradient, RunsFromTopToBottomAndTakesAnySize) {
  DebugOutput debug;
  BitmapPtr bitmap = *AllocBitmap(2, 4);
  DrawGradient(debug, bitmap.get(), {0, 0, 2, 4}, 0x000000, 0x040404, 0);
  EXPECT_EQ(bitmap->Color(0, 0), 0u);
  EXPECT_EQ(bitmap->Color(1, 3), 0x030303u);
  for (const int angle : {0, 1, 45, 89, 90, 91, 180, 181, 269, 270, 271, 359, -2147483647}) {
    DrawGradient(debug, bitmap.get(), {0, 0, 65536, 65536}, 0, 0xFFFFFF, angle);
    DrawGradient(debug, bitmap.get(), {0, -65000, 1, 65536}, 0, 0xFFFFFF, angle);
    DrawGradient(debug, bitmap.get(), {0, 0, 2147483647, 2147483647}, 0, 0xFFFFFF, angle);
    DrawGradient(debug, bitmap.get(), {-2147483647, 0, 2147483647, 0}, 0, 0xFFFFFF, angle);
  }
  std::string said;
  debug.SetSink([&](std::string_view text) { said += text; });
  DrawGradient(debug, nullptr, {}, 0, 0, 0);
  EXPECT_EQ(said, "ERROR! DRAWGRADIENT() CALLED WITH DST=NULL!\n");
}

}  // namespace
}  // namespace quillmere
