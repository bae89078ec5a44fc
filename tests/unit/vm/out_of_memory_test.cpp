#include <gtest/gtest.h>

#include <map>
#include <new>
#include <random>

#include "unit/vm/machine.h"

namespace quillmere {
namespace {

CommandResult Greedy(VmState& state) {
  vmPushNumber(state, 1);
  throw std::bad_alloc();
}

TEST(OutOfMemory, FailsTheCommandAndNotTheProgram) {
  Host host;
  VmState* state = vmOpen(host);
  ASSERT_NE(state, nullptr);
  for (int i = 0; i < 1000; ++i) {
    vmPushClosure(*state, Greedy, 0);
    EXPECT_EQ(vmPCall(*state, 0, 1), static_cast<int>(Error::OutOfMemory));
    vmSetTop(*state, 0);
  }
  vmClose(state);
}

/// Tables, texts and closures that all stay alive: t[i] = {"text" .. i, function}.
ImageFunction Hoarder() {
  ImageFunction own = MakeFunction(2, {}, {vmEncodeABC(OP_GETUPVAL, 0, 0, 0)});
  own.upvalueCount = 1;
  ImageFunction function = MakeFunction(12, {"text", 1.0, 500.0, "f"},
                                        {
                                            vmEncodeABC(OP_NEWTABLE, 0, 0, 0),
                                            vmEncodeABx(OP_LOADK, 1, 1),
                                            vmEncodeABx(OP_LOADK, 2, 2),
                                            vmEncodeABx(OP_LOADK, 3, 1),
                                            vmEncodeABC(OP_NEWTABLE, 4, 0, 2),
                                            vmEncodeABx(OP_LOADK, 5, 0),
                                            vmEncodeABC(OP_MOVE, 6, 1, 0),
                                            vmEncodeABC(OP_CONCAT, 5, 5, 6),
                                            vmEncodeABx(OP_SETLIST, 4, 0),
                                            vmEncodeABx(OP_CLOSURE, 5, 0),
                                            vmEncodeABC(OP_MOVE, 0, 1, 0),
                                            vmEncodeABC(OP_SETTABLE, 4, vmRkConstant(3), 5),
                                            vmEncodeABC(OP_SETTABLE, 0, 1, 4),
                                            vmEncodeABC(OP_CLOSE, 4, 0, 0),
                                            vmEncodeAsBx(OP_FORLOOP, 1, -11),
                                            vmEncodeABC(OP_RETURN, 1, 2, 0),
                                        });
  function.functions.push_back(own);
  return function;
}

TEST(OutOfMemory, EndsAScriptWhereverItHappens) {
  int finished = 0;
  for (std::size_t limit = 0; limit < 400'000; limit += 7'000) {
    Machine machine;
    VmGlobals& globals = *machine.State().globals;
    globals.collectAlways = false;
    machine.Load(Hoarder());
    globals.heap.SetLimit(limit);
    const std::string result = machine.Call();
    if (result == "500") {
      ++finished;
    } else {
      EXPECT_EQ(result, "error 1000") << limit;
      EXPECT_EQ(vmGetTop(machine.State()), 0);
    }
    // With memory again the machine goes on as if nothing had been.
    globals.heap.SetLimit(std::size_t{1} << 30);
    EXPECT_EQ(machine.Run(Hoarder()), "500");
  }
  EXPECT_GT(finished, 0);
}

TEST(OutOfMemory, AStoreThatFailsLeavesTheTableAsItWas) {
  Machine machine;
  VmState& state = machine.State();
  VmGlobals& globals = *state.globals;
  globals.collectAlways = false;
  std::mt19937 random(5);
  for (int round = 0; round < 300; ++round) {
    vmSetTop(state, 0);
    vmCollect(state);
    vmNewTable(state);
    std::map<double, int> expected;
    for (int i = 0; i < 60; ++i) {
      // Some keys are for the array and some are not.
      const double key = static_cast<int>(random() % 40) * (random() % 2 == 0 ? 1 : 1.5);
      vmPushNumber(state, key);
      vmPushNumber(state, i);
      if (random() % 3 == 0) globals.heap.SetLimit(0);
      if (vmProtectedRun(state, [&] { vmRawSet(state, 1); }) == 0) expected[key] = i;
      globals.heap.SetLimit(std::size_t{1} << 30);
      vmSetTop(state, 1);
      std::map<double, int> found;
      vmPushNil(state);
      while (vmNext(state, 1)) {
        found[vmToNumber(state, -2)] = static_cast<int>(vmToNumber(state, -1));
        vmPop(state, 1);
      }
      ASSERT_EQ(found, expected) << round << ' ' << i;
      for (const auto& [known, value] : expected) {
        vmPushNumber(state, known);
        vmRawGet(state, 1);
        ASSERT_EQ(vmToNumber(state, -1), value);
        vmPop(state, 1);
      }
    }
  }
}

}  // namespace
}  // namespace quillmere
