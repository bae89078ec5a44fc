#include "lib/dates.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

TEST(Dates, WriteWhatTheyCompare) {
  const LocalTime time{.year = 2031, .month = 12, .day = 5, .hour = 7, .minute = 8, .second = 9};
  EXPECT_EQ(LongDateText(time), "05-Dec-2031 07:08:09");
  EXPECT_EQ(CompareDateTexts(LongDateText(time), "05-dEC-2031 07:08:09", false), 0);
}

TEST(Dates, TheFirstDifferenceDecides) {
  const auto compare = [](std::string_view a, std::string_view b) {
    return CompareDateTexts(a, b, a.size() == 11).value_or(-1);
  };
  EXPECT_EQ(compare("01-Jan-2010", "02-Jan-2010"), 2);
  EXPECT_EQ(compare("31-Jan-2010", "01-Feb-2010"), 2);
  EXPECT_EQ(compare("01-Jan-2011", "31-Dec-2010"), 1);
  EXPECT_EQ(compare("01-Jan-2010 00:00:01", "01-Jan-2010 00:00:00"), 1);
  EXPECT_EQ(compare("01-Jan-2010 10:00:00", "01-Jan-2010 09:59:59"), 1);
  EXPECT_EQ(compare("01-Jan-2010 10:00:00", "01-Jan-2010 10:01:00"), 2);
}

TEST(Dates, RefuseOtherForms) {
  const auto isRefused = [](std::string_view text, bool dateOnly) {
    const std::string_view good = dateOnly ? "01-Jan-2010" : "01-Jan-2010 00:00:00";
    const Result<int> result = CompareDateTexts(good, text, dateOnly);
    return !result && result.error() == Error::InvalidDateFormat;
  };
  EXPECT_TRUE(isRefused("01-Jan-2010", false));
  EXPECT_TRUE(isRefused("01-Jan-2010 00:00:00", true));
  EXPECT_TRUE(isRefused("1-Jan-2010", true));
  EXPECT_TRUE(isRefused("01-Jax-2010", true));
  EXPECT_TRUE(isRefused("0x-Jan-2010", true));
  EXPECT_TRUE(isRefused("01-Jan--010", true));
  EXPECT_TRUE(isRefused("", true));
}

}  // namespace
}  // namespace quillmere
