#include "pixels/pixel_format.h"

#include <gtest/gtest.h>

#include "pixels/color.h"
#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

struct Case {
  PixelFormat format;
  std::uint32_t stored;
  std::uint32_t readBack;
};

/// 0xFF8421 in every layout: channels that keep 5 or 6 bits read back with low bits 0.
constexpr std::uint32_t sample = 0xFF8421;
constexpr Case cases[] = {
    {PixelFormat::Rgb15, 0x7E04, 0xF88020},        {PixelFormat::Bgr15, 0x121F, 0xF88020},
    {PixelFormat::Rgb15Swapped, 0x047E, 0xF88020}, {PixelFormat::Bgr15Swapped, 0x1F12, 0xF88020},
    {PixelFormat::Rgb16, 0xFC24, 0xF88420},        {PixelFormat::Bgr16, 0x243F, 0xF88420},
    {PixelFormat::Rgb16Swapped, 0x24FC, 0xF88420}, {PixelFormat::Bgr16Swapped, 0x3F24, 0xF88420},
    {PixelFormat::Rgb24, 0xFF8421, sample},        {PixelFormat::Bgr24, 0x2184FF, sample},
    {PixelFormat::Argb32, 0xFF8421, sample},       {PixelFormat::Bgra32, 0x2184FF00, sample},
    {PixelFormat::Rgba32, 0xFF842100, sample}};

TEST(PixelFormat, EveryLayoutStoresAndReadsAsTold) {
  for (const Case& row : cases) {
    EXPECT_EQ(RGBToPixel(sample, row.format), row.stored) << static_cast<int>(row.format);
    EXPECT_EQ(PixelToRGB(row.stored, row.format), row.readBack) << static_cast<int>(row.format);
    EXPECT_EQ(RGBToPixel(0xAB000000 | sample, row.format), row.stored);
    std::uint8_t memory[4] = {};
    WriteRGBBytes(memory, row.format, {0xFF, 0x84, 0x21});
    std::uint8_t rgb[3];
    ReadRGBBytes(memory, row.format, rgb);
    EXPECT_EQ(JoinRGB(rgb[0], rgb[1], rgb[2]), row.readBack);
    if (row.format == PixelFormat::Bgr24) {
      EXPECT_EQ(memory[0], 0x21);
    }
  }
  EXPECT_EQ(RGBToPixel(0xF80000, PixelFormat::Rgb15), RGBToPixel(0xFF0000, PixelFormat::Rgb15));
}

TEST(PixelFormat, ConvertsRectanglesAndCutsThem) {
  test::Dice dice(21);
  for (const Case& row : cases) {
    const auto source = dice.Bitmap(20, 10);
    const int bytes = BytesPerPixel(row.format);
    std::vector<std::uint8_t> memory(static_cast<std::size_t>(16 * 8 * bytes));
    const qmBitmapLock lock{memory.data(), row.format, bytes, 16, 15, 8};
    const BlitArea area{
        dice.Int(-3, 10), dice.Int(-3, 5), dice.Int(-3, 10), dice.Int(-3, 5), 12, 9};
    ConvertPixels(*source, area.sx, area.sy, lock, area.tx, area.ty, area.width, area.height);
    std::vector<std::uint32_t> want(16 * 8, 0);
    const qmBitmap target = ViewBitmap(want.data(), 16, 15, 8);
    test::ForPixels(area, *source, target, [&](int sx, int sy, int tx, int ty) {
      want[static_cast<std::size_t>(ty * 16 + tx)] =
          PixelToRGB(RGBToPixel(source->At(sx, sy), row.format), row.format);
    });
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 15; ++x) {
        ASSERT_EQ(ReadPixelRGB(lock, x, y), want[static_cast<std::size_t>(y * 16 + x)]);
      }
    }
  }
}

TEST(Color, MixesChannelByChannelAndFallsShortOfTheEnd) {
  EXPECT_EQ(MixColors(0x000000, 0xFFFFFF, 255), 0xFEFEFEu);
  EXPECT_EQ(MixColors(0xFFFFFF, 0x000000, 255), 0x000000u);
  EXPECT_EQ(MixColors(0xFF204060, 0x00602040, 128), 0x403050u);
  EXPECT_EQ(ColorOnScreen(0xFFFFFF, 15), 0xF8F8F8u);
  EXPECT_EQ(ColorOnScreen(0xFFFFFF, 16), 0xF8FCF8u);
  EXPECT_EQ(ColorOnScreen(0xFFFFFF, 32), 0xFFFFFFu);
  EXPECT_EQ(ExpandColor12(randomColors[4]), 0xAA2200u);
  for (const std::uint16_t color : randomColors) EXPECT_LE(color, 0xFFF);
}

}  // namespace
}  // namespace quillmere
