#include "vm/table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

#include "unit/vm/machine.h"

namespace quillmere {
namespace {

class TableTest : public testing::Test {
 protected:
  TableTest() { machine_.State().globals->collectAlways = false; }

  VmTable& New(int arraySize = 0, int log2NodeCount = 0) {
    VmTable* table = NewTable(state_, arraySize, log2NodeCount);
    EnsureStack(state_, 1);
    *state_.top++ = VmValue::Table(table);
    return *table;
  }
  void Set(VmTable& table, double key, double value) {
    TableSet(state_, table, VmValue(key)) = VmValue(value);
  }
  void Set(VmTable& table, std::string_view key, double value) {
    TableSet(state_, table, VmValue::String(NewString(state_, key))) = VmValue(value);
  }
  std::string Traverse(const VmTable& table) {
    std::string order;
    VmValue slot[2];
    while (TableNext(state_, table, slot)) {
      if (!order.empty()) order += ' ';
      order += slot[0].IsString() ? std::string(slot[0].string()->View())
                                  : std::to_string(static_cast<int>(slot[0].number()));
    }
    return order;
  }

  Machine machine_;
  VmState& state_ = machine_.State();
};

TEST_F(TableTest, NilIsTheKeyZero) {
  VmTable& table = New();
  TableSet(state_, table, VmValue()) = VmValue(5.0);
  EXPECT_EQ(TableGet(table, VmValue(0.0)).number(), 5.0);
  EXPECT_EQ(TableGet(table, VmValue(-0.0)).number(), 5.0);
  EXPECT_EQ(TableGetInt(table, 0).number(), 5.0);
  EXPECT_EQ(TableGet(table, VmValue()).number(), 5.0);
  EXPECT_EQ(table.arraySize, 0);
}

TEST_F(TableTest, KeysThatAreNoArrayIndexGoToTheHashPart) {
  VmTable& table = New(4, 0);
  for (const double key : {1.5, -1.0, 5.0, 1e300, HUGE_VAL, 4294967297.0}) Set(table, key, key);
  for (const double key : {1.5, -1.0, 5.0, 1e300, HUGE_VAL, 4294967297.0})
    EXPECT_EQ(TableGet(table, VmValue(key)).number(), key);
  EXPECT_TRUE(TableGet(table, VmValue(1.0)).IsNil());
  EXPECT_TRUE(TableGet(table, VmValue(std::nan(""))).IsNil());
  EXPECT_EQ(vmProtectedRun(state_, [&] { Set(table, std::nan(""), 1); }),
            static_cast<int>(Error::TableIndexIsNaN));
}

TEST_F(TableTest, ArrayGrowsToTheLargestPowerThatIsHalfFull) {
  struct Case {
    std::vector<int> keys;
    int arraySize;
    int nodes;
  };
  // A rehash happens when the last free node goes, so the sizes are those after the last one.
  const Case cases[] = {
      {{1}, 1, 0},          {{2}, 2, 0}, {{1, 2}, 2, 0}, {{1, 2, 3}, 4, 0},
      {{0, 1, 2, 3}, 4, 2}, {{3}, 0, 2}, {{100}, 0, 2},  {{1, 2, 3, 4, 5}, 8, 0},
  };
  for (const Case& test : cases) {
    VmTable& table = New();
    for (const int key : test.keys) Set(table, key, key);
    EXPECT_EQ(table.arraySize, test.arraySize) << test.keys.size() << " keys";
    EXPECT_EQ(table.NodeCount(), static_cast<std::uint32_t>(test.nodes)) << test.keys.size();
    for (const int key : test.keys) EXPECT_EQ(TableGetInt(table, key).number(), key);
  }
}

TEST_F(TableTest, NodesOutnumberTheirKeys) {
  VmTable& table = New();
  const std::uint32_t sizes[] = {2, 4, 4, 8, 8, 8, 8, 16};
  for (int i = 0; i < 8; ++i) {
    Set(table, "k" + std::to_string(i), i);
    EXPECT_EQ(table.NodeCount(), sizes[i]) << i + 1 << " keys";
  }
}

TEST_F(TableTest, ArrayEntriesComeFirstThenNodesInTheirOrder) {
  VmTable& table = New(0, 2);
  // Main positions of these numbers among four nodes: the halves of key + 1 summed, modulo 3.
  const auto position = [](double key) {
    const auto bits = std::bit_cast<std::uint64_t>(key + 1.0);
    return (static_cast<std::uint32_t>(bits) + static_cast<std::uint32_t>(bits >> 32)) % 3;
  };
  double other = -1.5;
  while (position(other) != position(0)) other -= 1;
  Set(table, 0, 1);
  // Collides with 0, and so goes to the last node.
  Set(table, other, 1);
  EXPECT_EQ(&NodeAt(table, position(0))->value, &TableGetInt(table, 0));
  EXPECT_EQ(&NodeAt(table, 3)->value, &TableGet(table, VmValue(other)));
  EXPECT_EQ(Traverse(table), "0 " + std::to_string(static_cast<int>(other)));
}

TEST_F(TableTest, AKeyInTheWayMovesToTheFreeNode) {
  VmTable& table = New(0, 2);
  // Strings of one byte hash by that byte: find three that sit at 0, 0 and 3 of four nodes.
  std::vector<std::string> at[4];
  for (char c = 'a'; c <= 'z'; ++c) {
    const std::string text(1, c);
    at[NewString(state_, text)->hash & 3].push_back(text);
  }
  Set(table, at[0][0], 1);
  Set(table, at[0][1], 2);  // to node 3, the last free one
  EXPECT_EQ(NodeAt(table, 3)->value.number(), 2);
  Set(table, at[3][0], 3);  // its own place is taken by a key that is not at home
  EXPECT_EQ(NodeAt(table, 3)->value.number(), 3);
  EXPECT_EQ(NodeAt(table, 2)->value.number(), 2);
  EXPECT_EQ(Traverse(table), at[0][0] + " " + at[0][1] + " " + at[3][0]);
}

TEST_F(TableTest, DeletingWhileTraversingIsFine) {
  VmTable& table = New();
  for (int i = 0; i < 50; ++i) Set(table, "key" + std::to_string(i), i);
  for (int i = 1; i < 20; ++i) Set(table, i, i);
  int count = 0;
  vmPushNil(state_);
  while (vmNext(state_, 1)) {
    vmPop(state_, 1);
    // The key stays on the stack, as it does in a loop of a script, and nowhere else.
    TableSet(state_, table, state_.top[-1]).SetNil();
    vmCollect(state_);
    ++count;
  }
  EXPECT_EQ(count, 69);
  EXPECT_EQ(Traverse(table), "");
}

TEST_F(TableTest, AnUnknownKeyHasNoNext) {
  VmTable& table = New();
  Set(table, "a", 1);
  VmValue slot[2] = {VmValue::String(NewString(state_, "b")), VmValue()};
  EXPECT_EQ(vmProtectedRun(state_, [&] { (void)TableNext(state_, table, slot); }),
            static_cast<int>(Error::InvalidNextKey));
}

TEST_F(TableTest, EqualsAMapUnderChance) {
  std::mt19937 random(4711);
  for (int round = 0; round < 20; ++round) {
    VmTable& table = New(static_cast<int>(random() % 5), static_cast<int>(random() % 4));
    std::map<std::string, double> expected;
    const auto keyOf = [&](unsigned n) {
      switch (n % 3) {
        case 0:
          return VmValue(static_cast<double>(n / 3) - 5);
        case 1:
          return VmValue((n / 3) * 0.25);
        default:
          return VmValue::String(NewString(state_, "s" + std::to_string(n / 3)));
      }
    };
    const auto nameOf = [](VmValue key) {
      return key.IsString() ? std::string(key.string()->View()) : std::to_string(key.number());
    };
    for (int i = 0; i < 2000; ++i) {
      const VmValue key = keyOf(random() % 300);
      if (random() % 3 == 0) {
        TableSet(state_, table, key).SetNil();
        expected.erase(nameOf(key));
      } else {
        TableSet(state_, table, key) = VmValue(static_cast<double>(i));
        expected[nameOf(key)] = i;
      }
      if (random() % 500 == 0) vmCollect(state_);
    }
    std::map<std::string, double> found;
    VmValue slot[2];
    while (TableNext(state_, table, slot)) {
      EXPECT_EQ(&TableGet(table, slot[0]), &TableSet(state_, table, slot[0]));
      EXPECT_TRUE(found.emplace(nameOf(slot[0]), slot[1].number()).second);
    }
    EXPECT_EQ(found, expected);
  }
}

TEST_F(TableTest, WhatAGoneKeyHasLeftIsNotTakenForAnother) {
  // A string that takes the address of one that has gone meets the node which that one has left,
  // at a place that may not be its own.
  std::mt19937 random(3);
  VmTable* table = &New();
  std::map<std::string, double> expected;
  for (int i = 0; i < 30'000; ++i) {
    if (random() % 64 == 0) {
      vmSetTop(state_, 0);
      table = &New();
      expected.clear();
    }
    const bool adds = expected.size() < 3 && random() % 3 != 0;
    if (adds) {
      const std::string key = "key" + std::to_string(random() % 5000);
      Set(*table, key, i);
      expected[key] = i;
    } else if (!expected.empty()) {
      const auto gone = std::next(expected.begin(), random() % static_cast<int>(expected.size()));
      VmString* key = NewString(state_, gone->first);
      TableSetString(state_, *table, key).SetNil();
      expected.erase(gone);
    }
    if (random() % 4 == 0) vmCollect(state_);
    std::map<std::string, double> found;
    VmValue slot[2];
    for (int steps = 0; TableNext(state_, *table, slot); ++steps) {
      ASSERT_LT(steps, 4);
      found[std::string(slot[0].string()->View())] = slot[1].number();
    }
    ASSERT_EQ(found, expected) << i;
    for (const auto& [key, value] : expected) {
      ASSERT_EQ(TableGetString(*table, NewString(state_, key)).number(), value);
    }
  }
}

TEST_F(TableTest, SizesEndAtTheLimit) {
  const auto make = [&](int arraySize, int exponent) {
    return vmProtectedRun(state_, [&] { (void)NewTable(state_, arraySize, exponent); });
  };
  EXPECT_EQ(make(1 << vmMaxTableExponent, 0), 0);
  EXPECT_EQ(make((1 << vmMaxTableExponent) + 1, 0), static_cast<int>(Error::TableOverflow));
  EXPECT_EQ(make(0, vmMaxTableExponent), 0);
  EXPECT_EQ(make(0, vmMaxTableExponent + 1), static_cast<int>(Error::TableOverflow));
}

TEST_F(TableTest, StringsAreOneObjectWithZerosInside) {
  const std::string_view zeros("a\0b", 3);
  EXPECT_EQ(NewString(state_, zeros), NewString(state_, std::string("a\0b", 3)));
  EXPECT_NE(NewString(state_, zeros), NewString(state_, "a"));
  EXPECT_EQ(NewString(state_, zeros)->length, 3u);
  // Every byte counts up to 31, every second one from 32 on.
  const std::string text(32, 'x');
  std::string other = text;
  other[0] = 'y';
  EXPECT_EQ(NewString(state_, text)->hash, NewString(state_, other)->hash);
  EXPECT_NE(NewString(state_, text.substr(1))->hash, NewString(state_, "y" + text.substr(2))->hash);
}

TEST_F(TableTest, StringTableFollowsItsContents) {
  VmGlobals& globals = *state_.globals;
  ASSERT_TRUE(vmCheckStack(state_, 2000));
  for (int i = 0; i < 1500; ++i) vmPushBytes(state_, "string" + std::to_string(i));
  EXPECT_LE(globals.stringCount, globals.buckets.size());
  EXPECT_GT(globals.stringCount * 4, globals.buckets.size());
  const std::size_t full = globals.buckets.size();
  vmSetTop(state_, 0);
  for (int i = 0; i < 10; ++i) vmCollect(state_);
  EXPECT_LT(globals.buckets.size(), full);
  EXPECT_LE(globals.stringCount, globals.buckets.size());
}

}  // namespace
}  // namespace quillmere
