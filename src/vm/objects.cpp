#include <new>

#include "vm/state.h"
#include "vm/table.h"

namespace quillmere {
namespace {

template <class T>
void FreeArray(VmState& state, VmArray<T>& array) {
  FreeBlock(state, array.items, array.count);
}

void FreeProto(VmState& state, VmProto* proto) {
  FreeArray(state, proto->constants);
  FreeArray(state, proto->ops);
  FreeArray(state, proto->code);
  FreeArray(state, proto->protos);
  FreeArray(state, proto->lineInfo);
  FreeArray(state, proto->locals);
  FreeArray(state, proto->upvalueNames);
}

}  // namespace

VmClosure* NewScriptClosure(VmState& state, VmProto* proto, VmTable* environment) {
  auto* closure = ::new (NewCell(state, VmClosure::SizeOf(proto->upvalueCount))) VmClosure;
  closure->kind = VmKind::Function;
  closure->upvalueCount = proto->upvalueCount;
  closure->environment = environment;
  closure->proto = proto;
  for (int i = 0; i < proto->upvalueCount; ++i) closure->Upvalues()[i] = nullptr;
  return closure;
}

VmClosure* NewNativeClosure(VmState& state, VmNative entry, int upvalueCount) {
  auto* closure = ::new (NewCell(state, VmClosure::SizeOf(upvalueCount))) VmClosure;
  closure->kind = VmKind::Function;
  closure->isNative = true;
  closure->upvalueCount = static_cast<std::uint8_t>(upvalueCount);
  closure->environment = state.globalTable;
  closure->entry = entry;
  for (int i = 0; i < upvalueCount; ++i) closure->NativeUpvalues()[i] = VmValue();
  return closure;
}

VmUserdata* NewUserdata(VmState& state, std::size_t size) {
  if (size >= vmMaxBlock - sizeof(VmUserdata)) vmThrow(state, Error::OutOfMemory);
  auto* userdata = ::new (vmRealloc(state, nullptr, 0, sizeof(VmUserdata) + size)) VmUserdata;
  userdata->kind = VmKind::Userdata;
  userdata->metatable = state.globals->defaultMeta;
  userdata->size = size;
  userdata->next = state.globals->allUserdata;
  state.globals->allUserdata = userdata;
  return userdata;
}

VmProto* NewProto(VmState& state) {
  auto* proto = ::new (NewCell(state, sizeof(VmProto))) VmProto;
  proto->kind = VmKind::Proto;
  return proto;
}

VmUpvalue* NewUpvalue(VmState& state) {
  auto* upvalue = ::new (NewCell(state, sizeof(VmUpvalue))) VmUpvalue;
  upvalue->kind = VmKind::Upvalue;
  upvalue->location = &upvalue->closedValue;
  return upvalue;
}

VmUpvalue* FindUpvalue(VmState& state, VmValue* level) {
  VmUpvalue** place = &state.openUpvalues;
  while (*place != nullptr && (*place)->location >= level) {
    if ((*place)->location == level) return *place;
    place = &(*place)->nextOpen;
  }
  VmUpvalue* upvalue = NewUpvalue(state);
  upvalue->location = level;
  upvalue->nextOpen = *place;
  *place = upvalue;
  return upvalue;
}

void CloseUpvalues(VmState& state, const VmValue* level) {
  while (state.openUpvalues != nullptr && state.openUpvalues->location >= level) {
    VmUpvalue* upvalue = state.openUpvalues;
    state.openUpvalues = upvalue->nextOpen;
    upvalue->closedValue = *upvalue->location;
    upvalue->location = &upvalue->closedValue;
  }
}

void FreeString(VmState& state, VmString* string) {
  vmRealloc(state, string, VmString::SizeOf(string->length), 0);
}

void FreeUserdata(VmState& state, VmUserdata* userdata) {
  vmRealloc(state, userdata, sizeof(VmUserdata) + userdata->size, 0);
}

void ReleaseObject(VmState& state, VmObject& object) {
  switch (object.kind) {
    case VmKind::Table:
      FreeTable(state, static_cast<VmTable&>(object));
      state.globals->bytesInUse -= sizeof(VmTable);
      break;
    case VmKind::Function:
      state.globals->bytesInUse -= VmClosure::SizeOf(static_cast<VmClosure&>(object).upvalueCount);
      break;
    case VmKind::Proto:
      FreeProto(state, static_cast<VmProto*>(&object));
      state.globals->bytesInUse -= sizeof(VmProto);
      break;
    default:
      state.globals->bytesInUse -= sizeof(VmUpvalue);
      break;
  }
}

}  // namespace quillmere
