#include "codecs/gif_lzw.h"

#include <gtest/gtest.h>

#include <random>

namespace quillmere {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Encode(const Bytes& indexes, int bits) {
  Bytes out;
  EncodeGifData(indexes, bits, out);
  return out;
}

TEST(GifData, OnePixelOfTwoColours) {
  // Code size 2; clear (4), pixel 1, end (5) of three bits each: 0b101'001'100.
  EXPECT_EQ(Encode({1}, 1), (Bytes{2, 2, 0b01001100, 0b1, 0}));
}

TEST(GifData, ComesBackAsItWas) {
  std::mt19937 random(7);
  for (int bits = 1; bits <= 8; ++bits) {
    for (const std::size_t count : {1u, 2u, 3u, 250u, 5000u, 70000u}) {
      for (const unsigned variety : {1u, 2u, 1u << bits}) {
        Bytes indexes(count);
        for (std::uint8_t& index : indexes) {
          index = static_cast<std::uint8_t>(random() % std::min(variety, 1u << bits));
        }
        const Bytes data = Encode(indexes, bits);
        EXPECT_EQ(data[0], std::max(bits, 2));
        Bytes decoded(count);
        std::span<const std::uint8_t> rest(data);
        ASSERT_TRUE(DecodeGifData(rest, decoded));
        EXPECT_EQ(decoded, indexes);
        EXPECT_TRUE(rest.empty());
      }
    }
  }
}

TEST(GifData, BlocksHoldAtMost254Bytes) {
  std::mt19937 random(3);
  Bytes indexes(100000);
  for (std::uint8_t& index : indexes) index = static_cast<std::uint8_t>(random());
  const Bytes data = Encode(indexes, 8);
  std::size_t at = 1;
  while (data[at] != 0) {
    EXPECT_LE(data[at], 254);
    at += data[at] + 1u;
    ASSERT_LT(at, data.size());
    if (data[at] != 0 && data[at + data[at] + 1u] != 0) {
      EXPECT_EQ(data[at], 254);
    }
  }
  EXPECT_EQ(at + 1, data.size());
}

Status Decode(const Bytes& data, std::size_t count) {
  Bytes indexes(count);
  std::span<const std::uint8_t> rest(data);
  return DecodeGifData(rest, indexes);
}

TEST(GifData, BadCodesAndEarlyEndsAreErrors) {
  // Behind the clear: a code that no pixel has.
  EXPECT_FALSE(Decode({2, 2, 0b00'110'100, 0, 0}, 1));
  // Behind a pixel: a code two beyond the table (clear, 0, 7).
  EXPECT_FALSE(Decode({2, 2, 0b11'000'100, 0b1, 0}, 3));
  // The end comes before the picture is full (clear, 0, end).
  EXPECT_FALSE(Decode({2, 2, 0b01'000'100, 0b1, 0}, 2));
  // No data, cut data, a block longer than what is left, code sizes that are none.
  EXPECT_FALSE(Decode({}, 1));
  EXPECT_FALSE(Decode({2}, 1));
  EXPECT_FALSE(Decode({2, 0}, 1));
  EXPECT_FALSE(Decode({2, 200, 0b00'000'100}, 1));
  EXPECT_FALSE(Decode({0, 1, 0, 0}, 1));
  EXPECT_FALSE(Decode({9, 1, 0, 0}, 1));
}

TEST(GifData, TheCodeThatIsJustBeingMadeIsKnown) {
  // clear, 0, 6: the string "00" is entered by the very code that names it.
  Bytes indexes(3, 9);
  const Bytes data{2, 2, 0b10'000'100, 0b1, 0};
  std::span<const std::uint8_t> rest(data);
  ASSERT_TRUE(DecodeGifData(rest, indexes));
  EXPECT_EQ(indexes, (Bytes{0, 0, 0}));
}

}  // namespace
}  // namespace quillmere
