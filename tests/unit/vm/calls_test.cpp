// Calls, errors and what native code sees of running functions.
#include <gtest/gtest.h>

#include "unit/vm/machine.h"

namespace quillmere {
namespace {

VmInstruction Call(int a, int arguments, int results) {
  return vmEncodeABC(OP_CALL, a, arguments + 1, results + 1);
}
VmInstruction ReturnOne(int a) {
  return vmEncodeABC(OP_RETURN, a, 2, 0);
}
VmInstruction Global(int a, int constant) {
  return vmEncodeABx(OP_GETGLOBAL, a, constant);
}

CommandResult FailWith1055(VmState&) {
  return Error::WrongUsage;
}
CommandResult RaiseIt(VmState& state) {
  vmRaise(state, Error::NumberExpected, 3);
}
CommandResult Answer(VmState& state) {
  vmPushNumber(state, 42);
  return 1;
}
CommandResult GetLastError(VmState& state) {
  vmPushNumber(state, vmLastError(state));
  return 1;
}
CommandResult End(VmState& state) {
  vmSetQuitFlag(state, true);
  return 0;
}
CommandResult CallArgument(VmState& state) {
  vmArgFunction(state, 1);
  vmPushValue(state, 1);
  vmPushValue(state, 1);
  return vmCall(state, 1, 0) == 0 ? CommandResult(0) : CommandResult(Error::WrongUsage);
}
CommandResult ThousandNils(VmState& state) {
  EXPECT_TRUE(vmCheckStack(state, 1000));
  const int count = vmArgInt(state, 1);
  for (int i = 0; i < count; ++i) vmPushNil(state);
  return count;
}

constexpr VmCommandEntry commands[] = {
    {"FailWith", FailWith1055},
    {"RaiseIt", RaiseIt},
    {"Answer", Answer},
    {"End", End},
    {"CallArgument", CallArgument},
    {"GetLastError", GetLastError},
    {"Many", ThousandNils},
};

class CallsTest : public testing::Test {
 protected:
  CallsTest() { machine_.Register(commands); }

  Machine machine_;
  VmState& state_ = machine_.State();
};

TEST_F(CallsTest, SurplusArgumentsComeAsATable) {
  ImageFunction function =
      MakeFunction(8, {std::string("n")},
                   {vmEncodeABC(OP_LOADNUM, 3, 2, 0), vmEncodeABC(OP_GETTABLE, 4, 2, 3),
                    vmEncodeABC(OP_GETTABLE, 5, 2, 250), vmEncodeABC(OP_MOVE, 2, 0, 0),
                    vmEncodeABC(OP_MOVE, 3, 1, 0), vmEncodeABC(OP_RETURN, 2, 5, 0)});
  function.paramCount = 2;
  function.isVarArg = true;
  machine_.Load(function);
  for (const char* text : {"a", "b", "c", "d", "e"}) vmPushString(state_, text);
  EXPECT_EQ(machine_.Call(5), "\"a\" \"b\" \"e\" 3");
  function.code = {vmEncodeABC(OP_GETTABLE, 3, 2, 250), vmEncodeABC(OP_MOVE, 2, 1, 0),
                   vmEncodeABC(OP_RETURN, 2, 3, 0)};
  machine_.Load(function);
  EXPECT_EQ(machine_.Call(0), "Nil 0");
}

TEST_F(CallsTest, ResultsAreCutAndFilled) {
  const auto run = [&](int wanted, int returned) {
    std::vector<VmInstruction> code = {Global(0, 0), vmEncodeABC(OP_LOADNUM, 1, returned, 0),
                                       Call(0, 1, wanted)};
    code.push_back(vmEncodeABC(OP_RETURN, 0, wanted + 1, 0));
    return machine_.Run(MakeFunction(8, {std::string("many")}, code));
  };
  EXPECT_EQ(run(3, 1), "Nil Nil Nil");
  EXPECT_EQ(run(1, 3), "Nil");
  EXPECT_EQ(run(-1, 2), "Nil Nil");
  EXPECT_EQ(run(-1, 0), "");
}

TEST_F(CallsTest, AThousandResultsAreAnErrorCode) {
  const auto run = [&](int count) {
    vmPushClosure(state_, ThousandNils, 0);
    vmPushNumber(state_, count);
    return vmPCall(state_, 1, 0);
  };
  EXPECT_EQ(run(vmMaxResults), 0);
  EXPECT_EQ(run(vmMaxResults + 1), static_cast<int>(Error::OutOfMemory));
}

TEST_F(CallsTest, WhatCannotBeCalledIsNamed) {
  EXPECT_EQ(machine_.Run(MakeFunction(2, {std::string("foo")}, {Global(0, 0), Call(0, 0, 0)})),
            "error 1133 foo()");
  EXPECT_EQ(machine_.Run(MakeFunction(2, {}, {vmEncodeABC(OP_LOADNUM, 0, 1, 0), Call(0, 0, 0)})),
            "error 1133 ?"
            "?()");
  EXPECT_EQ(machine_.Run(MakeFunction(2, {std::string("m")},
                                      {vmEncodeABC(OP_NEWTABLE, 1, 0, 0),
                                       vmEncodeABC(OP_SELF, 0, 1, 250), Call(0, 1, 0)})),
            "error 1133 m()");
  ImageFunction local =
      MakeFunction(2, {}, {vmEncodeABC(OP_LOADNIL, 0, 0, 0), vmEncodeABC(OP_GETTABLE, 1, 0, 1)});
  local.locals = {{"list", 1, 3}};
  EXPECT_EQ(machine_.Run(local), "error 1132 list{}");
}

TEST_F(CallsTest, MissingFieldsAreNamedByTheirKey) {
  const auto read = [&](const ImageConstant& key) {
    return machine_.Run(MakeFunction(
        2, {key}, {vmEncodeABC(OP_NEWTABLE, 0, 0, 0), vmEncodeABC(OP_GETTABLE, 1, 0, 250)}));
  };
  EXPECT_EQ(read(std::string("name")), "error 1159 \"name\"");
  EXPECT_EQ(read(1.5), "error 1159 1.5");
  EXPECT_EQ(read(1e6), "error 1159 1e+06");
}

/// Runs a failing command and then the reader of the last error.
ImageFunction FailThenAsk() {
  return MakeFunction(4, {std::string("failwith"), std::string("getlasterror")},
                      {Global(0, 0), Call(0, 0, 2), Global(2, 1), Call(2, 0, 1), Global(3, 1),
                       Call(3, 0, 1), vmEncodeABC(OP_RETURN, 0, 5, 0)});
}

TEST_F(CallsTest, WithoutExitOnErrorTheScriptGoesOn) {
  machine_.host.flags.exitOnError = false;
  EXPECT_EQ(machine_.Run(FailThenAsk()), "Nil Nil 1055 1055");
  EXPECT_EQ(vmErrorPosition(state_).command, "----");
  // Another command clears it.
  EXPECT_EQ(machine_.Run(MakeFunction(
                2, {std::string("failwith"), std::string("answer"), std::string("getlasterror")},
                {Global(0, 0), Call(0, 0, 0), Global(0, 1), Call(0, 0, 0), Global(0, 2),
                 Call(0, 0, 1), ReturnOne(0)})),
            "0");
  // What the argument layer raises stops the script all the same.
  EXPECT_EQ(machine_.Run(MakeFunction(1, {std::string("raiseit")}, {Global(0, 0), Call(0, 0, 0)})),
            "error 1138");
  EXPECT_EQ(machine_.host.errors.index, 3);
}

TEST_F(CallsTest, WithExitOnErrorTheScriptEnds) {
  ImageFunction function = FailThenAsk();
  function.lines = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(machine_.Run(function), "error 1055");
  EXPECT_TRUE(vmQuitFlag(state_));
  EXPECT_EQ(vmErrorPosition(state_).command, "FailWith");
  EXPECT_EQ(vmErrorPosition(state_).source, "@test");
  EXPECT_EQ(vmErrorPosition(state_).line, 2);
}

TEST_F(CallsTest, InACallbackAFailureDoesNotQuit) {
  machine_.host.flags.callbackDepth = 1;
  EXPECT_EQ(machine_.Run(FailThenAsk()), "error 1055");
  EXPECT_FALSE(vmQuitFlag(state_));
}

TEST_F(CallsTest, ANativeCalledFromNativeCodeHandsItsCodeBack) {
  vmPushClosure(state_, FailWith1055, 0);
  EXPECT_EQ(vmCall(state_, 0, 2), 1055);
  EXPECT_EQ(vmGetTop(state_), 2);
  vmPushClosure(state_, FailWith1055, 0);
  EXPECT_EQ(vmPCall(state_, 0, 2), 1055);
  EXPECT_EQ(vmGetTop(state_), 2);
}

TEST_F(CallsTest, QuittingLeavesAtTheNextInstruction) {
  EXPECT_EQ(
      machine_.Run(MakeFunction(1, {std::string("end"), std::string("after")},
                                {Global(0, 0), Call(0, 0, 0), vmEncodeABC(OP_LOADNUM, 0, 1, 0),
                                 vmEncodeABx(OP_SETGLOBAL, 0, 1)})),
      "");
  vmSetQuitFlag(state_, false);
  EXPECT_EQ(machine_.Run(MakeFunction(1, {std::string("after")}, {Global(0, 0), ReturnOne(0)})),
            "Nil");
}

TEST_F(CallsTest, QuittingInAnEventLeavesToo) {
  vmNewTable(state_);
  vmNewTable(state_);
  vmPushString(state_, "__index");
  vmPushClosure(state_, End, 0);
  vmRawSet(state_, -3);
  vmSetMetaTable(state_, -2);
  vmPushString(state_, "t");
  vmInsert(state_, -2);
  vmSetTable(state_, vmGlobalsIndex);
  machine_.Run(MakeFunction(
      2, {std::string("t"), std::string("after")},
      {Global(0, 0), vmEncodeABC(OP_GETTABLE, 1, 0, 251), vmEncodeABx(OP_SETGLOBAL, 0, 1)}));
  EXPECT_TRUE(vmQuitFlag(state_));
  EXPECT_EQ(vmType(state_, (vmPushString(state_, "after"), vmGetTable(state_, vmGlobalsIndex), -1)),
            VmType::Nil);
}

TEST_F(CallsTest, FramesEndAtTheLimit) {
  // f(n): n is 0 or f(n - 1). One frame belongs to the program, and one to each call.
  ImageFunction function = MakeFunction(
      5, {std::string("f"), 1.0, 0.0},
      {vmEncodeABC(OP_EQ, 0, 0, 252), vmEncodeJump(0, 1), vmEncodeABC(OP_RETURN, 0, 2, 0),
       Global(1, 0), vmEncodeABC(OP_SUB, 2, 0, 251), Call(1, 1, 1), ReturnOne(1)});
  function.paramCount = 1;
  const auto recurse = [&](int depth) {
    machine_.Load(function);
    vmPushString(state_, "f");
    vmPushValue(state_, -2);
    vmSetTable(state_, vmGlobalsIndex);
    vmPushNumber(state_, depth);
    return machine_.Call(1);
  };
  EXPECT_EQ(recurse(vmMaxFrames - 2), "0");
  EXPECT_EQ(recurse(vmMaxFrames - 1), "error 1135");
  EXPECT_EQ(recurse(1'000'000), "error 1135");
  EXPECT_EQ(recurse(100), "0");
}

TEST_F(CallsTest, TailCallsTakeNoFrames) {
  ImageFunction function =
      MakeFunction(5, {std::string("f"), 1.0, 0.0},
                   {vmEncodeABC(OP_EQ, 0, 0, 252), vmEncodeJump(0, 1),
                    vmEncodeABC(OP_RETURN, 0, 2, 0), Global(1, 0), vmEncodeABC(OP_SUB, 2, 0, 251),
                    vmEncodeABC(OP_TAILCALL, 1, 2, 0), vmEncodeABC(OP_RETURN, 1, 0, 0)});
  function.paramCount = 1;
  machine_.Load(function);
  vmPushString(state_, "f");
  vmPushValue(state_, -2);
  vmSetTable(state_, vmGlobalsIndex);
  vmPushNumber(state_, 20'000);
  EXPECT_EQ(machine_.Call(1), "0");
}

int depthReached = 0;

CommandResult Recurse(VmState& state) {
  ++depthReached;
  vmPushClosure(state, Recurse, 0);
  return vmCall(state, 0, 0);
}

TEST_F(CallsTest, NativeRecursionEndsAtTheLimit) {
  depthReached = 0;
  vmPushClosure(state_, Recurse, 0);
  EXPECT_EQ(machine_.Call(), "error 1135");
  EXPECT_EQ(depthReached, vmMaxNativeCalls - 1);
  // Through script and back again.
  machine_.Load(MakeFunction(3, {std::string("callargument")}, {}));
  ImageFunction function =
      MakeFunction(3, {std::string("callargument")},
                   {Global(1, 0), vmEncodeABC(OP_MOVE, 2, 0, 0), Call(1, 1, 0)});
  function.paramCount = 1;
  machine_.Load(function);
  vmPushValue(state_, -1);
  EXPECT_EQ(machine_.Call(1), "error 1135");
}

TEST_F(CallsTest, NativeStackEndsAtTheLimit) {
  EXPECT_TRUE(vmCheckStack(state_, vmMaxNativeStack));
  EXPECT_FALSE(vmCheckStack(state_, vmMaxNativeStack + 1));
  vmPushNil(state_);
  EXPECT_FALSE(vmCheckStack(state_, vmMaxNativeStack));
}

TEST_F(CallsTest, SubroutinesReturnBehindTheirJump) {
  // 0: gosub 3; 1: load; 2: return; 3: add; 4: return from subroutine
  EXPECT_EQ(machine_.Run(
                MakeFunction(2, {10.0},
                             {vmEncodeJump(opJumpSubroutine, 3), vmEncodeABC(OP_ADD, 0, 0, 250),
                              vmEncodeABC(OP_RETURN, 0, 2, 0), vmEncodeABC(OP_LOADNIL, 1, 1, 0),
                              vmEncodeABC(OP_LOADNUM, 0, 7, 0), vmEncodeABC(OP_RETURN, 0, 0, 1)})),
            "17");
  EXPECT_EQ(machine_.Run(MakeFunction(1, {}, {vmEncodeABC(OP_RETURN, 0, 0, 1)})), "error 1040");
  EXPECT_EQ(machine_.Run(MakeFunction(1, {}, {vmEncodeJump(opJumpSubroutine, -1)})), "error 1066");
}

TEST_F(CallsTest, AReturnIntoAnotherFunctionIsRefused) {
  ImageFunction function = MakeFunction(
      2, {}, {vmEncodeJump(opJumpSubroutine, 0), vmEncodeABx(OP_CLOSURE, 0, 0), Call(0, 0, 0)});
  function.functions = {MakeFunction(1, {}, {vmEncodeABC(OP_RETURN, 0, 0, 1)})};
  EXPECT_EQ(machine_.Run(function), "error 1040");
}

int jumpTarget = 0;
int jumpRequest = 0;
int jumpCalls = 0;

CommandResult JumpOnce(VmState& state) {
  if (jumpCalls++ > 0) return 0;
  vmSetPendingJump(state, jumpTarget);
  return jumpRequest;
}

TEST_F(CallsTest, LabelJumpsRunASubroutine) {
  machine_.Register(std::array{VmCommandEntry{"Jump", JumpOnce}});
  // 0-1: the call; 2: add 1; 3: return; 4: the label: add 10; 5: return from subroutine.
  const ImageFunction function =
      MakeFunction(3, {std::string("jump"), 1.0, 10.0},
                   {Global(1, 0), Call(1, 0, 0), vmEncodeABC(OP_ADD, 0, 0, 251), ReturnOne(0),
                    vmEncodeABC(OP_ADD, 0, 0, 252), vmEncodeABC(OP_RETURN, 0, 0, 1)});
  const auto run = [&](int request, int target) {
    jumpRequest = request;
    jumpTarget = target;
    jumpCalls = 0;
    return machine_.Run(function);
  };
  EXPECT_EQ(run(-1, 4), "11");
  EXPECT_EQ(jumpCalls, 1);
  EXPECT_EQ(run(-2, 4), "11");
  EXPECT_EQ(jumpCalls, 2);
  for (const int outside : {-1, 7, 1'000'000}) EXPECT_EQ(run(-1, outside), "1");
}

TEST_F(CallsTest, LabelsOutsideOfTheMainChunkAreNone) {
  vmPushString(state_, "labels");
  vmNewTable(state_);
  vmSetFieldNumber(state_, "start", 2);
  vmSetFieldNumber(state_, "far", 3);
  vmRawSet(state_, vmRegistryIndex);
  machine_.Register(std::array{VmCommandEntry{"Labels", [](VmState& state) -> CommandResult {
                                                for (const char* name : {"START", "far", "none"})
                                                  vmPushNumber(state, vmFindLabel(state, name));
                                                return 3;
                                              }}});
  ImageFunction function = MakeFunction(3, {std::string("labels")}, {Global(0, 0), Call(0, 0, 3)});
  function.code.back() = vmEncodeABC(OP_RETURN, 0, 4, 0);
  EXPECT_EQ(machine_.Run(function), "2 -1 -1");
}

TEST_F(CallsTest, UpvaluesAreSharedAndOutliveTheirFrame) {
  // Two closures over R(0): one adds, one reads.
  ImageFunction outer = MakeFunction(
      6, {},
      {vmEncodeABC(OP_LOADNUM, 0, 5, 0), vmEncodeABx(OP_CLOSURE, 1, 0),
       vmEncodeABC(OP_MOVE, 0, 0, 0), vmEncodeABx(OP_CLOSURE, 2, 1), vmEncodeABC(OP_MOVE, 0, 0, 0),
       vmEncodeABC(OP_LOADNUM, 0, 6, 0), vmEncodeABC(OP_RETURN, 1, 3, 0)});
  ImageFunction add =
      MakeFunction(2, {10.0},
                   {vmEncodeABC(OP_GETUPVAL, 0, 0, 0), vmEncodeABC(OP_ADD, 0, 0, 250),
                    vmEncodeABC(OP_SETUPVAL, 0, 0, 0)});
  ImageFunction read =
      MakeFunction(2, {}, {vmEncodeABC(OP_GETUPVAL, 0, 0, 0), vmEncodeABC(OP_RETURN, 0, 2, 0)});
  add.upvalueCount = read.upvalueCount = 1;
  outer.functions = {add, read};
  ImageFunction main = MakeFunction(
      6, {},
      {vmEncodeABx(OP_CLOSURE, 0, 0), Call(0, 0, 2), vmEncodeABC(OP_MOVE, 2, 0, 0), Call(2, 0, 0),
       vmEncodeABC(OP_MOVE, 2, 0, 0), Call(2, 0, 0), Call(1, 0, 1), ReturnOne(1)});
  main.functions = {outer};
  EXPECT_EQ(machine_.Run(main), "26");
}

TEST_F(CallsTest, BadOpenListsLeaveTheFunction) {
  EXPECT_EQ(machine_.Run(MakeFunction(
                3, {}, {vmEncodeABx(OP_SETLIST, 0, 1), vmEncodeABC(OP_RETURN, 0, 2, 0)})),
            "");
  EXPECT_EQ(
      machine_.Run(MakeFunction(3, {1.0},
                                {vmEncodeABC(OP_NEWTABLE, 0, 0, 0), vmEncodeABC(OP_SELF, 1, 0, 250),
                                 vmEncodeABC(OP_RETURN, 0, 2, 0)})),
      "");
}

TEST_F(CallsTest, ListsStartAtZeroAndGoOnBehindABatch) {
  std::vector<VmInstruction> code = {vmEncodeABC(OP_NEWTABLE, 0, 0, 0)};
  for (int i = 1; i <= 32; ++i) code.push_back(vmEncodeABC(OP_LOADNUM, i, 100 + i, 0));
  code.push_back(vmEncodeABx(OP_SETLIST, 0, 31));
  code.push_back(vmEncodeABC(OP_LOADNUM, 1, 200, 0));
  code.push_back(vmEncodeABx(OP_SETLIST, 0, 32));
  for (int i = 0; i < 3; ++i) code.push_back(vmEncodeABC(OP_GETTABLE, 1 + i, 0, 250 + i));
  code.push_back(vmEncodeABC(OP_RETURN, 1, 4, 0));
  EXPECT_EQ(machine_.Run(MakeFunction(40, {0.0, 31.0, 32.0}, code)), "101 132 200");
}

CommandResult Next(VmState& state) {
  vmSetTop(state, 2);
  if (vmNext(state, 1)) return 2;
  vmPushNil(state);
  return 1;
}

TEST_F(CallsTest, LoopsCountAndWalk) {
  const auto count = [&](double from, double to, double step) {
    // The jump to the step, then the body: R(3) += 1, at most 9 times.
    return machine_.Run(MakeFunction(
        4, {from - step, to, step, 1.0, 9.0},
        {vmEncodeABx(OP_LOADK, 0, 0), vmEncodeABx(OP_LOADK, 1, 1), vmEncodeABx(OP_LOADK, 2, 2),
         vmEncodeABC(OP_LOADNUM, 3, 0, 0), vmEncodeJump(0, 3), vmEncodeABC(OP_ADD, 3, 3, 253),
         vmEncodeABC(OP_LE, 1, 254, 3), vmEncodeJump(0, 1), vmEncodeAsBx(OP_FORLOOP, 0, -4),
         ReturnOne(3)}));
  };
  EXPECT_EQ(count(1, 3, 1), "3");
  EXPECT_EQ(count(3, 1, -1), "3");
  EXPECT_EQ(count(1, 0, 1), "0");
  EXPECT_EQ(count(1, 2, 0.25), "5");
  EXPECT_EQ(count(1, 2, 0), "0") << "a step of 0 counts down";
  EXPECT_EQ(count(2, 1, 0), "9");
  EXPECT_EQ(
      machine_.Run(MakeFunction(3, {std::string("x")},
                                {vmEncodeABC(OP_LOADNUM, 0, 1, 0), vmEncodeABx(OP_LOADK, 1, 0),
                                 vmEncodeAsBx(OP_FORLOOP, 0, -1)})),
      "error 1024");

  machine_.Register(std::array{VmCommandEntry{"Next", Next}});
  // Sums the values of a bare table.
  EXPECT_EQ(machine_.Run(MakeFunction(
                9, {0.0, std::string("a")},
                {vmEncodeABC(OP_NEWTABLE, 0, 0, 0), vmEncodeABC(OP_LOADNUM, 1, 5, 0),
                 vmEncodeABC(OP_SETTABLE, 0, 250, 1), vmEncodeABC(OP_SETTABLE, 0, 251, 1),
                 vmEncodeABC(OP_LOADNUM, 8, 0, 0), vmEncodeAsBx(OP_TFORPREP, 0, 1),
                 vmEncodeABC(OP_ADD, 8, 8, 3), vmEncodeABC(OP_TFORLOOP, 0, 0, 1),
                 vmEncodeJump(0, -3), ReturnOne(8)})),
            "10");
}

int lines = 0;
int counts = 0;

TEST_F(CallsTest, CountHooksSeeEveryInstruction) {
  counts = 0;
  vmSetHook(
      state_, [](VmState&, VmHookEvent, int) { ++counts; }, vmMaskCount, 1);
  machine_.Run(MakeFunction(1, {}, std::vector(9, vmEncodeABC(OP_MOVE, 0, 0, 0))));
  EXPECT_EQ(counts, 10);
  vmSetHook(state_, nullptr, 0, 0);
  machine_.Run(MakeFunction(1, {}, {}));
  EXPECT_EQ(counts, 10);
}

TEST_F(CallsTest, CountHooksCanStopEndlessLoops) {
  vmSetHook(
      state_, [](VmState& state, VmHookEvent, int) { vmThrow(state, Error::UserAbort); },
      vmMaskCount, 1000);
  EXPECT_EQ(machine_.Run(MakeFunction(1, {}, {vmEncodeJump(0, -1)})), "error 1003");
}

TEST_F(CallsTest, LineHooksComeWithBackwardJumps) {
  lines = 0;
  vmSetHook(
      state_,
      [](VmState& state, VmHookEvent, int line) {
        EXPECT_EQ(line, 7);
        if (++lines == 3) vmSetQuitFlag(state, true);
      },
      vmMaskLine, 0);
  ImageFunction function = MakeFunction(1, {}, {vmEncodeJump(0, -1)});
  function.lines = {7, 8};
  machine_.Run(function);
  EXPECT_EQ(lines, 3);
}

TEST_F(CallsTest, ActivationsAreNamed) {
  machine_.Register(std::array{VmCommandEntry{
      "Who", [](VmState& state) -> CommandResult {
        VmActivation activation;
        std::string all;
        for (int level = 0; vmGetActivation(state, level, activation); ++level) {
          all += activation.name + "/" + activation.nameWhat + "/" + activation.source + ":" +
                 std::to_string(activation.currentLine) + " ";
        }
        vmPushBytes(state, all);
        return 1;
      }}});
  ImageFunction inner =
      MakeFunction(2, {std::string("who")}, {Global(0, 0), Call(0, 0, 1), ReturnOne(0)});
  inner.lines = {20, 21, 22, 23};
  ImageFunction main = MakeFunction(
      3, {},
      {vmEncodeABx(OP_CLOSURE, 0, 0), vmEncodeABC(OP_MOVE, 1, 0, 0), Call(1, 0, 1), ReturnOne(1)});
  main.functions = {inner};
  main.lines = {1, 2, 3, 4, 5};
  main.locals = {{"helper", 1, 5}};
  EXPECT_EQ(machine_.Run(main), "\"who/global/=[C]:-1 helper/local/@test:21 //@test:3 \"");
}

TEST_F(CallsTest, TheTraceShowsEachCommand) {
  std::string output;
  machine_.host.debug.SetSink([&](std::string_view text) { output += text; });
  machine_.host.flags.traceCalls = true;
  machine_.host.flags.exitOnError = false;
  machine_.Run(
      MakeFunction(5, {std::string("failwith"), std::string("x")},
                   {Global(0, 0), vmEncodeABC(OP_LOADNUM, 1, 5, 0), vmEncodeABx(OP_LOADK, 2, 1),
                    vmEncodeABC(OP_LOADNIL, 3, 3, 0), Call(0, 3, 0), Global(0, 0), Call(0, 0, 0)}));
  EXPECT_EQ(output,
            "Now calling failwith() with arguments #1=(NUMBER)5 #2=(STRING)\"x\" #3=(NIL) \n"
            "Now calling failwith()\n");
}

TEST_F(CallsTest, DumpsLoadAgain) {
  ImageFunction function = MakeFunction(2, {1.5}, {vmEncodeABx(OP_LOADK, 0, 0), ReturnOne(0)});
  function.lines = {1, 2, 3};
  machine_.Load(function);
  const Result<std::string> dumped = vmDumpImage(state_, false);
  ASSERT_TRUE(dumped.has_value());
  EXPECT_EQ(*dumped, WriteImage(function));
  vmPushClosure(state_, Answer, 0);
  EXPECT_EQ(vmDumpImage(state_, false).error(), Error::NotAUserFunction);
}

}  // namespace
}  // namespace quillmere
