#include "frame/argument_line.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

#include "frame/desktop_start.h"

namespace quillmere {
namespace {

Result<ArgumentLine> ParseArguments(std::vector<const char*> arguments) {
  const auto line = JoinArguments(arguments);
  if (!line) return Fail(line.error());
  return ParseArgumentLine(*line);
}

TEST(ArgumentLine, QuotesWhatIsNoSwitch) {
  const std::array arguments = {"my file.qma", "-QUIET", "-x", "", "a"};
  EXPECT_EQ(JoinArguments(arguments), "\"my file.qma\" -QUIET -x \"\" \"a\"");
  const auto line = ParseArguments({"my file.qma", "-QUIET", "-x", ""});
  ASSERT_TRUE(line);
  EXPECT_EQ(line->fileName, "my file.qma");
  EXPECT_TRUE(line->Has(Slot::Quiet));
  ASSERT_EQ(line->userArgs.size(), 1u);
  EXPECT_EQ(line->userArgs[0].name, "x");
  EXPECT_EQ(line->userArgs[0].value, "");
}

TEST(ArgumentLine, HasALimit) {
  const std::string longest(argumentLineLimit - 2, 'x');
  EXPECT_EQ(JoinArguments(std::array{longest.c_str()})->size(), argumentLineLimit);
  EXPECT_EQ(JoinArguments(std::array{longest.c_str(), "-a"}).error(), Error::WrongArguments);
  EXPECT_EQ(JoinArguments(std::array{(longest + "x").c_str()}).error(), Error::WrongArguments);
  EXPECT_EQ(ParseArgumentLine("\"" + longest + "\"")->fileName, longest);
  EXPECT_EQ(ParseArgumentLine("\"" + longest + "\" ").error(), Error::WrongArguments);
  EXPECT_EQ(JoinArguments({}), "");
}

TEST(ArgumentLine, FindsOptionsWithoutCaseAndLetsTheLastValueWin) {
  const auto line =
      ParseArgumentLine("-scrwidth 1 -SCRWIDTH 2 -ScrWidth=3 -borderless -BORDERLESS");
  ASSERT_TRUE(line);
  EXPECT_EQ((*line)[Slot::ScrWidth], "3");
  EXPECT_EQ((*line)[Slot::Borderless], "1");
  EXPECT_FALSE(line->fileName);
}

TEST(ArgumentLine, GivesUnknownSwitchesToTheScript) {
  const auto line = ParseArgumentLine("file -level 3 -name \"a b\" -flag -other -QUIET late");
  ASSERT_TRUE(line);
  EXPECT_EQ(line->fileName, "file");
  ASSERT_EQ(line->userArgs.size(), 4u);
  EXPECT_EQ(line->userArgs[0].value, "3");
  EXPECT_EQ(line->userArgs[1].value, "a b");
  EXPECT_FALSE(line->userArgs[2].value);
  EXPECT_EQ(line->userArgs[3].name, "other");
  EXPECT_EQ(line->userArgs[3].value, "late");
}

TEST(ArgumentLine, ServesAWaitingOptionFirst) {
  const auto line = ParseArgumentLine("-mine -DEPTH 24 value file");
  ASSERT_TRUE(line);
  EXPECT_EQ((*line)[Slot::Depth], "24");
  EXPECT_EQ(line->userArgs.at(0).value, "value");
  EXPECT_EQ(line->fileName, "file");
}

TEST(ArgumentLine, EndsANameAtTheFirstOtherCharacter) {
  const auto line = ParseArgumentLine("-under_score9:rest - x --y z");
  ASSERT_TRUE(line);
  ASSERT_EQ(line->userArgs.size(), 3u);
  EXPECT_EQ(line->userArgs[0].name, "under_score9");
  EXPECT_EQ(line->userArgs[0].value, "rest");
  EXPECT_EQ(line->userArgs[1].name, "");
  EXPECT_EQ(line->userArgs[1].value, "x");
  EXPECT_EQ(line->userArgs[2].value, "y");
  EXPECT_EQ(line->fileName, "z");
}

TEST(ArgumentLine, RefusesWhatMakesNoSense) {
  for (const char* text : {"a b", "-DEPTH", "-DEPTH -QUIET", "-DEPTH -24", "\"open", "-x \"open",
                           "file -BACKFILL", "\"a\"b"}) {
    const auto line = ParseArgumentLine(text);
    ASSERT_FALSE(line) << text;
    EXPECT_EQ(line.error(), Error::WrongArguments) << text;
  }
  EXPECT_FALSE(ParseArguments({"a\"b"})) << "a quote inside of an argument ends it";
  EXPECT_TRUE(ParseArgumentLine(""));
  EXPECT_TRUE(ParseArgumentLine("    "));
  EXPECT_EQ(ParseArgumentLine("\"\"")->fileName, "");
}

TEST(ArgumentLine, SurvivesLinesOfChance) {
  std::mt19937 random(3);
  constexpr std::string_view letters = "-\" aQ=UIET\\\xFF%";
  for (int run = 0; run < 20000; ++run) {
    std::string text(random() % 24, ' ');
    for (char& c : text) c = letters[random() % letters.size()];
    const auto line = ParseArgumentLine(text);
    EXPECT_EQ(line ? Error::WrongArguments : line.error(), Error::WrongArguments) << text;
  }
}

TEST(ArgumentLine, ComesFromAnIcon) {
  EXPECT_EQ(LineOfToolTypes({"QUIET", "DEPTH=24", "", "(WINDOW)", "TITLE=a = b", "EMPTY="}),
            "-QUIET -DEPTH \"24\" -TITLE \"a = b\" -EMPTY \"\"");
  EXPECT_EQ(LineOfToolTypes({}), "");
}

TEST(NumberArgument, ReadsEveryForm) {
  struct Case {
    const char* text;
    std::int32_t value;
    const char* rest;
  };
  for (const Case& test : {Case{"12", 12, ""},
                           {"-12", -12, ""},
                           {"$FF", 255, ""},
                           {"-$10", -16, ""},
                           {"0xfg", 15, "g"},
                           {"0X1F", 0, "X1F"},
                           {"%101", 5, ""},
                           {"%102", 2, "2"},
                           {"50%", 50, "%"},
                           {"-3.99x", -3, "x"},
                           {".5", 0, ""},
                           {"1e3", 1000, ""},
                           {"$FFFFFFFF", -1, ""},
                           {"$80000000", INT32_MIN, ""},
                           {"4294967296", INT32_MAX, ""},
                           {"-99999999999", INT32_MIN, ""},
                           {"007", 7, ""},
                           {"0", 0, ""},
                           {"$123456789ABCDEF012", -1, ""}}) {
    const auto number = ParseNumberArgument(test.text);
    ASSERT_TRUE(number) << test.text;
    EXPECT_EQ(number->value, test.value) << test.text;
    EXPECT_EQ(number->rest, test.rest) << test.text;
  }
}

TEST(NumberArgument, TellsFormsWithoutDigitsFromNoNumber) {
  for (const char* text : {"$", "$x", "0x", "0xg", "%", "%2", "-$", "-0x"}) {
    EXPECT_EQ(ParseNumberArgument(text).error(), Error::SyntaxError) << text;
  }
  for (const char* text : {"", "-", "a", "+1", " 1", ".", "--1", "-a", "inf", "nan"}) {
    EXPECT_EQ(ParseNumberArgument(text).error(), Error::ValueExpected) << text;
  }
}

}  // namespace
}  // namespace quillmere
