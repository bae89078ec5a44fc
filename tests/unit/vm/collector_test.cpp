#include <gtest/gtest.h>

#include "unit/vm/machine.h"
#include "vm/table.h"

namespace quillmere {
namespace {

int finalized = 0;

CommandResult Finalize(VmState& state) {
  EXPECT_EQ(vmType(state, 1), VmType::Userdata);
  ++finalized;
  return 0;
}

class CollectorTest : public testing::Test {
 protected:
  CollectorTest() { finalized = 0; }

  /// Pushes a table whose metatable has `__mode`.
  void PushWeak(const char* mode) {
    vmNewTable(state_);
    vmNewTable(state_);
    vmSetFieldString(state_, "__mode", mode);
    vmSetMetaTable(state_, -2);
  }
  void PushFinalized() {
    vmNewUserdata(state_, 100);
    vmNewTable(state_);
    vmPushString(state_, "__gc");
    vmPushClosure(state_, Finalize, 0);
    vmRawSet(state_, -3);
    vmSetMetaTable(state_, -2);
  }
  int Count(int index) {
    int count = 0;
    vmPushNil(state_);
    while (vmNext(state_, index)) {
      ++count;
      vmPop(state_, 1);
    }
    return count;
  }

  Machine machine_;
  VmState& state_ = machine_.State();
};

TEST_F(CollectorTest, WeakValuesLoseObjectsButKeepStrings) {
  PushWeak("v");
  for (int i = 0; i < 3; ++i) {
    vmNewTable(state_);
    vmRawSetInt(state_, 1, i);
  }
  vmPushString(state_, "a text that nobody else has");
  vmRawSetInt(state_, 1, 3);
  vmPushNumber(state_, 1);
  vmRawSetInt(state_, 1, 4);
  vmNewTable(state_);
  vmPushValue(state_, -1);
  vmRawSetInt(state_, 1, 5);
  vmCollect(state_);
  EXPECT_EQ(Count(1), 3);
  vmRawGetInt(state_, 1, 3);
  EXPECT_EQ(machine_.Show(-1), "\"a text that nobody else has\"");
}

TEST_F(CollectorTest, WeakKeysGoWhenNothingElseHoldsThem) {
  PushWeak("k");
  vmNewTable(state_);  // held by the stack
  vmPushValue(state_, -1);
  vmPushNumber(state_, 1);
  vmRawSet(state_, 1);
  for (int i = 0; i < 5; ++i) {
    vmNewTable(state_);
    vmPushNumber(state_, i);
    vmRawSet(state_, 1);
  }
  vmCollect(state_);
  EXPECT_EQ(Count(1), 1);
  vmPop(state_, 1);
  vmCollect(state_);
  EXPECT_EQ(Count(1), 0);
}

TEST_F(CollectorTest, AKeyThatItsOwnValueHoldsStays) {
  PushWeak("k");
  vmNewTable(state_);
  vmNewTable(state_);
  vmPushValue(state_, 2);
  vmRawSetInt(state_, 3, 0);  // the value refers to the key
  vmRawSet(state_, 1);
  vmCollect(state_);
  EXPECT_EQ(Count(1), 1);
}

TEST_F(CollectorTest, FinalizersRunOnce) {
  state_.globals->collectAlways = false;
  PushFinalized();
  vmCollect(state_);
  EXPECT_EQ(finalized, 0);
  const std::size_t before = state_.globals->bytesInUse;
  vmPop(state_, 1);
  vmCollect(state_);
  EXPECT_EQ(finalized, 1);
  vmCollect(state_);
  EXPECT_EQ(finalized, 1);
  EXPECT_LT(state_.globals->bytesInUse + 100, before);
}

TEST_F(CollectorTest, ClosingFinalizesWhatIsLeft) {
  {
    Machine machine;
    VmState& state = machine.State();
    vmNewUserdata(state, 8);
    vmNewTable(state);
    vmPushString(state, "__gc");
    vmPushClosure(
        state,
        [](VmState&) -> CommandResult {
          ++finalized;
          return Error::WrongUsage;
        },
        0);
    vmRawSet(state, -3);
    vmSetMetaTable(state, -2);
  }
  EXPECT_EQ(finalized, 1);
}

TEST_F(CollectorTest, AnErrorInAFinalizerReachesTheProtectedCall) {
  state_.globals->collectAlways = false;
  vmCollect(state_);
  vmNewUserdata(state_, 8);
  vmNewTable(state_);
  vmPushString(state_, "__gc");
  vmPushClosure(
      state_, [](VmState& state) -> CommandResult { vmRaise(state, Error::WrongUsage); }, 0);
  vmRawSet(state_, -3);
  vmSetMetaTable(state_, -2);
  vmPop(state_, 1);
  vmPushClosure(
      state_,
      [](VmState& state) -> CommandResult {
        vmCollect(state);
        return 0;
      },
      0);
  EXPECT_EQ(machine_.Call(), "error 1055");
}

TEST_F(CollectorTest, ThresholdFollowsWhatIsAlive) {
  state_.globals->collectAlways = false;
  vmSetGCThreshold(state_, 0);
  EXPECT_EQ(state_.globals->gcThreshold, 2 * state_.globals->bytesInUse);
  vmSetGCThreshold(state_, 100);
  EXPECT_EQ(vmGetGCThreshold(state_), 100);
  vmSetGCThreshold(state_, 0x400000);
  EXPECT_EQ(vmGetGCThreshold(state_), 0x3FFFFF);
}

TEST_F(CollectorTest, EverythingIsGivenBack) {
  state_.globals->collectAlways = false;
  vmSetTop(state_, 0);
  vmCollect(state_);
  vmCollect(state_);
  const std::size_t before = state_.globals->bytesInUse;
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 1000; ++i) {
      vmNewTable(state_);
      for (int j = 0; j < i % 20; ++j) {
        vmPushNumber(state_, j);
        vmRawSetInt(state_, -2, j);
      }
      vmSetFieldString(state_, "name", "value" + std::to_string(i));
      vmPushNumber(state_, 1);
      vmPushClosure(state_, Finalize, 1);
      vmSetTop(state_, 0);
    }
    vmCollect(state_);
  }
  for (int i = 0; i < 12; ++i) vmCollect(state_);
  EXPECT_LE(state_.globals->bytesInUse, before + 2048);
}

/// A list of tables, each holding the next, far deeper than a native stack could follow.
TEST_F(CollectorTest, DepthIsNoProblem) {
  state_.globals->collectAlways = false;
  vmNewTable(state_);
  for (int i = 0; i < 200'000; ++i) {
    vmNewTable(state_);
    vmInsert(state_, -2);
    vmRawSetInt(state_, -2, 0);
  }
  vmCollect(state_);
  int depth = 0;
  for (; vmType(state_, -1) == VmType::Table; ++depth) {
    vmRawGetInt(state_, -1, 0);
    vmRemove(state_, -2);
  }
  EXPECT_EQ(depth, 200'001);
}

}  // namespace
}  // namespace quillmere
