#include "lib/string_ops.h"

#include <gtest/gtest.h>

#include "lib/file_pattern.h"

namespace quillmere {
namespace {

constexpr std::size_t none = std::string_view::npos;

TEST(TextFinder, CountsFromTheBeginningAndNeverFindsNothing) {
  EXPECT_EQ(TextFinder("abcabc", "c", true).Find(3), 5u);
  EXPECT_EQ(TextFinder("abcabc", "abc", true).Find(0), 0u);
  EXPECT_EQ(TextFinder("abcabc", "abcd", true).Find(0), none);
  EXPECT_EQ(TextFinder("abc", "c", true).Find(3), none);
  EXPECT_EQ(TextFinder("abc", "", true).Find(0), none);
  EXPECT_EQ(TextFinder("", "a", true).Find(0), none);
  EXPECT_EQ(TextFinder(std::string_view("a\0b", 3), std::string_view("\0b", 2), true).Find(0), 1u);
}

TEST(TextFinder, IgnoresCaseOfLatinLettersOnly) {
  EXPECT_EQ(TextFinder("x\xC4Y", "\xE4y", false).Find(0), 1u);
  EXPECT_EQ(TextFinder("x\xC4Y", "\xE4y", true).Find(0), none);
  EXPECT_EQ(TextFinder("\xD7", "\xF7", false).Find(0), none);
}

TEST(TextFinder, MatchesDoNotOverlap) {
  EXPECT_EQ(TextFinder("aaaa", "aa", true).Count(0), 2u);
  EXPECT_EQ(TextFinder("aaaa", "aa", true).Count(1), 1u);
  EXPECT_EQ(TextFinder("aaaa", "", true).Count(0), 0u);
}

TEST(ReplaceText, KeepsWhatStandsBeforeTheStart) {
  EXPECT_EQ(*ReplaceText("aXaXa", "a", "bb", true, 0), "bbXbbXbb");
  EXPECT_EQ(*ReplaceText("aXaXa", "a", "", true, 1), "aXX");
  EXPECT_EQ(*ReplaceText("aXaXa", "x", "-", false, 0), "a-a-a");
  EXPECT_EQ(*ReplaceText("aaa", "aa", "b", true, 0), "ba");
  EXPECT_EQ(*ReplaceText("abc", "", "x", true, 0), "abc");
  EXPECT_EQ(*ReplaceText("abc", "c", "x", true, 99), "abc");
}

TEST(ReplaceText, RefusesAResultThatNoStringHolds) {
  const std::string many(70000, 'a');
  const std::string longText(70000, 'b');
  const Result<std::string> result = ReplaceText(many, "a", longText, true, 0);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error(), Error::OutOfMemory);
}

TEST(NumberInBase, ReadsWholeTextsOnly) {
  EXPECT_EQ(NumberInBase("ff", 16), 255);
  EXPECT_EQ(NumberInBase(" \t0xFF\n", 16), 255);
  EXPECT_EQ(NumberInBase("10 ", 2), 2);
  EXPECT_EQ(NumberInBase("12", 2), 0);
  EXPECT_EQ(NumberInBase("0x", 16), 0);
  EXPECT_EQ(NumberInBase("0x10", 36), 33 * 36 * 36 + 36);
  EXPECT_EQ(NumberInBase("zz", 36), 1295);
  EXPECT_EQ(NumberInBase("+7", 8), 7);
  EXPECT_EQ(NumberInBase("-1", 16), 4294967295.0);
  EXPECT_EQ(NumberInBase("- 1", 16), 0);
  EXPECT_EQ(NumberInBase("", 16), 0);
  EXPECT_EQ(NumberInBase("FFFFFFFFFFFFFFFFFFFFFFFF", 16), 4294967295.0);
}

TEST(NumberTexts, KeepTheirDigits) {
  EXPECT_EQ(BinaryText(5, 8), "00000101");
  EXPECT_EQ(BinaryText(0x8001, 16), "1000000000000001");
  EXPECT_EQ(BinaryText(0x101, 8), "00000001");
  EXPECT_EQ(CutDecimals("1.23456", 2), "1.23");
  EXPECT_EQ(CutDecimals("1.5", 0), "1");
  EXPECT_EQ(CutDecimals("1.5", -3), "1.");
  EXPECT_EQ(CutDecimals("1.5", 2147483647), "1.5");
  EXPECT_EQ(CutDecimals("2", 2), "2");
}

TEST(FilePattern, ListsExtensions) {
  EXPECT_EQ(PlatformFilePattern("jpg|.png"), "#?(.jpg|.png)");
  EXPECT_EQ(PlatformFilePattern("txt"), "#?(.txt)");
  EXPECT_EQ(PlatformFilePattern("#?.(a|b)"), "#?.(a|b)");
  for (const char* every : {"", "*", "#?", "|"}) EXPECT_EQ(PlatformFilePattern(every), "#?");
}

}  // namespace
}  // namespace quillmere
