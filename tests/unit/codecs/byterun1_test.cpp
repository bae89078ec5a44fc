#include "codecs/byterun1.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>

namespace quillmere {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Pack(const Bytes& row) {
  Bytes out;
  PackByteRun1(row, out);
  return out;
}

TEST(ByteRun1, SplitsAsThePackerAlwaysDid) {
  EXPECT_EQ(Pack({7}), (Bytes{0, 7}));
  EXPECT_EQ(Pack({7, 8}), (Bytes{1, 7, 8}));
  // Two equal bytes at the start make a run, later three are needed.
  EXPECT_EQ(Pack({7, 7}), (Bytes{0xFF, 7}));
  EXPECT_EQ(Pack({1, 7, 7}), (Bytes{2, 1, 7, 7}));
  EXPECT_EQ(Pack({1, 7, 7, 7}), (Bytes{0, 1, 0xFE, 7}));
  EXPECT_EQ(Pack({7, 7, 1, 1, 2}), (Bytes{0xFF, 7, 0xFF, 1, 0, 2}));
}

TEST(ByteRun1, NoPieceIsLongerThan128) {
  EXPECT_EQ(Pack(Bytes(128, 5)), (Bytes{0x81, 5}));
  EXPECT_EQ(Pack(Bytes(129, 5)), (Bytes{0x81, 5, 0, 5}));
  EXPECT_EQ(Pack(Bytes(130, 5)), (Bytes{0x81, 5, 0xFF, 5}));
  Bytes rising(129);
  for (std::size_t i = 0; i < rising.size(); ++i) rising[i] = static_cast<std::uint8_t>(i);
  Bytes packed{127};
  std::copy_n(rising.begin(), 128, std::back_inserter(packed));
  packed.insert(packed.end(), {0, 128});
  EXPECT_EQ(Pack(rising), packed);
}

TEST(ByteRun1, PackedRowsUnpackToThemselves) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    Bytes row(1 + random() % 600);
    for (std::uint8_t& byte : row) byte = static_cast<std::uint8_t>(random() % (1 + round % 4));
    Bytes unpacked;
    const Bytes packed = Pack(row);
    for (std::size_t i = 0; i < packed.size();) {
      const int n = static_cast<std::int8_t>(packed[i++]);
      ASSERT_NE(n, -128);
      if (n >= 0) {
        unpacked.insert(unpacked.end(), packed.begin() + static_cast<std::ptrdiff_t>(i),
                        packed.begin() + static_cast<std::ptrdiff_t>(i) + n + 1);
        i += static_cast<std::size_t>(n) + 1;
      } else {
        unpacked.insert(unpacked.end(), static_cast<std::size_t>(1 - n), packed[i++]);
      }
    }
    ASSERT_EQ(unpacked, row);
  }
}

}  // namespace
}  // namespace quillmere
