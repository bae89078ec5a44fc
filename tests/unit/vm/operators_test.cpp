// Arithmetic, comparison and joining on every kind of operand, through every form that the loader
// gives an instruction: two registers, one constant on either side, two constants.
#include <gtest/gtest.h>

#include <limits>

#include "unit/vm/machine.h"

namespace quillmere {
namespace {

const ImageConstant nil;

ImageConstant Text(const char* text) {
  return std::string(text);
}

/// The results of `R(0) = RK(b) op RK(c)` in all four forms, which have to agree.
std::string Binary(VmOp op, const ImageConstant& b, const ImageConstant& c) {
  Machine machine;
  std::string all;
  const int forms[][2] = {{1, 2}, {1, 251}, {250, 2}, {250, 251}};
  for (const auto& [left, right] : forms) {
    const std::string result = machine.Run(
        MakeFunction(3, {b, c},
                     {vmEncodeABx(OP_LOADK, 1, 0), vmEncodeABx(OP_LOADK, 2, 1),
                      vmEncodeABC(op, 0, left, right), vmEncodeABC(OP_RETURN, 0, 2, 0)}));
    if (all.empty()) {
      all = result;
    } else if (all != result) {
      return all + " but " + result;
    }
  }
  return all;
}

/// Whether the comparison is true, in all forms, and with both senses of the jump.
std::string Compare(VmOp op, const ImageConstant& b, const ImageConstant& c) {
  Machine machine;
  std::string all;
  const int forms[][2] = {{1, 2}, {1, 251}, {250, 2}, {250, 251}};
  for (const auto& [left, right] : forms) {
    for (int sense = 0; sense < 2; ++sense) {
      // The jump skips the load of the value for "not jumped".
      const std::string result = machine.Run(
          MakeFunction(3, {b, c},
                       {vmEncodeABx(OP_LOADK, 1, 0), vmEncodeABx(OP_LOADK, 2, 1),
                        vmEncodeABC(OP_LOADNUM, 0, sense, 0), vmEncodeABC(op, sense, left, right),
                        vmEncodeJump(0, 1), vmEncodeABC(OP_LOADNUM, 0, 1 - sense, 0),
                        vmEncodeABC(OP_RETURN, 0, 2, 0)}));
      if (all.empty()) {
        all = result;
      } else if (all != result) {
        return all + " but " + result;
      }
    }
  }
  return all;
}

struct BinaryCase {
  VmOp op;
  ImageConstant b;
  ImageConstant c;
  const char* result;
};

TEST(Operators, ArithmeticConverts) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const BinaryCase cases[] = {
      {OP_ADD, nil, 1.0, "1"},
      {OP_MUL, Text("2"), Text("3"), "6"},
      {OP_ADD, Text("a"), 1.0, "error 1030"},
      {OP_ADD, Text("12 "), 1.0, "13"},
      {OP_ADD, Text("12a"), 1.0, "error 1030"},
      {OP_ADD, Text(""), 1.0, "error 1030"},
      {OP_ADD, Text("0x10"), Text("$10"), "32"},
      {OP_ADD, Text("$"), 0.0, "error 1030"},
      {OP_ADD, Text("0x"), 0.0, "error 1030"},
      {OP_ADD, Text("$-1"), 0.0, "error 1030"},
      {OP_ADD, Text("$ 1"), 0.0, "error 1030"},
      {OP_ADD, Text("$1FFFFFFFF"), 0.0, "4294967295"},
      {OP_ADD, Text("1e2"), Text(" -.5"), "99.5"},
      {OP_ADD, Text("inf"), 0.0, "error 1030"},
      {OP_ADD, Text("nan"), 0.0, "error 1030"},
      {OP_ADD, Text("0x1p4"), 0.0, "error 1030"},
      {OP_SUB, 1.5, 3.0, "-1.5"},
      {OP_DIV, 1.0, 4.0, "0.25"},
      {OP_DIV, 1.0, 0.0, "error 1089"},
      {OP_DIV, 1.0, -0.0, "error 1089"},
      {OP_DIV, 1.0, nil, "error 1089"},
      {OP_POW, 2.0, -1.0, "0.5"},
      {OP_POW, nil, 0.0, "1"},
      {OP_SUB, inf, inf, "nan"},
      {OP_ADD, nan, 1.0, "nan"},
  };
  for (const BinaryCase& test : cases)
    EXPECT_EQ(Binary(test.op, test.b, test.c), test.result) << vmOpInfo(test.op).name;
}

TEST(Operators, IntegersTruncateAndSaturate) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const BinaryCase cases[] = {
      {OP_DIVINT, 7.0, 2.0, "3"},
      {OP_DIVINT, -7.0, 2.0, "-3"},
      {OP_DIVINT, 7.9, 2.9, "3"},
      {OP_DIVINT, 1.0, 0.5, "error 1089"},
      {OP_DIVINT, 1e10, 1.0, "2147483647"},
      {OP_DIVINT, -1e10, 1.0, "-2147483648"},
      {OP_DIVINT, -2147483648.0, -1.0, "-2147483648"},
      {OP_DIVINT, nan, 1.0, "-2147483648"},
      {OP_MOD, -7.0, 2.0, "-1"},
      {OP_MOD, 7.5, 2.0, "1"},
      {OP_MOD, 7.0, -2.0, "1"},
      {OP_MOD, 7.0, 0.0, "error 1089"},
      {OP_MOD, -2147483648.0, -1.0, "0"},
      {OP_LSH, 1.0, 31.0, "2147483648"},
      {OP_LSH, 1.0, 32.0, "0"},
      {OP_LSH, 1.0, 64.0, "1"},
      {OP_LSH, 3.0, 31.0, "2147483648"},
      {OP_RSH, -1.0, 28.0, "15"},
      {OP_RSH, -1.0, 32.0, "0"},
      {OP_RSH, 4294967295.0, 31.0, "1"},
      {OP_OR, -1.0, 0.0, "4294967295"},
      {OP_OR, 4294967296.0, 0.0, "4294967295"},
      {OP_AND, 6.0, Text("3"), "2"},
      {OP_XOR, nil, 5.0, "5"},
      {OP_XOR, 4294967295.0, 1.0, "4294967294"},
  };
  for (const BinaryCase& test : cases)
    EXPECT_EQ(Binary(test.op, test.b, test.c), test.result) << vmOpInfo(test.op).name;
}

TEST(Operators, ComparisonsKeepTheirTable) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const BinaryCase cases[] = {
      {OP_EQ, nil, nil, "1"},
      {OP_EQ, nil, 0.0, "1"},
      {OP_EQ, nil, 1.0, "0"},
      {OP_EQ, nil, Text(""), "1"},
      {OP_EQ, Text("0"), nil, "0"},
      {OP_EQ, 0.0, Text(""), "error 1130"},
      {OP_EQ, 0.0, -0.0, "1"},
      {OP_EQ, nan, nan, "0"},
      {OP_EQ, Text("a"), Text("a"), "1"},
      {OP_EQ, Text("a"), Text("A"), "0"},
      {OP_LT, 1.0, Text("2"), "error 1130"},
      {OP_LT, nil, 1.0, "1"},
      {OP_LT, -1.0, nil, "1"},
      {OP_LT, nil, Text("a"), "0"},
      {OP_LT, Text("a"), nil, "0"},
      {OP_LT, nil, nil, "0"},
      {OP_LT, Text("a"), Text("b"), "1"},
      {OP_LT, Text("a"), Text("a"), "0"},
      {OP_LT, Text("a"), Text("ab"), "1"},
      {OP_LT, Text("\x7F"), Text("\xE4"), "1"},
      {OP_LT, std::string("a\0b", 3), Text("a\1"), "1"},
      {OP_LT, Text("a"), std::string("a\0", 2), "1"},
      {OP_LT, nan, 1.0, "0"},
      {OP_LT, 1.0, nan, "0"},
      {OP_LE, nil, nil, "1"},
      {OP_LE, nil, 0.0, "1"},
      {OP_LE, 0.0, nil, "1"},
      {OP_LE, nil, Text(""), "0"},
      {OP_LE, nan, nan, "0"},
      {OP_LE, Text("b"), Text("a"), "0"},
  };
  for (const BinaryCase& test : cases)
    EXPECT_EQ(Compare(test.op, test.b, test.c), test.result) << vmOpInfo(test.op).name;
}

std::string Unary(VmOp op, const ImageConstant& b) {
  Machine machine;
  return machine.Run(MakeFunction(
      2, {b},
      {vmEncodeABx(OP_LOADK, 1, 0), vmEncodeABC(op, 0, 1, 0), vmEncodeABC(OP_RETURN, 0, 2, 0)}));
}

TEST(Operators, UnaryOnes) {
  EXPECT_EQ(Unary(OP_UNM, 2.5), "-2.5");
  EXPECT_EQ(Unary(OP_UNM, nil), "-0");
  EXPECT_EQ(Unary(OP_UNM, Text("3")), "-3");
  EXPECT_EQ(Unary(OP_UNM, Text("x")), "error 1030");
  EXPECT_EQ(Unary(OP_BNOT, 0.0), "4294967295");
  EXPECT_EQ(Unary(OP_BNOT, nil), "4294967295");
  EXPECT_EQ(Unary(OP_BNOT, Text("x")), "error 1030");
  EXPECT_EQ(Unary(OP_NOT, Text("")), "1");
  EXPECT_EQ(Unary(OP_NOT, Text("0")), "0");
  EXPECT_EQ(Unary(OP_NOT, std::string("\0x", 2)), "1");
  EXPECT_EQ(Unary(OP_NOT, -0.0), "1");
  EXPECT_EQ(Unary(OP_NOT, nil), "1");
}

TEST(Operators, JoiningConvertsNumbersAndNil) {
  Machine machine;
  const auto join = [&](std::vector<ImageConstant> parts) {
    std::vector<VmInstruction> code;
    const int count = static_cast<int>(parts.size());
    for (int i = 0; i < count; ++i) code.push_back(vmEncodeABx(OP_LOADK, i, i));
    code.push_back(vmEncodeABC(OP_CONCAT, 0, 0, count - 1));
    code.push_back(vmEncodeABC(OP_RETURN, 0, 2, 0));
    return machine.Run(MakeFunction(count, std::move(parts), code));
  };
  EXPECT_EQ(join({Text("a"), nil, 1.0, 0.1}), "\"a10.1\"");
  EXPECT_EQ(join({1e15, Text(" "), 123456789012345.0}), "\"1e+15 1.2345678901234e+14\"");
  EXPECT_EQ(join({-0.0, -5.0, 2147483648.0}), "\"-0-52147483648\"");
  EXPECT_EQ(join({nil, nil}), "\"\"");
}

/// A table with every event set to a native that returns the event's name and its operands.
CommandResult EventSpy(VmState& state) {
  vmPushValue(state, vmUpvalueIndex(1));
  for (int i = 1; i <= 2; ++i) {
    vmPushString(state, ":");
    if (vmType(state, i) == VmType::Table) {
      vmPushString(state, "t");
    } else {
      vmPushValue(state, i);
    }
  }
  vmConcat(state, 5);
  return 1;
}

void PushSpied(VmState& state) {
  vmNewTable(state);
  vmNewTable(state);
  for (const char* name :
       {"__add", "__sub", "__mul", "__div", "__divint", "__mod", "__lsh", "__rsh", "__or", "__and",
        "__xor", "__pow", "__unm", "__not", "__concat"}) {
    vmPushString(state, name);
    vmPushString(state, name);
    vmPushClosure(state, EventSpy, 1);
    vmRawSet(state, -3);
  }
  vmSetMetaTable(state, -2);
}

TEST(Operators, EventsGetTheOperandsAsTheyWere) {
  const char* const names[] = {"__add", "__sub", "__mul", "__div", "__divint", "__mod",
                               "__lsh", "__rsh", "__or",  "__and", "__xor",    "__pow"};
  Machine machine;
  for (int op = OP_ADD; op <= OP_POW; ++op) {
    for (const bool tableFirst : {true, false}) {
      ImageFunction function = MakeFunction(
          3, {Text("7")},
          {vmEncodeABx(OP_LOADK, 1, 0),
           vmEncodeABC(static_cast<VmOp>(op), 2, tableFirst ? 0 : 1, tableFirst ? 1 : 0),
           vmEncodeABC(OP_RETURN, 2, 2, 0)});
      function.paramCount = 1;
      machine.Load(function);
      PushSpied(machine.State());
      const std::string expected =
          std::string("\"") + names[op - OP_ADD] + (tableFirst ? ":t:7\"" : ":7:t\"");
      EXPECT_EQ(machine.Call(1), expected);
    }
  }
}

TEST(Operators, UnaryAndJoiningEvents) {
  Machine machine;
  const auto run = [&](std::vector<VmInstruction> code) {
    code.push_back(vmEncodeABC(OP_RETURN, 2, 2, 0));
    ImageFunction function = MakeFunction(4, {Text("x")}, std::move(code));
    function.paramCount = 1;
    machine.Load(function);
    PushSpied(machine.State());
    return machine.Call(1);
  };
  EXPECT_EQ(run({vmEncodeABC(OP_UNM, 2, 0, 0)}), "\"__unm:t:\"");
  EXPECT_EQ(run({vmEncodeABC(OP_BNOT, 2, 0, 0)}), "\"__not:t:\"");
  // From the right: ("x" .. table) first, then 1 .. its result.
  EXPECT_EQ(run({vmEncodeABC(OP_LOADNUM, 1, 1, 0), vmEncodeABx(OP_LOADK, 2, 0),
                 vmEncodeABC(OP_MOVE, 3, 0, 0), vmEncodeABC(OP_CONCAT, 2, 1, 3)}),
            "\"1__concat:x:t\"");
}

TEST(Operators, WhatAJoiningEventGivesIsLeftAsItIs) {
  Machine machine;
  vmNewTable(machine.State());
  vmNewTable(machine.State());
  vmPushString(machine.State(), "__concat");
  vmPushClosure(
      machine.State(),
      [](VmState& state) -> CommandResult {
        vmPushNumber(state, 7);
        return 1;
      },
      0);
  vmRawSet(machine.State(), -3);
  vmSetMetaTable(machine.State(), -2);
  ImageFunction function =
      MakeFunction(4, {},
                   {vmEncodeABC(OP_MOVE, 1, 0, 0), vmEncodeABC(OP_CONCAT, 2, 0, 1),
                    vmEncodeABC(OP_RETURN, 2, 2, 0)});
  function.paramCount = 1;
  machine.Load(function);
  vmInsert(machine.State(), 1);
  EXPECT_EQ(machine.Call(1), "7");
}

CommandResult AnswerFirst(VmState& state) {
  vmPushValue(state, vmUpvalueIndex(1));
  return 1;
}

TEST(Operators, ComparisonEventsHaveToBeShared) {
  Machine machine;
  VmState& state = machine.State();
  const auto compare = [&](VmOp op, const char* event, double answer, bool isShared) {
    ImageFunction function = MakeFunction(
        3, {},
        {vmEncodeABC(OP_LOADNUM, 2, 1, 0), vmEncodeABC(op, 1, 0, 1), vmEncodeJump(0, 1),
         vmEncodeABC(OP_LOADNUM, 2, 0, 0), vmEncodeABC(OP_RETURN, 2, 2, 0)});
    function.paramCount = 2;
    machine.Load(function);
    const auto pushMetatable = [&] {
      vmNewTable(state);
      vmPushString(state, event);
      vmPushNumber(state, answer);
      vmPushClosure(state, AnswerFirst, 1);
      vmRawSet(state, -3);
    };
    vmNewTable(state);
    vmNewTable(state);
    pushMetatable();
    vmPushValue(state, -1);
    vmSetMetaTable(state, 2);
    if (!isShared) pushMetatable();
    vmSetMetaTable(state, 3);
    vmSetTop(state, 3);
    return machine.Call(2);
  };
  EXPECT_EQ(compare(OP_EQ, "__eq", 1, true), "1");
  EXPECT_EQ(compare(OP_EQ, "__eq", 0, true), "0");
  EXPECT_EQ(compare(OP_LT, "__lt", 5, true), "1");
  EXPECT_EQ(compare(OP_LE, "__le", 1, true), "1");
  // Without its own event "<=" is the opposite of the swapped "<".
  EXPECT_EQ(compare(OP_LE, "__lt", 1, true), "0");
  EXPECT_EQ(compare(OP_LE, "__lt", 0, true), "1");
  EXPECT_EQ(compare(OP_EQ, "__eq", 1, false), "0");
  EXPECT_EQ(compare(OP_LT, "__lt", 1, false), "error 1030");
}

TEST(Operators, TablesCompareWithTablesOnly) {
  Machine machine;
  ImageFunction function = MakeFunction(
      3, {}, {vmEncodeABC(OP_NEWTABLE, 0, 0, 0), vmEncodeABC(OP_EQ, 1, 0, 1), vmEncodeJump(0, 0)});
  EXPECT_EQ(machine.Run(function), "");  // nil against a table is false, not an error
  function.code[1] = vmEncodeABC(OP_LT, 1, 0, 1);
  EXPECT_EQ(machine.Run(function), "error 1030");
  function.constants = {1.0};
  function.code[1] = vmEncodeABC(OP_EQ, 1, 0, 250);
  EXPECT_EQ(machine.Run(function), "error 1030");
}

}  // namespace
}  // namespace quillmere
