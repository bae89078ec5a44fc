// Lists and tables. A list is the run of entries from index 0 up to the first Nil.
#include "lib/globals.h"
#include "lib/system_commands.h"

namespace quillmere::system_library {
namespace {

/// Stack slots that one level of a deep copy needs: source and target, key and value, and a copy of
/// the key.
constexpr int slotsOfCopyLevel = 6;

/// Pushes a deep copy of the table on top of the stack.
Status PushCopy(VmState& state) {
  if (!vmCheckStack(state, slotsOfCopyLevel)) return Fail(Error::StackOverflow);
  vmNewTable(state);
  const int target = vmGetTop(state);
  const int source = target - 1;
  vmPushNil(state);
  while (vmNext(state, source)) {
    if (vmType(state, -1) == VmType::Table) {
      TRY(PushCopy(state));
      vmRemove(state, -2);
    }
    vmPushValue(state, -2);
    vmInsert(state, -2);
    vmRawSet(state, target);
  }
  return {};
}

}  // namespace

CommandResult ListItems(VmState& state) {
  vmCheckArgs(state, 1, 1);
  vmArgTable(state, 1);
  vmPushNumber(state, vmCountItems(state, 1));
  return 1;
}

CommandResult InsertItem(VmState& state) {
  vmCheckArgs(state, 2, 3);
  vmArgTable(state, 1);
  std::int32_t index = vmArgOptInt(state, 3, -1);
  const int count = vmCountItems(state, 1);
  if (index < 0 || index > count) index = count;
  vmCopyItems(state, 1, index, index + 1, count - index);
  vmPushValue(state, 2);
  vmRawSetInt(state, 1, index);
  return 0;
}

CommandResult RemoveItem(VmState& state) {
  vmCheckArgs(state, 1, 2);
  vmArgTable(state, 1);
  std::int32_t index = vmArgOptInt(state, 2, -1);
  const int last = vmCountItems(state, 1) - 1;
  if (last < 0) return 0;
  if (index < 0 || index > last) index = last;
  vmRawGetInt(state, 1, index);
  vmCopyItems(state, 1, index + 1, index, last - index);
  vmPushNil(state);
  vmRawSetInt(state, 1, last);
  return 1;
}

CommandResult Unpack(VmState& state) {
  vmCheckArgs(state, 1, 1);
  vmArgTable(state, 1);
  const int count = vmCountItems(state, 1);
  if (count > vmMaxResults || !vmCheckStack(state, count)) return Error::StackOverflow;
  for (int i = 0; i < count; ++i) vmRawGetInt(state, 1, i);
  return count;
}

CommandResult CopyTable(VmState& state) {
  vmCheckArgs(state, 1, 1);
  vmArgTable(state, 1);
  TRY(PushCopy(state));
  return 1;
}

CommandResult NextItem(VmState& state) {
  vmCheckArgs(state, 1, 2);
  vmArgTable(state, 1);
  vmSetTop(state, 2);
  if (vmNext(state, 1)) return 2;
  vmPushNil(state);
  return 1;
}

CommandResult Pairs(VmState& state) {
  vmCheckArgs(state, 1, 1);
  vmArgTable(state, 1);
  PushGlobal(state, "nextitem");
  vmPushValue(state, 1);
  vmPushNil(state);
  return 3;
}

CommandResult IPairs(VmState& state) {
  vmCheckArgs(state, 1, 2);
  vmArgTable(state, 1);
  if (vmGetTop(state) == 1) {
    PushGlobal(state, "ipairs");
    vmPushValue(state, 1);
    vmPushNumber(state, -1);
    return 3;
  }
  const std::int32_t last = vmArgInt(state, 2);
  if (last == INT32_MAX) return 0;
  vmPushNumber(state, last + 1);
  vmRawGetInt(state, 1, last + 1);
  return vmType(state, -1) == VmType::Nil ? 0 : 2;
}

}  // namespace quillmere::system_library
