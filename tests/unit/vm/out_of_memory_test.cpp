#include <gtest/gtest.h>

#include <new>

#include "vm/vm.h"

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

}  // namespace
}  // namespace quillmere
