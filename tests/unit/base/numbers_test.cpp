#include "base/numbers.h"

#include <gtest/gtest.h>

#include <cmath>

#include <cmath>

#include "base/byte_order.h"
#include "base/checked.h"
#include "base/fold.h"

namespace quillmere {
namespace {

TEST(Numbers, TruncateTowardZeroAndStayDefined) {
  EXPECT_EQ(ToInt32(-1.9), -1);
  EXPECT_EQ(ToInt32(1e300), 2147483647);
  EXPECT_EQ(ToInt32(-1e300), -2147483647 - 1);
  EXPECT_EQ(ToInt32(-2147483648.5), -2147483647 - 1);
  EXPECT_EQ(ToInt32(std::nan("")), -2147483647 - 1);
  EXPECT_EQ(ToUInt32(std::nan("")), 0x80000000u);
  EXPECT_EQ(ToUInt32(4294967295.0), 0xFFFFFFFFu);
  EXPECT_EQ(ToUInt32(2147483648.0), 0x80000000u);
  EXPECT_EQ(ToUInt32(-1.0), 0xFFFFFFFFu);
  EXPECT_EQ(ToUInt32(1e10), 0xFFFFFFFFu);
}

TEST(Fold, LatinLettersHavePairsAndTheirNeighboursDoNot) {
  int pairs = 0;
  for (int c = 0; c < 256; ++c) {
    const auto byte = static_cast<unsigned char>(c);
    if (FoldLower(byte) == byte) continue;
    ++pairs;
    EXPECT_EQ(FoldUpper(FoldLower(byte)), byte);
  }
  EXPECT_EQ(pairs, 55);
  EXPECT_EQ(FoldLower(std::string("A\xC4Z\xD7\xDE\xDF")), "a\xE4z\xD7\xDE\xDF");
  EXPECT_EQ(FoldUpper(std::string("\xF7\xFE\xFF")), "\xF7\xFE\xFF");
  EXPECT_TRUE(EqualsFolded("LoadBrush", "loadBRUSH"));
  EXPECT_FALSE(EqualsFolded("a", "ab"));
}

TEST(ByteOrder, WritesWhatItReads) {
  std::uint8_t bytes[8];
  StoreBig<std::uint32_t>(bytes, 0x01020304);
  EXPECT_EQ(bytes[0], 1);
  EXPECT_EQ(LoadBig<std::uint32_t>(bytes), 0x01020304u);
  EXPECT_EQ(LoadLittle<std::uint32_t>(bytes), 0x04030201u);
  StoreLittle<std::uint64_t>(bytes, 0x8877665544332211u);
  EXPECT_EQ(bytes[0], 0x11);
  EXPECT_EQ(LoadLittle<std::uint64_t>(bytes), 0x8877665544332211u);
  StoreBig<std::uint8_t>(bytes, 0xAB);
  EXPECT_EQ(LoadBig<std::uint8_t>(bytes), 0xAB);
}

TEST(Checked, SeesOverflow) {
  EXPECT_EQ(CheckedMul<std::uint32_t>(65536, 65535), 4294901760u);
  EXPECT_FALSE(CheckedMul<std::uint32_t>(65536, 65536));
  EXPECT_FALSE(CheckedAdd<std::int32_t>(2147483647, 1));
}

}  // namespace
}  // namespace quillmere
