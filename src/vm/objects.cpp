#include <new>

#include "vm/state.h"
#include "vm/table.h"

namespace quillmere {
namespace {

template <class T>
T* Link(VmState& state, T* object, Tag kind) {
  object->kind = kind;
  object->next = state.globals->allObjects;
  state.globals->allObjects = object;
  return object;
}

std::size_t ClosureSize(bool isNative, std::size_t upvalueCount) {
  return sizeof(VmClosure) + upvalueCount * (isNative ? sizeof(VmValue) : sizeof(VmUpvalue*));
}

template <class T>
void FreeArray(VmState& state, VmArray<T>& array) {
  FreeBlock(state, array.items, array.count);
}

void FreeProto(VmState& state, VmProto* proto) {
  FreeArray(state, proto->constants);
  FreeArray(state, proto->code);
  FreeArray(state, proto->protos);
  FreeArray(state, proto->lineInfo);
  FreeArray(state, proto->locals);
  FreeArray(state, proto->upvalueNames);
  FreeBlock(state, proto, 1);
}

}  // namespace

VmClosure* NewScriptClosure(VmState& state, VmProto* proto, VmTable* environment) {
  const std::size_t size = ClosureSize(false, proto->upvalueCount);
  auto* closure = ::new (vmRealloc(state, nullptr, 0, size)) VmClosure;
  closure->upvalueCount = proto->upvalueCount;
  closure->environment = environment;
  closure->proto = proto;
  for (int i = 0; i < proto->upvalueCount; ++i) closure->Upvalues()[i] = nullptr;
  return Link(state, closure, Tag::Function);
}

VmClosure* NewNativeClosure(VmState& state, VmNative entry, int upvalueCount) {
  const std::size_t size = ClosureSize(true, static_cast<std::size_t>(upvalueCount));
  auto* closure = ::new (vmRealloc(state, nullptr, 0, size)) VmClosure;
  closure->isNative = true;
  closure->upvalueCount = static_cast<std::uint8_t>(upvalueCount);
  closure->environment = state.globalTable;
  closure->entry = entry;
  for (int i = 0; i < upvalueCount; ++i) closure->NativeUpvalues()[i] = VmValue();
  return Link(state, closure, Tag::Function);
}

VmUserdata* NewUserdata(VmState& state, std::size_t size) {
  if (size >= vmMaxBlock - sizeof(VmUserdata)) vmThrow(state, Error::OutOfMemory);
  auto* userdata = ::new (vmRealloc(state, nullptr, 0, sizeof(VmUserdata) + size)) VmUserdata;
  userdata->kind = Tag::Userdata;
  userdata->metatable = state.globals->defaultMeta;
  userdata->size = size;
  userdata->next = state.globals->allUserdata;
  state.globals->allUserdata = userdata;
  return userdata;
}

VmProto* NewProto(VmState& state) {
  return Link(state, ::new (NewBlock<VmProto>(state, 1)) VmProto, Tag::Proto);
}

VmUpvalue* FindUpvalue(VmState& state, VmValue* level) {
  VmUpvalue** place = &state.openUpvalues;
  while (*place != nullptr && (*place)->location >= level) {
    if ((*place)->location == level) return *place;
    place = &(*place)->nextOpen;
  }
  auto* upvalue = ::new (NewBlock<VmUpvalue>(state, 1)) VmUpvalue;
  upvalue->location = level;
  upvalue->nextOpen = *place;
  *place = upvalue;
  return Link(state, upvalue, Tag::Upvalue);
}

void CloseUpvalues(VmState& state, const VmValue* level) {
  while (state.openUpvalues != nullptr && state.openUpvalues->location >= level) {
    VmUpvalue* upvalue = state.openUpvalues;
    state.openUpvalues = upvalue->nextOpen;
    upvalue->closedValue = *upvalue->location;
    upvalue->location = &upvalue->closedValue;
    upvalue->nextOpen = nullptr;
  }
}

void FreeObject(VmState& state, VmObject* object) {
  switch (object->kind) {
    case Tag::String: {
      auto* string = static_cast<VmString*>(object);
      vmRealloc(state, string, sizeof(VmString) + string->length + 1, 0);
      break;
    }
    case Tag::Table:
      FreeTable(state, static_cast<VmTable*>(object));
      break;
    case Tag::Function: {
      auto* closure = static_cast<VmClosure*>(object);
      vmRealloc(state, closure, ClosureSize(closure->isNative, closure->upvalueCount), 0);
      break;
    }
    case Tag::Userdata: {
      auto* userdata = static_cast<VmUserdata*>(object);
      vmRealloc(state, userdata, sizeof(VmUserdata) + userdata->size, 0);
      break;
    }
    case Tag::Proto:
      FreeProto(state, static_cast<VmProto*>(object));
      break;
    case Tag::Upvalue:
      FreeBlock(state, static_cast<VmUpvalue*>(object), 1);
      break;
    default:
      break;
  }
}

}  // namespace quillmere
