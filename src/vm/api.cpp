// The embedding interface on values: the stack as native code sees it.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <new>

#include "vm/image.h"
#include "vm/state.h"
#include "vm/table.h"

namespace quillmere {
namespace {

/// The value at an index, or null for "none".
VmValue* At(VmState& state, int index) {
  if (index > 0) {
    VmValue* place = state.base + (index - 1);
    return place < state.top ? place : nullptr;
  }
  if (index > vmRegistryIndex) return state.top + index;
  return nullptr;
}

/// The value at an index, pseudo indices included; the nil object for "none".
VmValue ValueAt(VmState& state, int index) {
  if (index > vmRegistryIndex) {
    const VmValue* place = At(state, index);
    return place != nullptr ? *place : VmValue();
  }
  if (index == vmRegistryIndex) return VmValue::Table(state.globals->registry);
  if (index == vmGlobalsIndex) return VmValue::Table(state.globalTable);
  VmClosure* running = FunctionOf(*state.ci);
  const int upvalue = vmGlobalsIndex - index;
  return upvalue <= running->upvalueCount ? running->NativeUpvalues()[upvalue - 1] : VmValue();
}

void Push(VmState& state, const VmValue& value) {
  EnsureStack(state, 1);
  *state.top++ = value;
}

/// Converts the value at an index to a string in its place; null when it cannot be one.
VmString* StringAt(VmState& state, int index) {
  VmValue* place = At(state, index);
  if (place == nullptr) return nullptr;
  if (place->IsString()) return place->string();
  if (!ToStringInPlace(state, *place)) return nullptr;
  vmCheckGC(state);
  return At(state, index)->string();
}

}  // namespace

Host& vmHost(VmState& state) {
  return state.globals->host;
}

int vmGetTop(VmState& state) {
  return static_cast<int>(state.top - state.base);
}

void vmSetTop(VmState& state, int index) {
  if (index < 0) {
    state.top += index + 1;
    return;
  }
  EnsureStack(state, index);
  while (state.top < state.base + index) *state.top++ = VmValue();
  state.top = state.base + index;
}

bool vmCheckStack(VmState& state, int count) {
  if (state.top - state.base + count > vmMaxNativeStack) return false;
  EnsureStack(state, count);
  state.ci->top = std::max(state.ci->top, state.top + count);
  return true;
}

void vmPushValue(VmState& state, int index) {
  Push(state, ValueAt(state, index));
}

void vmRemove(VmState& state, int index) {
  VmValue* place = At(state, index);
  if (place == nullptr) return;
  std::copy(place + 1, state.top, place);
  --state.top;
}

void vmInsert(VmState& state, int index) {
  VmValue* place = At(state, index);
  if (place == nullptr) return;
  std::rotate(place, state.top - 1, state.top);
}

void vmPushNil(VmState& state) {
  Push(state, VmValue());
}

void vmPushBoolean(VmState& state, bool value) {
  Push(state, VmValue::Boolean(value));
}

void vmPushNumber(VmState& state, double value) {
  Push(state, VmValue::ForeignNumber(value));
}

void vmPushLight(VmState& state, void* pointer) {
  Push(state, VmValue::Light(pointer));
}

void vmPushString(VmState& state, const char* text) {
  if (text == nullptr) return vmPushNil(state);
  vmPushBytes(state, text);
}

void vmPushBytes(VmState& state, std::string_view bytes) {
  vmCheckGC(state);
  vmPushStringFast(state, bytes);
}

void vmPushStringFast(VmState& state, std::string_view text) {
  Push(state, VmValue::String(NewString(state, text)));
}

void vmPushClosure(VmState& state, VmNative function, int upvalueCount) {
  vmCheckGC(state);
  VmClosure* closure = NewNativeClosure(state, function, upvalueCount);
  state.top -= upvalueCount;
  std::copy_n(state.top, upvalueCount, closure->NativeUpvalues());
  Push(state, VmValue::Function(closure));
}

const char* vmPushFormat(VmState& state, const char* format, ...) {
  std::string text;
  va_list arguments;
  va_start(arguments, format);
  for (const char* at = format; *at != '\0'; ++at) {
    if (*at != '%') {
      text += *at;
      continue;
    }
    char digits[32];
    switch (*++at) {
      case 'd':
        text += std::to_string(va_arg(arguments, int));
        break;
      case 'f':
        std::snprintf(digits, sizeof digits, "%.14g", va_arg(arguments, double));
        text += digits;
        break;
      case 's':
        if (const char* string = va_arg(arguments, const char*)) text += string;
        break;
      case 'c':
        text += static_cast<char>(va_arg(arguments, int));
        break;
      case '\0':
        --at;
        break;
      default:
        text += *at;
    }
  }
  va_end(arguments);
  vmPushBytes(state, text);
  return state.top[-1].string()->Bytes();
}

void vmPushId(VmState& state, const ObjectId& id) {
  if (id.handle != 0) {
    vmPushLight(state, reinterpret_cast<void*>(id.handle));
  } else {
    vmPushNumber(state, id.number);
  }
}

void vmNewTable(VmState& state) {
  vmCheckGC(state);
  Push(state, VmValue::Table(NewTable(state, 0, 0)));
}

void* vmNewUserdata(VmState& state, std::size_t size) {
  vmCheckGC(state);
  VmUserdata* userdata = NewUserdata(state, size);
  Push(state, VmValue::Userdata(userdata));
  return userdata->Block();
}

void vmGetTable(VmState& state, int index) {
  const VmValue value =
      GetTableEntry(state, ValueAt(state, index), state.top[-1], At(state, index));
  state.top[-1] = value;
}

void vmSetTable(VmState& state, int index) {
  SetTableEntry(state, ValueAt(state, index), state.top[-2], state.top[-1], At(state, index));
  state.top -= 2;
}

void vmRawGet(VmState& state, int index) {
  const VmValue table = ValueAt(state, index);
  state.top[-1] = table.IsTable() ? TableGet(*table.table(), state.top[-1]) : VmValue();
}

void vmRawSet(VmState& state, int index) {
  const VmValue table = ValueAt(state, index);
  if (table.IsTable()) TableSet(state, *table.table(), state.top[-2]) = state.top[-1];
  state.top -= 2;
}

void vmRawGetInt(VmState& state, int index, int key) {
  const VmValue table = ValueAt(state, index);
  Push(state, table.IsTable() ? TableGetInt(*table.table(), key) : VmValue());
}

void vmRawSetInt(VmState& state, int index, int key) {
  const VmValue table = ValueAt(state, index);
  if (table.IsTable()) TableSetInt(state, *table.table(), key) = state.top[-1];
  --state.top;
}

namespace {

void CopyItem(VmState& state, VmTable& table, int from, int to) {
  const VmValue entry = TableGetInt(table, from);
  TableSetInt(state, table, to) = entry;
}

/// Copies entries to higher indices, last first. What lies in the array part with both indices goes
/// at once; a copy beside it may enlarge that part.
void CopyItemsUp(VmState& state, VmTable& table, int from, int to, int count) {
  const int first = std::max(0, 1 - from);
  for (int i = count - 1; i >= 0; --i) {
    if (i < first || to + i > table.arraySize) {
      CopyItem(state, table, from + i, to + i);
      continue;
    }
    VmValue* const source = table.array + from - 1;
    std::copy_backward(source + first, source + i + 1, table.array + to + i);
    table.absentEvents = 0;
    i = first;
  }
}

/// Copies entries to lower indices, first first.
void CopyItemsDown(VmState& state, VmTable& table, int from, int to, int count) {
  for (int i = 0; i < count; ++i) {
    const int end = std::min(count, table.arraySize - from + 1);
    if (to + i < 1 || i >= end) {
      CopyItem(state, table, from + i, to + i);
      continue;
    }
    VmValue* const source = table.array + from - 1;
    std::copy(source + i, source + end, table.array + to + i - 1);
    table.absentEvents = 0;
    i = end - 1;
  }
}

}  // namespace

int vmCountItems(VmState& state, int index) {
  const VmValue value = ValueAt(state, index);
  if (!value.IsTable() || TableGetInt(*value.table(), 0).IsNil()) return 0;
  const VmTable& table = *value.table();
  const VmValue* const end = table.array + table.arraySize;
  const VmValue* const nil = std::find_if(table.array, table.array + table.arraySize,
                                          [](const VmValue& entry) { return entry.IsNil(); });
  int count = static_cast<int>(nil - table.array) + 1;
  if (nil != end) return count;
  while (!TableGetInt(table, count).IsNil()) ++count;
  return count;
}

void vmCopyItems(VmState& state, int index, int from, int to, int count) {
  const VmValue value = ValueAt(state, index);
  if (!value.IsTable() || from == to) return;
  if (from < to) {
    CopyItemsUp(state, *value.table(), from, to, count);
  } else {
    CopyItemsDown(state, *value.table(), from, to, count);
  }
}

bool vmSetMetaTable(VmState& state, int index) {
  const VmValue object = ValueAt(state, index);
  const VmValue metatable = *--state.top;
  VmTable* table = metatable.IsTable() ? metatable.table() : state.globals->defaultMeta;
  if (object.IsTable()) {
    object.table()->metatable = table;
    return true;
  }
  if (!object.IsUserdata()) return false;
  object.userdata()->metatable = table;
  return true;
}

bool vmGetMetaTable(VmState& state, int index) {
  const VmValue object = ValueAt(state, index);
  VmTable* metatable = nullptr;
  if (object.IsTable()) metatable = object.table()->metatable;
  if (object.IsUserdata()) metatable = object.userdata()->metatable;
  if (metatable == nullptr || metatable == state.globals->defaultMeta) return false;
  Push(state, VmValue::Table(metatable));
  return true;
}

bool vmNext(VmState& state, int index) {
  const VmValue table = ValueAt(state, index);
  EnsureStack(state, 1);
  if (table.IsTable() && TableNext(state, *table.table(), state.top - 1)) {
    ++state.top;
    return true;
  }
  --state.top;
  return false;
}

void vmConcat(VmState& state, int count) {
  if (count == 0) return vmPushStringFast(state, {});
  if (count == 1) ToStringInPlace(state, state.top[-1]);
  Concatenate(state, count, state.top - 1);
  state.top -= count - 1;
  vmCheckGC(state);
}

VmType vmType(VmState& state, int index) {
  if (index > 0 && At(state, index) == nullptr) return VmType::None;
  return ValueAt(state, index).Type();
}

bool vmIsNumber(VmState& state, int index) {
  VmValue scratch;
  if (vmType(state, index) == VmType::None) return false;
  const VmValue value = ValueAt(state, index);
  return ToNumberValue(value, scratch) != nullptr;
}

bool vmIsString(VmState& state, int index) {
  const VmType type = vmType(state, index);
  return type == VmType::String || type == VmType::Number;
}

bool vmIsNative(VmState& state, int index) {
  return vmToNative(state, index) != nullptr;
}

double vmToNumber(VmState& state, int index) {
  VmValue scratch;
  const VmValue value = ValueAt(state, index);
  const VmValue* number = ToNumberValue(value, scratch);
  return number != nullptr ? number->number() : 0.0;
}

bool vmToBoolean(VmState& state, int index) {
  const VmValue value = ValueAt(state, index);
  if (value.IsBoolean()) return value.boolean();
  return !value.IsNil();
}

const char* vmToString(VmState& state, int index) {
  const VmString* string = StringAt(state, index);
  return string != nullptr ? string->Bytes() : nullptr;
}

std::string_view vmToBytes(VmState& state, int index) {
  const VmString* string = StringAt(state, index);
  return string != nullptr ? string->View() : std::string_view();
}

std::size_t vmStringLength(VmState& state, int index) {
  return vmToBytes(state, index).size();
}

const void* vmToPointer(VmState& state, int index) {
  const VmValue value = ValueAt(state, index);
  if (value.IsUserdata()) return value.userdata()->Block();
  return value.IsLight() || value.IsCollectable() ? value.pointer() : nullptr;
}

void* vmToUserdata(VmState& state, int index) {
  const VmValue value = ValueAt(state, index);
  if (value.IsUserdata()) return value.userdata()->Block();
  return value.IsLight() ? value.pointer() : nullptr;
}

VmNative vmToNative(VmState& state, int index) {
  const VmValue value = ValueAt(state, index);
  return value.IsFunction() && value.closure()->isNative ? value.closure()->entry : nullptr;
}

bool vmRawEqual(VmState& state, int index1, int index2) {
  return EqualRaw(ValueAt(state, index1), ValueAt(state, index2));
}

bool vmEqual(VmState& state, int index1, int index2) {
  return EqualValues(state, ValueAt(state, index1), ValueAt(state, index2));
}

bool vmLessThan(VmState& state, int index1, int index2) {
  return LessThan(state, ValueAt(state, index1), ValueAt(state, index2));
}

int vmCall(VmState& state, int argumentCount, int resultCount) {
  return vmCallAt(state, state.top - (argumentCount + 1), resultCount);
}

int vmPCall(VmState& state, int argumentCount, int resultCount) {
  const std::ptrdiff_t place = SaveStack(state, state.top - (argumentCount + 1));
  int code = 0;
  const int thrown = vmProtectedRun(
      state, [&] { code = vmCallAt(state, RestoreStack(state, place), resultCount); });
  if (thrown == 0 && code == 0) return 0;
  CloseUpvalues(state, RestoreStack(state, place));
  state.top = RestoreStack(state, place);
  return thrown != 0 ? thrown : code;
}

void vmSetQuitFlag(VmState& state, bool quit) {
  state.attention = quit ? state.attention | attentionQuit : state.attention & ~attentionQuit;
}

bool vmQuitFlag(VmState& state) {
  return (state.attention & attentionQuit) != 0;
}

void vmSetHook(VmState& state, VmHook hook, int mask, int count) {
  if (hook == nullptr || mask == 0) {
    hook = nullptr;
    mask = 0;
  }
  state.hook = hook;
  state.hookMask = mask;
  state.baseHookCount = state.hookCount = count;
  state.linePatience = 0;
  const bool counts = (mask & vmMaskCount) != 0;
  state.attention = counts ? state.attention | attentionCount : state.attention & ~attentionCount;
}

void vmRequestLineHook(VmState& state) {
  state.linePatience = 0;
}

void vmSetGCThreshold(VmState& state, int kilobytes) {
  constexpr int unlimited = 0x400000;
  state.globals->gcThreshold = kilobytes < unlimited
                                   ? static_cast<std::size_t>(std::max(kilobytes, 0)) << 10
                                   : std::size_t{0xFFFFFFFF};
  vmCheckGC(state);
}

int vmGetGCThreshold(VmState& state) {
  return static_cast<int>(state.globals->gcThreshold >> 10);
}

int vmGetGCCount(VmState& state) {
  return static_cast<int>(state.globals->bytesInUse >> 10);
}

VmErrorPosition& vmErrorPosition(VmState& state) {
  return state.globals->position;
}

int& vmLastError(VmState& state) {
  return state.globals->lastError;
}

std::span<const VmLibraryEntry> vmLibraries(VmState& state) {
  return state.globals->libraries;
}

void vmSetPendingJump(VmState& state, int instruction) {
  state.globals->pendingJump = instruction;
}

}  // namespace quillmere
