#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "vm/vm.h"

namespace quillmere {
namespace {

constexpr int hole = 0;

/// A table beside the plain row of numbers that it has to equal; 0 stands for nil.
class ItemsTest : public testing::Test {
 protected:
  ItemsTest() : state_(vmOpen(host_)) { vmNewTable(*state_); }
  ~ItemsTest() override { vmClose(state_); }

  void Set(int index, int value) {
    row_[static_cast<std::size_t>(index)] = value;
    if (value == hole) {
      vmPushNil(*state_);
    } else {
      vmPushNumber(*state_, value);
    }
    vmRawSetInt(*state_, 1, index);
  }

  void Copy(int from, int to, int count) {
    const std::vector<int> source(row_.begin() + from, row_.begin() + from + count);
    std::ranges::copy(source, row_.begin() + to);
    vmCopyItems(*state_, 1, from, to, count);
  }

  void Check() {
    std::vector<int> entries(row_.size(), hole);
    for (std::size_t i = 0; i < entries.size(); ++i) {
      vmRawGetInt(*state_, 1, static_cast<int>(i));
      if (vmType(*state_, -1) != VmType::Nil)
        entries[i] = static_cast<int>(vmToNumber(*state_, -1));
      vmPop(*state_, 1);
    }
    ASSERT_EQ(entries, row_);
    const auto end = std::ranges::find(row_, hole);
    ASSERT_EQ(vmCountItems(*state_, 1), end - row_.begin());
  }

  static constexpr int rowSize = 300;
  Host host_;
  VmState* state_;
  std::vector<int> row_ = std::vector<int>(rowSize, hole);
};

TEST_F(ItemsTest, AgreeWithAPlainRow) {
  std::mt19937 random(11);
  for (int round = 0; round < 400; ++round) {
    const int from = static_cast<int>(random() % 100);
    const int to = static_cast<int>(random() % 100);
    Set(static_cast<int>(random() % 200), static_cast<int>(random() % 50));
    if (round < 150) Set(round, round + 1);
    Copy(from, to, static_cast<int>(random() % 150));
    Check();
  }
}

TEST_F(ItemsTest, CountEndsAtTheFirstHole) {
  Set(1, 1);
  Check();
  Set(0, 1);
  Check();
  for (int i = 2; i < 100; ++i) Set(i, i);
  Check();
  Set(40, hole);
  Check();
  Set(0, hole);
  Check();
}

}  // namespace
}  // namespace quillmere
