#include "base/number_text.h"

#include <gtest/gtest.h>

#include <cmath>

#include "base/random.h"

namespace quillmere {
namespace {

struct Case {
  std::string_view text;
  double value;
  std::size_t length;
};

TEST(NumberText, ReadsEachFormAndCountsItsCharacters) {
  const Case cases[] = {
      {"$10", 16, 3},
      {"-$fFg", -255, 4},
      {"%101", 5, 4},
      {"%12", 1, 2},
      {"0x1F", 31, 4},
      {"0", 0, 1},
      {"12.5%", 12.5, 4},
      {"-.5x", -0.5, 3},
      {"1e3", 1000, 3},
      {"10em", 10, 2},
      {"7.", 7, 2},
      {"0X10", 0, 1},
      {"$100000000", 4294967295.0, 10},
      {"$FFFFFFFFFFFFFFFFFFFF", 4294967295.0, 21},
  };
  for (const Case& item : cases) {
    const Result<NumberText> number = ParseNumberText(item.text);
    ASSERT_TRUE(number) << item.text;
    EXPECT_EQ(number->value, item.value) << item.text;
    EXPECT_EQ(number->length, item.length) << item.text;
  }
  EXPECT_EQ(ParseNumberText("1e999")->value, HUGE_VAL);
  EXPECT_EQ(ParseNumberText("-1e999")->value, -HUGE_VAL);
  EXPECT_EQ(ParseNumberText("1e-999")->value, 0);
}

TEST(NumberText, RefusesWhatIsNoNumber) {
  for (const std::string_view text : {"$", "-$", "0x", "0x-1", "$ 1", "$-1", "%", "%2"}) {
    const Result<NumberText> number = ParseNumberText(text);
    ASSERT_FALSE(number) << text;
    EXPECT_EQ(number.error(), Error::SyntaxError) << text;
  }
  for (const std::string_view text :
       {"", "-", "--1", "-+1", "+1", " 1", ".", "inf", "-inf", "nan", "x"}) {
    const Result<NumberText> number = ParseNumberText(text);
    ASSERT_FALSE(number) << text;
    EXPECT_EQ(number.error(), Error::ValueExpected) << text;
  }
}

TEST(Random, FollowsThePublishedSequence) {
  qmRandomState random;
  qmRandomSeed(random, 1);
  // The first two draws of drand48 after srand48(1).
  EXPECT_DOUBLE_EQ(qmRandomDouble(random), 0.041630344771878214);
  EXPECT_DOUBLE_EQ(qmRandomDouble(random), 0.45449244472862915);
}

}  // namespace
}  // namespace quillmere
