// Each hard limit at its end and one step beyond, and deep recursion of every kind on a small
// stack.
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

#include "unit/vm/machine.h"
#include "vm/constants.h"
#include "vm/switches.h"
#include "vm/table.h"

namespace quillmere {
namespace {

class LimitsTest : public testing::Test {
 protected:
  /// The code that an operation throws, or 0; the error argument is left in the host.
  int CodeOf(const std::function<void()>& operation) {
    const int top = vmGetTop(state_);
    machine_.host.errors.argument.clear();
    const int code = vmProtectedRun(state_, operation);
    vmSetTop(state_, top);
    return code;
  }

  /// Pushes a chain of tables in which each one's event leads to the next; `field` of the last one
  /// is 7.
  void PushChain(int tables, const char* event, const char* field) {
    vmNewTable(state_);
    vmSetFieldNumber(state_, field, 7);
    for (int i = 1; i < tables; ++i) {
      vmNewTable(state_);
      vmNewTable(state_);
      vmPushString(state_, event);
      vmPushValue(state_, -4);
      vmRawSet(state_, -3);
      vmSetMetaTable(state_, -2);
      vmRemove(state_, -2);
    }
  }

  Machine machine_;
  VmState& state_ = machine_.State();
};

TEST_F(LimitsTest, Subroutines) {
  // R(0) gosubs inside one another, then back through all of them.
  ImageFunction function =
      MakeFunction(2, {1.0, 0.0, 5.0},
                   {vmEncodeJump(opJumpSubroutine, 2), vmEncodeABx(OP_LOADK, 0, 2),
                    vmEncodeABC(OP_RETURN, 0, 2, 0), vmEncodeABC(OP_SUB, 0, 0, vmRkConstant(0)),
                    vmEncodeABC(OP_EQ, 1, 0, vmRkConstant(1)), vmEncodeJump(0, 1),
                    vmEncodeJump(opJumpSubroutine, -4), vmEncodeABC(OP_RETURN, 0, 0, 1)});
  function.paramCount = 1;
  const auto nest = [&](int depth) {
    machine_.Load(function);
    vmPushNumber(state_, depth);
    std::string result = machine_.Call(1);
    state_.globals->subroutines.clear();
    return result;
  };
  EXPECT_EQ(nest(vmMaxSubroutines), "5");
  EXPECT_EQ(nest(vmMaxSubroutines + 1), "error 1066");
}

TEST_F(LimitsTest, ChainsOfEvents) {
  const auto read = [&](int tables) {
    return CodeOf([&] {
      PushChain(tables, "__index", "field");
      vmPushString(state_, "field");
      vmGetTable(state_, -2);
      EXPECT_EQ(vmToNumber(state_, -1), 7);
    });
  };
  EXPECT_EQ(read(vmMaxEventChain + 1), 0);
  EXPECT_EQ(read(vmMaxEventChain + 2), static_cast<int>(Error::InternalLimitReached));
  EXPECT_EQ(machine_.host.errors.argument, "#1");

  const auto write = [&](int tables) {
    return CodeOf([&] {
      PushChain(tables, "__newindex", "field");
      vmPushString(state_, "field");
      vmPushNumber(state_, 8);
      vmSetTable(state_, -3);
    });
  };
  EXPECT_EQ(write(vmMaxEventChain + 1), 0);
  EXPECT_EQ(write(vmMaxEventChain + 2), static_cast<int>(Error::InternalLimitReached));
  EXPECT_EQ(machine_.host.errors.argument, "#2");
}

TEST_F(LimitsTest, LengthsOfJoinedTexts) {
  // Many times the same text and one of what is missing; nothing of that size is ever made.
  constexpr std::size_t piece = std::size_t{1} << 22;
  constexpr int pieces = static_cast<int>(vmMaxBlock / piece);
  const auto join = [&](std::size_t length) {
    return CodeOf([&] {
      ASSERT_TRUE(vmCheckStack(state_, pieces + 1));
      vmPushBytes(state_, std::string(length - pieces * piece, 'a'));
      vmPushBytes(state_, std::string(piece, 'b'));
      for (int i = 1; i < pieces; ++i) vmPushValue(state_, -1);
      vmConcat(state_, pieces + 1);
    });
  };
  // As long as a block may be, which is too long with what a string needs beside its text.
  EXPECT_EQ(join(vmMaxBlock), static_cast<int>(Error::OutOfMemory));
  EXPECT_EQ(join(vmMaxBlock + 1), static_cast<int>(Error::InternalLimit));
}

TEST_F(LimitsTest, PositionsOfLists) {
  constexpr int lastBatch = opMaxBx & ~(vmListBatch - 1);
  ImageFunction function =
      MakeFunction(vmListBatch + 1, {},
                   {vmEncodeABC(OP_NEWTABLE, 0, 0, 0), vmEncodeABC(OP_LOADNUM, 1, 1, 0),
                    vmEncodeABC(OP_LOADNUM, vmListBatch, 2, 0), vmEncodeABx(OP_SETLIST, 0, opMaxBx),
                    vmEncodeABC(OP_RETURN, 0, 2, 0)});
  machine_.Load(function);
  vmCall(state_, 0, 1);
  vmRawGetInt(state_, 1, lastBatch);
  vmRawGetInt(state_, 1, lastBatch + vmListBatch - 1);
  vmRawGetInt(state_, 1, lastBatch + vmListBatch);
  EXPECT_EQ(machine_.Show(2) + " " + machine_.Show(3) + " " + machine_.Show(4), "1 2 Nil");
  // Beyond what the array part can hold a position is a key like any other.
  for (const int position : {1 << vmMaxTableExponent, (1 << vmMaxTableExponent) + 1, INT32_MAX}) {
    vmPushNumber(state_, position);
    vmRawSetInt(state_, 1, position);
    vmRawGetInt(state_, 1, position);
    EXPECT_EQ(vmToNumber(state_, -1), position);
    vmPop(state_, 1);
  }
}

TEST_F(LimitsTest, NamesOfConstantsAndLibraries) {
  const std::string longest = "X" + std::string(vmMaxConstantName - 1, '1');
  const std::string longer = longest + "1";
  const VmConstantEntry constants[] = {{longest.c_str(), nullptr, 1}, {longer.c_str(), nullptr, 2}};
  vmRegisterConstants(state_, constants);
  const auto find = [&](const std::string& name) { return ParseConstantName(state_, "#" + name); };
  ASSERT_TRUE(find(longest));
  EXPECT_EQ(find(longest)->length, vmMaxConstantName + 1);
  // A longer name is cut and finds what is named by its beginning.
  ASSERT_TRUE(find(longer));
  EXPECT_EQ(find(longer)->constant.number, 1);
  EXPECT_EQ(find(longer)->length, vmMaxConstantName + 1);
  EXPECT_EQ(find("Y" + longer).error(), Error::ConstantNotFound);

  vmAddLibrary(state_, std::string(vmMaxLibraryName, 'l'), {});
  EXPECT_EQ(vmLibraries(state_).back().name.size(), vmMaxLibraryName);
  vmAddLibrary(state_, std::string(vmMaxLibraryName + 1, 'l'), {});
  EXPECT_EQ(vmLibraries(state_).back().name.size(), vmMaxLibraryName);
}

// Recursion on a small stack.

/// Runs a body on a thread whose stack is far smaller than a program's own.
void OnSmallStack(const std::function<void()>& body) {
  constexpr std::size_t size = vmSystemAllocator ? 2 << 20 : 256 << 10;
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
  pthread_t thread;
  const auto run = [](void* argument) -> void* {
    (*static_cast<const std::function<void()>*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)),
            0);
  EXPECT_EQ(pthread_join(thread, nullptr), 0);
  pthread_attr_destroy(&attributes);
}

CommandResult CallItself(VmState& state) {
  vmPushValue(state, 1);
  vmPushValue(state, 1);
  return vmCall(state, 1, 0);
}

CommandResult CallItselfProtected(VmState& state) {
  vmPushValue(state, 1);
  vmPushValue(state, 1);
  return vmPCall(state, 1, 0);
}

CommandResult JoinItself(VmState& state) {
  vmSetTop(state, 2);
  vmConcat(state, 2);
  return 1;
}

TEST_F(LimitsTest, RecursionThroughNativesNeedsLittleStack) {
  for (const VmNative native : {CallItself, CallItselfProtected}) {
    OnSmallStack([&] {
      vmPushClosure(state_, native, 0);
      vmPushValue(state_, -1);
      EXPECT_EQ(machine_.Call(1), "error 1135");
    });
  }
}

TEST_F(LimitsTest, RecursionThroughEventsNeedsLittleStack) {
  // A script function as the event of a table that does to it what calls the event: through the
  // interpreter, an operation and a native in turn.
  const auto recurse = [&](const char* event, std::vector<VmInstruction> code) {
    vmPushClosure(state_, JoinItself, 0);
    vmPushString(state_, "join");
    vmInsert(state_, -2);
    vmSetTable(state_, vmGlobalsIndex);
    ImageFunction function = MakeFunction(5, {std::string("join"), std::string("missing")}, code);
    function.paramCount = 2;
    vmNewTable(state_);
    vmNewTable(state_);
    vmPushString(state_, event);
    machine_.Load(function);
    vmPushValue(state_, -1);
    vmInsert(state_, -5);
    vmRawSet(state_, -3);
    vmSetMetaTable(state_, -2);
    return machine_.Call(1);
  };
  OnSmallStack([&] {
    EXPECT_EQ(recurse("__index", {vmEncodeABC(OP_GETTABLE, 2, 0, vmRkConstant(1))}), "error 1135");
    EXPECT_EQ(recurse("__unm", {vmEncodeABC(OP_UNM, 2, 0, 0)}), "error 1135");
    EXPECT_EQ(recurse("__concat", {vmEncodeABx(OP_GETGLOBAL, 2, 0), vmEncodeABC(OP_MOVE, 3, 0, 0),
                                   vmEncodeABC(OP_MOVE, 4, 0, 0), vmEncodeABC(OP_CALL, 2, 3, 1)}),
              "error 1135");
  });
}

TEST_F(LimitsTest, NestedFunctionsOfAnImageNeedLittleStack) {
  ImageFunction function = MakeFunction(2, {}, {});
  for (int i = 1; i < vmMaxImageDepth; ++i) {
    ImageFunction outer = MakeFunction(2, {}, {});
    outer.functions.push_back(std::move(function));
    function = std::move(outer);
  }
  OnSmallStack([&] {
    machine_.Load(function);
    const Result<std::string> image = vmDumpImage(state_, false);
    ASSERT_TRUE(image);
    EXPECT_EQ(*image, WriteImage(function));
    vmCollect(state_);
    EXPECT_EQ(machine_.Call(), "");
  });
}

}  // namespace
}  // namespace quillmere
