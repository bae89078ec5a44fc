// `Sort`: puts a list of the script in order.
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "base/numbers.h"
#include "lib/quicksort.h"
#include "lib/system_commands.h"

namespace quillmere::system_library {
namespace {

constexpr int slotsOfSort = 40;
constexpr int tableIndex = 1;
constexpr int compareIndex = 2;

/// The list at stack index 1 as the sort sees it in general. Elements are read afresh each time,
/// since the compare function at stack index 2, when there is one, may change the table.
class ScriptList {
 public:
  ScriptList(VmState& state, bool hasCompare) : state_(state), hasCompare_(hasCompare) {}

  Result<bool> Less(int a, int b) {
    PushFunction();
    PushElement(a);
    PushElement(b);
    return Compare();
  }

  void Swap(int a, int b) {
    PushElement(a);
    PushElement(b);
    vmRawSetInt(state_, tableIndex, a);
    vmRawSetInt(state_, tableIndex, b);
  }

  void TakePivot(int i) {
    PushElement(i);
    pivotIndex_ = vmGetTop(state_);
  }

  Result<bool> LessThanPivot(int i) {
    PushFunction();
    PushElement(i);
    vmPushValue(state_, pivotIndex_);
    return Compare();
  }

  Result<bool> PivotLessThan(int i) {
    PushFunction();
    vmPushValue(state_, pivotIndex_);
    PushElement(i);
    return Compare();
  }

  void DropPivot() { vmPop(state_, 1); }

  /// The count of elements: up to the first Nil, and without a compare function up to the first
  /// empty string.
  int Count() {
    for (int count = 0;; ++count) {
      PushElement(count);
      const VmType type = vmType(state_, -1);
      const bool atEnd = type == VmType::Nil || (!hasCompare_ && type == VmType::String &&
                                                 vmStringLength(state_, -1) == 0);
      vmPop(state_, 1);
      if (atEnd) return count;
    }
  }

 private:
  void PushElement(int i) { vmRawGetInt(state_, tableIndex, i); }

  void PushFunction() {
    if (hasCompare_) vmPushValue(state_, compareIndex);
  }

  /// Pops the two values on top, and the function below them, and tells whether the lower value is
  /// the smaller one.
  Result<bool> Compare() {
    if (!hasCompare_) {
      const bool isLess = vmLessThan(state_, -2, -1);
      vmPop(state_, 2);
      return isLess;
    }
    const int code = vmCall(state_, 2, 1);
    if (code != 0) return Fail(static_cast<Error>(code));
    const bool isLess = ToInt32(vmToNumber(state_, -1)) != 0;
    vmPop(state_, 1);
    return isLess;
  }

  VmState& state_;
  bool hasCompare_;
  int pivotIndex_ = 0;
};

/// A list of numbers alone or of texts alone without a compare function: its keys can be sorted
/// outside of the machine, by the same steps.
template <class Key>
class KeyList {
 public:
  void Add(const Key& key) { items_.push_back({key, static_cast<int>(items_.size())}); }

  Result<bool> Less(int a, int b) { return At(a).key < At(b).key; }
  void Swap(int a, int b) { std::swap(At(a), At(b)); }
  void TakePivot(int i) { pivot_ = At(i).key; }
  Result<bool> LessThanPivot(int i) { return At(i).key < pivot_; }
  Result<bool> PivotLessThan(int i) { return pivot_ < At(i).key; }
  void DropPivot() {}

  /// Sorts the keys and then brings the entries of the script's table into the same order, also
  /// when the sort has failed half way.
  Status Sort(VmState& state) {
    const Status status = QuickSort(*this, 0, static_cast<int>(items_.size()) - 1);
    for (int i = 0; i < static_cast<int>(items_.size()); ++i) RollCycle(state, i);
    return status;
  }

 private:
  struct Item {
    Key key;
    /// The index of the entry in the script's table.
    int origin;
  };

  Item& At(int i) { return items_[static_cast<std::size_t>(i)]; }

  /// Moves each entry of the cycle that runs through `start` to its place.
  void RollCycle(VmState& state, int start) {
    if (At(start).origin == start) return;
    vmRawGetInt(state, tableIndex, start);
    int place = start;
    while (At(place).origin != start) {
      const int origin = std::exchange(At(place).origin, place);
      vmCopyItems(state, tableIndex, origin, place, 1);
      place = origin;
    }
    At(place).origin = place;
    vmRawSetInt(state, tableIndex, place);
  }

  std::vector<Item> items_;
  Key pivot_{};
};

/// Sorts `count` entries by their keys if all have the given type; nothing when they have not. The
/// texts stay where they are as long as the table holds them.
template <class Key>
std::optional<Status> SortKeys(VmState& state, int count, VmType type,
                               Key (*keyOf)(VmState&, int)) {
  KeyList<Key> list;
  for (int i = 0; i < count; ++i) {
    vmRawGetInt(state, tableIndex, i);
    const bool fits = vmType(state, -1) == type;
    if (fits) list.Add(keyOf(state, -1));
    vmPop(state, 1);
    if (!fits) return std::nullopt;
  }
  return list.Sort(state);
}

}  // namespace

CommandResult Sort(VmState& state) {
  vmCheckArgs(state, 1, 2);
  if (!vmCheckStack(state, slotsOfSort)) return Error::StackOverflow;
  vmArgTable(state, tableIndex);
  const bool hasCompare = vmGetTop(state) >= compareIndex;
  if (hasCompare) vmArgFunction(state, compareIndex);
  ScriptList list(state, hasCompare);
  const int count = list.Count();
  if (!hasCompare) {
    if (const auto done = SortKeys(state, count, VmType::Number, vmToNumber)) return *done;
    if (const auto done = SortKeys(state, count, VmType::String, vmToBytes)) return *done;
  }
  return QuickSort(list, 0, count - 1);
}

}  // namespace quillmere::system_library
