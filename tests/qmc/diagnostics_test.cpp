// What the compiler says about faulty scripts: the code, and the place it points at.
#include <gtest/gtest.h>

#include "compile_helper.h"

namespace quillmere::qmc {
namespace {

struct Fault {
  const char* script;
  const char* faults;
};

void PrintTo(const Fault& fault, std::ostream* out) {
  *out << fault.script;
}

class FaultyScript : public testing::TestWithParam<Fault> {};

TEST_P(FaultyScript, IsReportedAtItsPlace) {
  EXPECT_EQ(FaultsOf(GetParam().script), GetParam().faults);
}

INSTANTIATE_TEST_SUITE_P(
    Words, FaultyScript,
    testing::Values(Fault{"x = \"abc\ny = 1", "1:5 1006"},
                    Fault{"x = 1\n/* never closed", "2:1 1035"}, Fault{"x = 1.5z", "1:5 1037"},
                    Fault{"x = \"a\\qb\"", "1:7 1047"}, Fault{"x = \"\\256\"", "1:6 1112"},
                    Fault{"x = 'ab'", "1:5 1113"}, Fault{"x = ''", "1:5 1114"},
                    Fault{"x = $FF.5", "1:8 1115"}, Fault{"x = 1..2", "1:6 1116"},
                    Fault{"x = $G", "1:5 1192"}, Fault{"x = 0xZ", "1:5 1192"},
                    Fault{"x = 1 ? 2", "1:7 1099 1:9 1099"}, Fault{"x = #", "1:5 1020"}));

INSTANTIATE_TEST_SUITE_P(
    Blocks, FaultyScript,
    testing::Values(Fault{"If x\n y()", "1:1 1013"}, Fault{"EndIf", "1:1 1012"},
                    Fault{"Else", "1:1 1011"}, Fault{"For i = 1 To 2\n y()", "1:1 1015"},
                    Fault{"Next", "1:1 1016"}, Fault{"While x\n y()", "1:1 1017"},
                    Fault{"Wend", "1:1 1021"}, Fault{"Repeat\n y()", "1:1 1095"},
                    Fault{"Until x", "1:1 1096"}, Fault{"Forever", "1:1 1173"},
                    Fault{"Function f()\n y()", "1:1 1097"}, Fault{"EndFunction", "1:1 1098"},
                    Fault{"Switch x\nCase 1: y()", "1:1 1126"}, Fault{"EndSwitch", "1:1 1127"},
                    Fault{"Block\n y()", "1:1 1128"}, Fault{"EndBlock", "1:1 1129"},
                    Fault{"While x\n If y\n  z()\nWend", "2:2 1013"},
                    Fault{"Switch x\nCase y: z()\nEndSwitch", "2:6 1125"},
                    Fault{"Switch x\nCase 1 z()\nEndSwitch", "2:8 1124"},
                    Fault{"If x y()\nEndIf", "1:6 1102"}));

INSTANTIATE_TEST_SUITE_P(Jumps, FaultyScript,
                         testing::Values(Fault{"Break", "1:1 1101"}, Fault{"Continue", "1:1 1164"},
                                         Fault{"While x\n Break 2\nWend", "2:8 1165"},
                                         Fault{"While x\n Break 0\nWend", "2:8 1165"},
                                         Fault{"While x\n Break 1.5\nWend", "2:8 1166"},
                                         Fault{"Goto nowhere", "1:6 1072"},
                                         Fault{"a:\nb()\na:\n", "3:1 1073"},
                                         Fault{"Function f()\nGoto a\nEndFunction\na:", "2:1 1150"},
                                         Fault{"Function f()\na:\nEndFunction", "2:1 1093"},
                                         Fault{"If x\na:\nEndIf", "2:1 1028"},
                                         Fault{"For i = 1 To 2\na:\nNext", "2:1 1027"},
                                         Fault{"While x\na:\nWend", "2:1 1029"},
                                         Fault{"Block\na:\nEndBlock", "2:1 1160"},
                                         Fault{"Return 5", "1:8 1054"}));

INSTANTIATE_TEST_SUITE_P(
    Commands, FaultyScript,
    testing::Values(Fault{"x = 1 y = 2", "1:7 1008"}, Fault{"x =", "1:4 1024"},
                    Fault{"Print \"x\"", "1:7 1103"}, Fault{"x = (1 + 2", "1:11 1104"},
                    Fault{"f(1, 2", "1:7 1023"}, Fault{"x = t[1", "1:8 1108"},
                    Fault{"x = {1, 2", "1:10 1106"}, Fault{"f() = 3", "1:2 1026"},
                    Fault{"x = 1)", "1:6 1186"}, Fault{"Local If = 1", "1:7 1151"},
                    Fault{"Local a, a", "1:10 1036"}, Fault{"#A = 1", "1:1 1075"},
                    Fault{"x = #NOSUCH", "1:5 1042"},
                    Fault{"Const #A = 1\nConst #A = 2", "2:7 1077"},
                    Fault{"Const #PI = 3", "1:7 1077"}, Fault{"For i 1 To 2\nNext", "1:7 1062"},
                    Fault{"For i = 1, 2\nNext", "1:10 1102"}, Fault{"", "1:1 1034"},
                    Fault{"Function f(1)\nEndFunction", "1:12 1100"}));

TEST(Diagnostics, TellsSeveralFaultsOfOneScript) {
  EXPECT_EQ(FaultsOf("x = )\ny = 1\nz = (2\nIf a\n b(,)\nEndIf\nWend"),
            "1:5 1024 3:7 1104 5:4 1024 7:1 1021");
}

TEST(Diagnostics, ALineThatEndsTooEarlyKeepsTheNext) {
  EXPECT_EQ(FaultsOf("While y\n x = 5 +\nWend"), "2:9 1024");
  EXPECT_EQ(FaultsOf("If y And\n x = 5\nEndIf"), "");
  EXPECT_EQ(FaultsOf("f(1,\nEndIf"), "1:5 1024 2:1 1012");
}

TEST(Diagnostics, StopsAfterTwenty) {
  std::string script;
  for (int i = 0; i < 100; ++i) script += "x = )\n";
  EXPECT_EQ(CompileForTest(script)->diagnostics.List().size(), 20u);
}

TEST(Diagnostics, ShowsLineAndCaret) {
  const auto compilation = CompileForTest("ok()\n\tx = y z\n");
  EXPECT_EQ(compilation->diagnostics.Render(compilation->sources),
            "test.qms:2:8: Multiple commands in one line have to be separated by a colon! (1008)\n"
            "  \tx = y z\n"
            "  \t      ^\n");
}

}  // namespace
}  // namespace quillmere::qmc
