// Each limit of the compiler, at the limit and one past it, and scripts that are nothing but deep.
#include <gtest/gtest.h>

#include "compile_helper.h"
#include "qmc/limits.h"

namespace quillmere::qmc {
namespace {

std::string Times(std::size_t count, const std::string& piece) {
  std::string out;
  for (std::size_t i = 0; i < count; ++i) out += piece;
  return out;
}

std::string Names(int count, const std::string& prefix) {
  std::string out;
  for (int i = 0; i < count; ++i) out += (i > 0 ? ", " : "") + prefix + std::to_string(i);
  return out;
}

/// The code of the first fault, 0 when the script compiles to something that verifies.
int FirstFault(const std::string& text) {
  const auto compilation = CompileForTest(text);
  if (!compilation->diagnostics.Empty()) {
    return static_cast<int>(compilation->diagnostics.List()[0].code);
  }
  const std::string bytes = WriteImage(compilation->code.main);
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  EXPECT_TRUE(ReadImage({data, bytes.size()}, ""));
  return 0;
}

TEST(Limit, Names) {
  EXPECT_EQ(FirstFault(std::string(64, 'n') + " = 1"), 0);
  EXPECT_EQ(FirstFault(std::string(65, 'n') + " = 1"), 1071);
}

TEST(Limit, Locals) {
  EXPECT_EQ(FirstFault("Local " + Names(200, "v")), 0);
  EXPECT_EQ(FirstFault("Local " + Names(201, "v")), 1117);
  // Blocks one behind the other share registers, but not in a script with labels.
  const std::string blocks = Times(3, "Block\nLocal " + Names(100, "v") + "\nEndBlock\n");
  EXPECT_EQ(FirstFault(blocks), 0);
  EXPECT_EQ(FirstFault(blocks + "label:\n"), 1117);
}

TEST(Limit, Parameters) {
  EXPECT_EQ(FirstFault("Function f(" + Names(100, "p") + ")\nEndFunction"), 0);
  EXPECT_EQ(FirstFault("Function f(" + Names(101, "p") + ")\nEndFunction"), 1119);
}

TEST(Limit, Upvalues) {
  const std::string locals = "Local " + Names(150, "v") + "\nFunction f()\nLocal " +
                             Names(150, "w") + "\nFunction g()\n x = {" + Names(150, "v") + "}\n";
  EXPECT_EQ(FirstFault(locals + "y = {" + Names(105, "w") + "}\nEndFunction\nEndFunction"), 0);
  EXPECT_EQ(FirstFault(locals + "y = {" + Names(106, "w") + "}\nEndFunction\nEndFunction"), 1118);
}

TEST(Limit, Registers) {
  EXPECT_EQ(FirstFault("f(" + Names(240, "v") + ")"), 0);
  EXPECT_EQ(FirstFault("f(" + Names(260, "v") + ")"), 1122);
  EXPECT_EQ(FirstFault("x = a" + Times(2000, " .. a")), 0);
}

TEST(Limit, Lists) {
  EXPECT_EQ(FirstFault("x = {" + Times(maxListItems, "1,") + "}"), 0);
  EXPECT_EQ(FirstFault("x = {" + Times(maxListItems + 1, "1,") + "}"), 1120);
}

TEST(Limit, Constants) {
  const auto numbers = [](int count) {
    std::string out;
    for (int i = 0; i < count; ++i) out += "x = " + std::to_string(1000 + i) + "\n";
    return out;
  };
  // One constant is the variable's name.
  EXPECT_EQ(FirstFault(numbers(262143)), 0);
  EXPECT_EQ(FirstFault(numbers(262144)), 1137);
}

TEST(Limit, Loops) {
  const std::string body = Times(70000, "x = y\n");
  EXPECT_EQ(FirstFault("While z\n" + body + "Wend"), 0);
  EXPECT_EQ(FirstFault("For i = 1 To 2\n" + body + "Next"), 1123);
}

TEST(Limit, Depth) {
  EXPECT_EQ(FirstFault("x = " + Times(150, "(") + "1" + Times(150, ")")), 0);
  for (const char* opening :
       {"(", "{", "-", "Not ", "a[", "f(", "Function()\nx = ", "{[", "1 + ("}) {
    EXPECT_EQ(FirstFault("x = " + Times(100000, opening)), 1110) << opening;
  }
  for (const char* opening : {"If x\n", "While x\n", "Repeat\n", "Block\n", "For i = 1 To 2\n",
                              "Function f()\n", "Switch x\nCase 1:\n", "If x Then "}) {
    EXPECT_EQ(FirstFault(Times(100000, opening)), 1110) << opening;
  }
}

TEST(Limit, Chains) {
  EXPECT_EQ(FirstFault("x = a" + Times(990, " + a")), 0);
  EXPECT_EQ(FirstFault("If a" + Times(990, " And a") + "\nEndIf"), 0);
  for (const char* link : {" + a", " And a", " = a", ".b", "[1]", "()", "->b()"}) {
    EXPECT_EQ(FirstFault("x = a" + Times(100000, link)), 1122) << link;
  }
  EXPECT_EQ(FirstFault("Function a" + Times(100000, ".b") + "()\nEndFunction"), 1122);
  // Chains at the left end of chains, in functions at the left end of chains.
  std::string nested = "a";
  for (int i = 0; i < 20; ++i) nested = "(" + nested + Times(900, " + a") + ")";
  EXPECT_EQ(FirstFault("x = " + nested), 1122);
  nested = "a";
  for (int i = 0; i < 20; ++i) {
    nested = "(Function()\nReturn " + nested + "\nEndFunction)()" + Times(900, " + a");
  }
  EXPECT_EQ(FirstFault("x = " + nested), 1122);
}

}  // namespace
}  // namespace quillmere::qmc
