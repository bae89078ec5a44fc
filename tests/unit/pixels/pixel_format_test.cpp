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
  for (int round = 0; round < 20 * pixelFormatCount; ++round) {
    const PixelFormat format = cases[round % pixelFormatCount].format;
    const auto source = dice.Bitmap(dice.Int(1, 70), dice.Int(1, 70));
    const int bytes = BytesPerPixel(format);
    const int width = dice.Int(1, 70), height = dice.Int(1, 70), stride = width + dice.Int(0, 5);
    std::vector<std::uint8_t> memory(static_cast<std::size_t>(stride * height * bytes));
    const qmBitmapLock lock{memory.data(), format, bytes, stride, width, height};
    const BlitArea area = dice.Rectangle(70);
    ConvertPixels(*source, area.sx, area.sy, lock, area.tx, area.ty, area.width, area.height);
    const BitmapPtr want = *AllocBitmap(width, height);
    const Area whole{0, 0, width, height};
    test::ForPixels(whole, *want, [&](int x, int y) { want->At(x, y) = 0; });
    test::ForPixels(area, *source, *want, [&](int sx, int sy, int tx, int ty) {
      want->At(tx, ty) = PixelToRGB(RGBToPixel(source->At(sx, sy), format), format);
    });
    test::ForPixels(whole, *want,
                    [&](int x, int y) { ASSERT_EQ(ReadPixelRGB(lock, x, y), want->At(x, y)); });
  }
}

TEST(Color, MixesChannelByChannelAndFallsShortOfTheEnd) {
  EXPECT_EQ(MixColors(0x000000, 0xFFFFFF, 255), 0xFEFEFEu);
  EXPECT_EQ(MixColors(0xFFFFFF, 0x000000, 255), 0x000000u);
  EXPECT_EQ(MixColors(0xFF204060, 0x00602040, 128), 0x403050u);
  test::Dice dice(28);
  for (int round = 0; round < 1000; ++round) {
    const std::uint32_t from = dice.Pixel(), to = dice.Pixel();
    const int ratio = dice.Byte();
    std::uint32_t want = 0;
    for (int shift = 0; shift < 24; shift += 8) {
      const int c1 = static_cast<int>(from >> shift & 255),
                c2 = static_cast<int>(to >> shift & 255);
      want |= static_cast<std::uint32_t>(c1 + (((c2 - c1) * ratio) >> 8)) << shift;
    }
    ASSERT_EQ(MixColors(from, to, ratio), want);
  }
  EXPECT_EQ(ColorOnScreen(0xFFFFFF, 15), 0xF8F8F8u);
  EXPECT_EQ(ColorOnScreen(0xFFFFFF, 16), 0xF8FCF8u);
  EXPECT_EQ(ColorOnScreen(0xFFFFFF, 32), 0xFFFFFFu);
  EXPECT_EQ(ExpandColor12(randomColors[4]), 0xAA2200u);
  for (const std::uint16_t color : randomColors) EXPECT_LE(color, 0xFFF);
}

}  // namespace
}  // namespace quillmere
