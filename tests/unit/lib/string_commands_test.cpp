#include <gtest/gtest.h>

#include "unit/lib/machine.h"

namespace quillmere {
namespace {

TEST(StringCommands, CutTexts) {
  CheckCommands({
      {"LeftStr", {"abc", 0}, "\"\""},
      {"LeftStr", {"abc", -1}, "\"\""},
      {"LeftStr", {"abc", 2.9}, "\"ab\""},
      {"LeftStr", {"abc", 9}, "\"abc\""},
      {"LeftStr", {12345, 2}, "\"12\""},
      {"LeftStr", {{}, 2}, "\"\""},
      {"RightStr", {"abc", 2}, "\"bc\""},
      {"RightStr", {"abc", -2}, "\"\""},
      {"RightStr", {"abc", 4e9}, "\"abc\""},
      {"MidStr", {"abc", 1, 1}, "\"b\""},
      {"MidStr", {"abc", 1, 99}, "\"bc\""},
      {"MidStr", {"abc", 3, 1}, "\"\""},
      {"MidStr", {"abc", 0, -1}, "\"\""},
      {"UnleftStr", {"abc", 1}, "\"ab\""},
      {"UnleftStr", {"abc", 4}, "\"\""},
      {"UnleftStr", {"abc", -1}, "error 1055"},
      {"UnrightStr", {"abc", 1}, "\"bc\""},
      {"UnrightStr", {"abc", 4}, "\"\""},
      {"UnrightStr", {"abc", -1}, "error 1055"},
      {"UnmidStr", {"abcde", 1, 2}, "\"ade\""},
      {"UnmidStr", {"abcde", 1, 0}, "\"abcde\""},
      {"UnmidStr", {"abcde", 3, 2147483647}, "\"abc\""},
      {"UnmidStr", {"abcde", 9, 1}, "\"abcde\""},
      {"UnmidStr", {"abcde", -1, 1}, "error 1055"},
      {"UnmidStr", {"abcde", 1, -1}, "error 1055"},
      {"TrimStr", {"xxaxx", "x", 0}, "\"axx\""},
      {"TrimStr", {"xxaxx", "x", 1}, "\"xxa\""},
      {"TrimStr", {"xxx", "x", 0}, "\"\""},
      {"TrimStr", {"xxx", "x", 1}, "\"\""},
      {"TrimStr", {"", "x", 1}, "\"\""},
      {"TrimStr", {"aa", "ab", 0}, "error 1055"},
      {"TrimStr", {"aa", "", 0}, "error 1055"},
  });
}

TEST(StringCommands, PutTextsTogether) {
  CheckCommands({
      {"InsertStr", {"abc", "XY", 1}, "\"aXYbc\""},
      {"InsertStr", {"abc", "XY", 9}, "\"abcXY\""},
      {"InsertStr", {"abcd", "XY", 1, 1}, "\"aXYd\""},
      {"InsertStr", {"abc", "XYZ", 2, 1}, "\"abXYZ\""},
      {"InsertStr", {"abc", "XY", 3, 1}, "\"abcXY\""},
      {"InsertStr", {"", "XY", 5}, "\"XY\""},
      {"InsertStr", {"abc", "", 1, 1}, "\"abc\""},
      {"InsertStr", {"abc", "X", -1}, "error 1055"},
      {"AddStr", {"a", 1.5}, "\"a1.5\""},
      {"AddStr", {{}, "b"}, "\"b\""},
      {"PadNum", {7, 3}, "\"007\""},
      {"PadNum", {1234, 2}, "\"1234\""},
      {"PadNum", {0, 1}, "\"0\""},
      {"PadNum", {-1, 2}, "error 1055"},
      {"PadNum", {1, 0}, "error 1055"},
      {"Chr", {65}, "\"A\""},
      {"Chr", {0}, "\"\""},
      {"Chr", {255}, "\"\xFF\""},
      {"Chr", {256}, "error 1055"},
      {"Chr", {-1}, "error 1055"},
      {"LowerStr", {"A\xC4\xD7\xDE\xDFz"}, "\"a\xE4\xD7\xDE\xDFz\""},
      {"UpperStr", {"a\xE4\xF7\xFE\xFF"}, "\"A\xC4\xF7\xFE\xFF\""},
  });
}

TEST(StringCommands, LookIntoTexts) {
  CheckCommands({
      {"StrLen", {std::string_view("a\0b", 3)}, "3"},
      {"Asc", {"\xE4"}, "228"},
      {"Asc", {""}, "0"},
      {"FindStr", {"abcabc", "c", 1, 3}, "5"},
      {"FindStr", {"abc", "C"}, "-1"},
      {"FindStr", {"abc", "C", 0}, "2"},
      {"FindStr", {"abc", "C", 0.9}, "2"},
      {"FindStr", {"abc", "a", 1, 3}, "-1"},
      {"FindStr", {"abc", ""}, "-1"},
      {"FindStr", {"abc", "a", 1, -1}, "error 1055"},
      {"CountStr", {"aaaa", "aa"}, "2"},
      {"CountStr", {"aAaA", "A", 0, 1}, "3"},
      {"CountStr", {"aaaa", "a", 1, -1}, "error 1055"},
      {"ReplaceStr", {"abcabc", "b", "--"}, "\"a--ca--c\""},
      {"ReplaceStr", {"abcabc", "B", "", 0, 2}, "\"abcac\""},
      {"ReplaceStr", {"abc", "", "x"}, "\"abc\""},
      {"ReplaceStr", {"abc", "b", "x", 1, -1}, "error 1055"},
      {"SplitStr", {"a,,b", ","}, "table 3"},
      {"SplitStr", {"", ","}, "table 1"},
      {"SplitStr", {"a", ",,"}, "error 1055"},
  });
}

TEST(StringCommands, ConvertNumbers) {
  CheckCommands({
      {"ToNumber", {"ff", 16}, "255"},
      {"ToNumber", {"ff", 1}, "error 1055"},
      {"ToNumber", {"ff", 0}, "error 1055"},
      {"ToNumber", {"ff", 37}, "error 1055"},
      {"ToNumber", {"zz"}, "0"},
      {"ToNumber", {" 12 "}, "12"},
      {"ToNumber", {"$10"}, "16"},
      {"ToNumber", {"inf"}, "0"},
      {"ToNumber", {{}}, "0"},
      {"ToNumber", {"10 ", 2}, "2"},
      {"Val", {"$10"}, "16 3"},
      {"Val", {"-%11x"}, "-3 4"},
      {"Val", {"12.5 apples"}, "12.5 4"},
      {"Val", {"apples"}, "0 0"},
      {"Val", {"$"}, "0 0"},
      {"BinStr", {5, 7}, "\"00000101\""},
      {"BinStr", {-1, 6}, "\"1111111111111111\""},
      {"BinStr", {1}, "\"00000000000000000000000000000001\""},
      {"BinStr", {1, 2}, "\"\""},
      {"HexStr", {255}, "\"$FF\""},
      {"HexStr", {-1}, "\"$FFFFFFFF\""},
      {"StrStr", {1.23456}, "\"1.23\""},
      {"StrStr", {1.5, 0}, "\"1\""},
      {"StrStr", {-1.5, -1}, "\"-1.\""},
      {"StrStr", {2}, "\"2\""},
      {"ToString", {{}}, "\"Nil\""},
      {"ToString", {1e15}, "\"1e+15\""},
      {"ToString", {"x"}, "\"x\""},
  });
}

TEST(StringCommands, CheckTheirArguments) {
  CheckCommands({
      {"LeftStr", {"abc"}, "error 1014"},
      {"LeftStr", {"abc", 1, 2}, "error 1193"},
      {"LeftStr", {"abc", "x"}, "error 1138"},
      {"FindStr", {"abc", "b", "x"}, "error 1138"},
      {"StrLen", {}, "error 1014"},
  });
}

TEST(StringCommands, MakeListsFromTheIndexZero) {
  Machine machine;
  VmState& state = machine.State();
  const auto entry = [&state](int index) {
    vmRawGetInt(state, 1, index);
    std::string text(vmToBytes(state, -1));
    vmPop(state, 1);
    return text;
  };
  machine.Call("SplitStr", {"a,,b", ","});
  EXPECT_EQ(entry(0) + '|' + entry(1) + '|' + entry(2) + '|' + entry(3), "a||b|");
  machine.Call("StrToArray", {"A\xFF"});
  EXPECT_EQ(entry(0) + '|' + entry(1) + '|' + entry(2) + '|' + entry(3), "65|255|0|");
}

}  // namespace
}  // namespace quillmere
