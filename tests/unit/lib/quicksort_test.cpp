#include "lib/quicksort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

namespace quillmere {
namespace {

/// A list of numbers that sees to it that the sort stays within it.
class NumberList {
 public:
  using Order = std::function<bool(int, int)>;

  explicit NumberList(std::vector<int> unsorted, Order order = std::less<int>())
      : items(std::move(unsorted)), order_(std::move(order)) {}

  Result<bool> Less(int a, int b) { return Compare(At(a), At(b)); }
  void Swap(int a, int b) { std::swap(At(a), At(b)); }
  void TakePivot(int i) { pivot_ = At(i); }
  Result<bool> LessThanPivot(int i) { return Compare(At(i), pivot_); }
  Result<bool> PivotLessThan(int i) { return Compare(pivot_, At(i)); }
  void DropPivot() {}

  Status Sort() { return QuickSort(*this, 0, static_cast<int>(items.size()) - 1); }

  std::vector<int> items;
  int comparisons = 0;

 private:
  int& At(int i) { return items.at(static_cast<std::size_t>(i)); }
  bool Compare(int a, int b) {
    ++comparisons;
    return order_(a, b);
  }

  Order order_;
  int pivot_ = 0;
};

TEST(QuickSort, OrdersWhateverComes) {
  std::mt19937 random(7);
  for (int size = 0; size < 200; ++size) {
    std::vector<int> items;
    for (int i = 0; i < size; ++i) items.push_back(static_cast<int>(random() % 50));
    NumberList list(items);
    ASSERT_TRUE(list.Sort());
    std::ranges::sort(items);
    EXPECT_EQ(list.items, items);
  }
}

TEST(QuickSort, MeetsOnlyFewElementsOfAnOrderedList) {
  std::vector<int> items(1000);
  for (int i = 0; i < 1000; ++i) items[static_cast<std::size_t>(i)] = i;
  NumberList list(items);
  ASSERT_TRUE(list.Sort());
  EXPECT_LT(list.comparisons, 15000);
}

TEST(QuickSort, SeesAnOrderThatContradictsItself) {
  for (int size = 4; size < 40; ++size) {
    NumberList list(std::vector<int>(static_cast<std::size_t>(size)),
                    [](int, int) { return true; });
    const Status status = list.Sort();
    ASSERT_FALSE(status) << size;
    EXPECT_EQ(status.error(), Error::InvalidSortOrder);
  }
}

TEST(QuickSort, EndsWithAnyOrder) {
  std::mt19937 random(3);
  for (int round = 0; round < 300; ++round) {
    std::vector<int> items(static_cast<std::size_t>(round));
    NumberList list(items, [&random](int, int) { return random() % 2 == 0; });
    const Status status = list.Sort();
    EXPECT_TRUE(status || status.error() == Error::InvalidSortOrder);
  }
}

}  // namespace
}  // namespace quillmere
