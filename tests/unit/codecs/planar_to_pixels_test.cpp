#include <gtest/gtest.h>

#include "codecs/picture_object.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

std::vector<std::uint32_t> Render(const std::vector<std::uint8_t>& row, const Palette& palette,
                                  int hamBits) {
  std::vector<std::uint8_t> pens(PenStride(static_cast<int>(row.size())));
  std::copy(row.begin(), row.end(), pens.begin());
  const BitmapPtr pixels = AllocBitmap(static_cast<int>(row.size()), 1).value();
  PlanarToPixels(pens, palette, hamBits, *pixels);
  return PackWords(*pixels).value();
}

TEST(PlanarToPixels, HoldAndModifyOfSixBitsWidensDigits) {
  Palette palette{};
  palette[0] = 0x123456;
  palette[5] = 0xABCDEF;
  // Modify the start colour, load entry 5, then each component.
  EXPECT_EQ(
      Render({0x1F, 0x05, 0x10, 0x21, 0x3F, 0x00}, palette, 6),
      (std::vector<std::uint32_t>{0x1133FF, 0xAACCEE, 0xAACC00, 0x11CC00, 0x11FF00, 0x113355}));
}

TEST(PlanarToPixels, HoldAndModifyOfEightBitsKeepsTheLowBits) {
  Palette palette{};
  palette[0] = 0x010203;
  palette[63] = 0xABCDEF;
  EXPECT_EQ(Render({0x7F, 0x3F, 0x40, 0x81, 0xC2}, palette, 8),
            (std::vector<std::uint32_t>{0x0102FF, 0xABCDEF, 0xABCD03 | 0, 0x07CD03, 0x070903}));
}

TEST(PlanarToPixels, EachRowStartsAnew) {
  Palette palette{};
  palette[0] = 0x404040;
  std::vector<std::uint8_t> pens(2 * PenStride(1));
  pens[0] = 0x2F;
  pens[PenStride(1)] = 0x1F;
  const BitmapPtr pixels = AllocBitmap(1, 2).value();
  PlanarToPixels(pens, palette, 6, *pixels);
  EXPECT_EQ(PackWords(*pixels).value(), (std::vector<std::uint32_t>{0xFF4444, 0x4444FF}));
}

}  // namespace
}  // namespace quillmere
