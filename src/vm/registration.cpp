// Names: the registry, references into tables, the tables of commands and constants, labels, and
// calling a command by its name.
#include <algorithm>

#include "base/fold.h"
#include "vm/state.h"
#include "vm/table.h"

namespace quillmere {
namespace {

constexpr int freeListKey = 1;
constexpr int sizesKey = 2;

int AbsoluteIndex(VmState& state, int index) {
  return index < 0 && index > vmRegistryIndex ? vmGetTop(state) + index + 1 : index;
}

/// Sets the registry entry `key` to the value on top, which is popped.
void SetRegistry(VmState& state, const char* key) {
  vmPushStringFast(state, key);
  vmInsert(state, -2);
  vmRawSet(state, vmRegistryIndex);
}

void PushRegistry(VmState& state, const char* key) {
  vmPushStringFast(state, key);
  vmRawGet(state, vmRegistryIndex);
}

/// Pushes the table that a registry key names, made at the first use.
void PushRegistryTable(VmState& state, const char* key) {
  PushRegistry(state, key);
  if (vmType(state, -1) == VmType::Table) return;
  vmPop(state, 1);
  vmNewTable(state);
  vmPushValue(state, -1);
  SetRegistry(state, key);
}

/// Pushes the table of the sizes of lists, which does not keep them alive.
void PushSizes(VmState& state) {
  vmRawGetInt(state, vmRegistryIndex, sizesKey);
  if (vmType(state, -1) == VmType::Table) return;
  vmPop(state, 1);
  vmNewTable(state);
  vmNewTable(state);
  vmSetFieldString(state, "__mode", "k");
  vmSetMetaTable(state, -2);
  vmPushValue(state, -1);
  vmRawSetInt(state, vmRegistryIndex, sizesKey);
}

/// The number on top, popped, when it is one and not negative; else -1.
int PopSize(VmState& state) {
  const int size =
      vmType(state, -1) == VmType::Number ? static_cast<int>(vmToNumber(state, -1)) : -1;
  vmPop(state, 1);
  return size;
}

int SizeByField(VmState& state, int index) {
  vmPushStringFast(state, "n");
  vmRawGet(state, index);
  return PopSize(state);
}

/// Whether the running main chunk has that instruction; any will do while none runs.
bool IsInMainChunk(VmState& state, int instruction) {
  for (const VmFrame* frame = state.frames.get() + 1; frame <= state.ci; ++frame) {
    if (frame->isNative) continue;
    const VmProto& proto = *FunctionOf(*frame)->proto;
    if (proto.lineDefined == 0) return instruction < static_cast<int>(proto.code.count);
  }
  return true;
}

void PushArgument(VmState& state, const VmArgument& argument) {
  struct Pusher {
    VmState& state;
    void operator()(std::monostate) const { vmPushNil(state); }
    void operator()(std::int32_t value) const { vmPushNumber(state, value); }
    void operator()(std::uint32_t value) const { vmPushNumber(state, value); }
    void operator()(double value) const { vmPushNumber(state, value); }
    void operator()(std::string_view value) const { vmPushStringFast(state, value); }
    void operator()(void* value) const { vmPushLight(state, value); }
    void operator()(const ObjectId& value) const { vmPushId(state, value); }
  };
  std::visit(Pusher{state}, argument);
}

}  // namespace

void vmRegistrySetNumber(VmState& state, const char* key, double value) {
  vmPushNumber(state, value);
  SetRegistry(state, key);
}

void vmRegistrySetString(VmState& state, const char* key, std::string_view value) {
  vmPushStringFast(state, value);
  SetRegistry(state, key);
}

void vmRegistrySetLight(VmState& state, const char* key, void* value) {
  vmPushLight(state, value);
  SetRegistry(state, key);
}

double vmRegistryGetNumber(VmState& state, const char* key) {
  PushRegistry(state, key);
  const double value = vmToNumber(state, -1);
  vmPop(state, 1);
  return value;
}

std::string vmRegistryGetString(VmState& state, const char* key) {
  PushRegistry(state, key);
  std::string value(vmToBytes(state, -1));
  vmPop(state, 1);
  return value;
}

void* vmRegistryGetLight(VmState& state, const char* key) {
  PushRegistry(state, key);
  void* value = vmToUserdata(state, -1);
  vmPop(state, 1);
  return value;
}

int vmRef(VmState& state, int tableIndex) {
  tableIndex = AbsoluteIndex(state, tableIndex);
  if (vmType(state, -1) == VmType::Nil) {
    vmPop(state, 1);
    return vmNoRef;
  }
  vmRawGetInt(state, tableIndex, freeListKey);
  int reference = std::max(PopSize(state), 0);
  if (reference != 0) {
    vmRawGetInt(state, tableIndex, reference);
    vmRawSetInt(state, tableIndex, freeListKey);
  } else {
    reference = std::max(vmListSize(state, tableIndex), 2) + 1;
    vmListSetSize(state, tableIndex, reference);
  }
  vmRawSetInt(state, tableIndex, reference);
  return reference;
}

void vmUnref(VmState& state, int tableIndex, int reference) {
  if (reference < 0) return;
  tableIndex = AbsoluteIndex(state, tableIndex);
  vmRawGetInt(state, tableIndex, freeListKey);
  vmRawSetInt(state, tableIndex, reference);
  vmPushNumber(state, reference);
  vmRawSetInt(state, tableIndex, freeListKey);
}

int vmListSize(VmState& state, int index) {
  index = AbsoluteIndex(state, index);
  if (const int size = SizeByField(state, index); size >= 0) return size;
  PushSizes(state);
  vmPushValue(state, index);
  vmRawGet(state, -2);
  const int kept = PopSize(state);
  vmPop(state, 1);
  if (kept >= 0) return kept;
  for (int count = 0;; ++count) {
    vmRawGetInt(state, index, count + 1);
    const bool ends = vmType(state, -1) == VmType::Nil;
    vmPop(state, 1);
    if (ends) return count;
  }
}

void vmListSetSize(VmState& state, int index, int size) {
  index = AbsoluteIndex(state, index);
  if (SizeByField(state, index) >= 0) {
    vmPushStringFast(state, "n");
    vmPushNumber(state, size);
    vmRawSet(state, index);
    return;
  }
  PushSizes(state);
  vmPushValue(state, index);
  vmPushNumber(state, size);
  vmRawSet(state, -3);
  vmPop(state, 1);
}

void vmRegisterCommands(VmState& state, std::string_view library,
                        std::span<const VmCommandEntry> commands, int upvalueCount) {
  if (!library.empty()) {
    vmPushStringFast(state, library);
    vmRawGet(state, vmGlobalsIndex);
    if (vmType(state, -1) != VmType::Table) {
      vmPop(state, 1);
      vmNewTable(state);
      vmPushStringFast(state, library);
      vmPushValue(state, -2);
      vmRawSet(state, vmGlobalsIndex);
    }
    vmInsert(state, -(upvalueCount + 1));
  }
  const int target = vmGetTop(state) - upvalueCount;
  for (const VmCommandEntry& command : commands) {
    vmPushStringFast(state, FoldLower(std::string_view(command.name)));
    for (int i = 0; i < upvalueCount; ++i) vmPushValue(state, target + 1 + i);
    vmPushClosure(state, command.function, upvalueCount);
    vmRawSet(state, target);
    if (EqualsFolded(command.name, "GetLastError")) {
      state.globals->lastErrorReader = command.function;
    }
  }
  vmPop(state, upvalueCount);
}

void vmAddLibrary(VmState& state, std::string_view name, std::span<const VmCommandEntry> commands) {
  state.globals->libraries.push_back({std::string(name.substr(0, vmMaxLibraryName)), commands});
}

void vmRegisterConstants(VmState& state, std::span<const VmConstantEntry> constants, bool isUser) {
  PushRegistryTable(state, isUser ? "userconstants" : "constants");
  for (const VmConstantEntry& constant : constants) {
    vmPushStringFast(state, FoldLower(std::string_view(constant.name)));
    if (constant.text != nullptr) {
      vmPushStringFast(state, constant.text);
    } else {
      vmPushNumber(state, constant.value);
    }
    vmRawSet(state, -3);
  }
  vmPop(state, 1);
}

void vmOpenLibrary(VmState& state, std::string_view name, std::span<const VmCommandEntry> commands,
                   std::span<const VmConstantEntry> constants) {
  vmPushValue(state, vmGlobalsIndex);
  vmRegisterCommands(state, {}, commands);
  vmPop(state, 1);
  vmAddLibrary(state, name, commands);
  if (!constants.empty()) vmRegisterConstants(state, constants);
}

int vmCallCommand(VmState& state, std::string_view name, int resultCount,
                  std::initializer_list<VmArgument> arguments) {
  return vmCallCommandWith(state, name, resultCount, arguments, 0);
}

int vmCallCommandWith(VmState& state, std::string_view name, int resultCount,
                      std::initializer_list<VmArgument> arguments, int stackArguments) {
  const auto count = static_cast<int>(arguments.size());
  if (!vmCheckStack(state, count + stackArguments + 1))
    return static_cast<int>(Error::StackOverflow);
  const int first = vmGetTop(state) - stackArguments + 1;
  vmPushStringFast(state, FoldLower(name));
  vmRawGet(state, vmGlobalsIndex);
  if (vmType(state, -1) != VmType::Function) {
    vmPop(state, 1 + stackArguments);
    vmRaise(state, Error::FunctionNotFound, std::string(name) + "()");
  }
  for (const VmArgument& argument : arguments) PushArgument(state, argument);
  for (int i = 0; i < stackArguments; ++i) {
    vmPushValue(state, first);
    vmRemove(state, first);
  }
  return vmCall(state, count + stackArguments, resultCount);
}

int vmFindLabel(VmState& state, std::string_view name) {
  PushRegistry(state, "labels");
  int instruction = -1;
  if (vmType(state, -1) == VmType::Table) {
    vmPushStringFast(state, FoldLower(name));
    vmRawGet(state, -2);
    instruction = PopSize(state);
  }
  vmPop(state, 1);
  return IsInMainChunk(state, instruction) ? instruction : -1;
}

}  // namespace quillmere
