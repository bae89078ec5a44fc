// `Sort`: puts a list of the script in order.
#include "base/numbers.h"
#include "lib/quicksort.h"
#include "lib/system_commands.h"

namespace quillmere::system_library {
namespace {

constexpr int slotsOfSort = 40;
constexpr int tableIndex = 1;
constexpr int compareIndex = 2;

/// The list at stack index 1 as the sort sees it. Elements are read afresh each time, since the
/// compare function at stack index 2, when there is one, may change the table.
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

}  // namespace

CommandResult Sort(VmState& state) {
  vmCheckArgs(state, 1, 2);
  if (!vmCheckStack(state, slotsOfSort)) return Error::StackOverflow;
  vmArgTable(state, tableIndex);
  const bool hasCompare = vmGetTop(state) >= compareIndex;
  if (hasCompare) vmArgFunction(state, compareIndex);
  ScriptList list(state, hasCompare);
  return QuickSort(list, 0, list.Count() - 1);
}

}  // namespace quillmere::system_library
