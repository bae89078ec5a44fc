// The collector: one pass marks what can be reached, clears weak tables, frees the rest and calls
// finalizers. The script waits meanwhile; a pass starts when the bytes in use reach a threshold
// that doubles with what is alive, so that its cost stays in proportion to what is allocated.
#include <algorithm>
#include <string_view>

#include "vm/state.h"
#include "vm/table.h"

namespace quillmere {
namespace {

class Collector {
 public:
  explicit Collector(VmState& state) : state_(state), globals_(*state.globals) {}

  void Run();

 private:
  void Mark(VmObject* object) {
    if ((object->marked & markReached) == 0) MarkUnreached(object);
  }
  void MarkUnreached(VmObject* object);
  void Mark(const VmValue& value) {
    if (value.IsCollectable()) Mark(value.object());
  }
  void MarkRoots();
  void Propagate();
  void Traverse(VmObject* object);
  void TraverseTable(VmTable& table);
  void TraverseClosure(VmClosure& closure);
  void TraverseProto(VmProto& proto);
  void MarkStack();
  void ShrinkStack(const VmValue* highest);

  static bool IsReached(const VmObject* object) {
    return (object->marked & (markReached | markFixed)) != 0;
  }
  /// Whether an entry with this value or key has lost its object. Strings live on.
  bool IsGone(VmValue value);
  void ClearWeakValues(const std::vector<VmTable*>& tables);
  void ClearWeakKeys();
  std::size_t SeparateUserdata();
  void ForgetOpenUpvalues();
  void SweepStrings();
  void SweepUserdata();
  void SweepCells();
  void Resize(std::size_t deadMemory);

  VmState& state_;
  VmGlobals& globals_;
  std::vector<VmTable*> weakValues_;
  std::vector<VmTable*> weakKeys_;
};

void Collector::MarkUnreached(VmObject* object) {
  object->marked |= markReached;
  switch (object->kind) {
    case VmKind::Userdata:
      if (auto* metatable = static_cast<VmUserdata*>(object)->metatable) Mark(metatable);
      break;
    case VmKind::Upvalue:
      Mark(*static_cast<VmUpvalue*>(object)->location);
      break;
    case VmKind::Table:
    case VmKind::Function:
    case VmKind::Proto:
      globals_.gray.push_back(object);
      break;
    default:
      break;
  }
}

void Collector::MarkRoots() {
  Mark(globals_.defaultMeta);
  Mark(globals_.registry);
  MarkStack();
}

void Collector::Propagate() {
  while (!globals_.gray.empty()) {
    VmObject* object = globals_.gray.back();
    globals_.gray.pop_back();
    Traverse(object);
  }
}

void Collector::Traverse(VmObject* object) {
  switch (object->kind) {
    case VmKind::Table:
      TraverseTable(*static_cast<VmTable*>(object));
      break;
    case VmKind::Function:
      TraverseClosure(*static_cast<VmClosure*>(object));
      break;
    case VmKind::Proto:
      TraverseProto(*static_cast<VmProto*>(object));
      break;
    default:
      break;
  }
}

void Collector::TraverseTable(VmTable& table) {
  Mark(table.metatable);
  table.marked &= static_cast<std::uint8_t>(~(markWeakKeys | markWeakValues));
  const VmValue* mode = FastEvent(state_, *table.metatable, VmEvent::Mode);
  const std::string_view text =
      mode != nullptr && mode->IsString() ? mode->string()->View() : std::string_view();
  const bool weakKeys = text.find('k') != std::string_view::npos;
  const bool weakValues = text.find('v') != std::string_view::npos;
  if (weakKeys) {
    table.marked |= markWeakKeys;
    weakKeys_.push_back(&table);
  }
  if (weakValues) {
    table.marked |= markWeakValues;
    weakValues_.push_back(&table);
  }
  // Backward, since what is marked last is gone through first: the objects of entries that were
  // stored early mostly lie first in memory.
  if (!weakValues) {
    for (std::int32_t i = table.arraySize; i-- > 0;) Mark(table.array[i]);
  }
  for (std::uint32_t i = table.nodeLimit; i-- > 0;) {
    VmNode& node = table.nodes[i];
    // A key whose value has gone stays in its chain, so that a traversal can pass it, but no longer
    // keeps its object: nothing looks behind the key of such a node.
    if (node.value.IsNil()) continue;
    if (!weakKeys) Mark(node.key);
    if (!weakValues) Mark(node.value);
  }
}

void Collector::TraverseClosure(VmClosure& closure) {
  Mark(closure.environment);
  if (closure.isNative) {
    for (int i = 0; i < closure.upvalueCount; ++i) Mark(closure.NativeUpvalues()[i]);
    return;
  }
  Mark(closure.proto);
  for (int i = 0; i < closure.upvalueCount; ++i) {
    if (closure.Upvalues()[i] != nullptr) Mark(closure.Upvalues()[i]);
  }
}

void Collector::TraverseProto(VmProto& proto) {
  if (proto.source != nullptr) Mark(proto.source);
  for (const VmValue& constant : proto.constants) Mark(constant);
  for (VmProto* nested : proto.protos) {
    if (nested != nullptr) Mark(nested);
  }
  for (const VmLocalInfo& local : proto.locals) {
    if (local.name != nullptr) Mark(local.name);
  }
  for (VmString* name : proto.upvalueNames) {
    if (name != nullptr) Mark(name);
  }
}

void Collector::MarkStack() {
  Mark(state_.globalTable);
  const VmValue* highest = state_.top;
  for (const VmFrame* frame = state_.frames.get(); frame <= state_.ci; ++frame) {
    highest = std::max<const VmValue*>(highest, frame->top);
  }
  for (VmValue* slot = state_.stack; slot < state_.top; ++slot) Mark(*slot);
  for (VmValue* slot = state_.top; slot < highest; ++slot) slot->SetNil();
  ShrinkStack(highest);
}

void Collector::ShrinkStack(const VmValue* highest) {
  const std::ptrdiff_t frames = state_.ci - state_.frames.get() + 1;
  if (4 * frames < state_.frameCount && state_.frameCount > 2 * vmInitialFrames) {
    ResizeFrames(state_, state_.frameCount / 2);
  }
  const std::ptrdiff_t slots = highest - state_.stack;
  if (4 * slots < state_.stackSize && state_.stackSize > 2 * vmInitialStack) {
    ResizeStack(state_, state_.stackSize / 2);
  }
}

bool Collector::IsGone(VmValue value) {
  if (!value.IsCollectable()) return false;
  if (value.IsString()) {
    Mark(value.object());
    return false;
  }
  return !IsReached(value.object());
}

void Collector::ClearWeakValues(const std::vector<VmTable*>& tables) {
  for (VmTable* table : tables) {
    for (std::int32_t i = 0; i < table->arraySize; ++i) {
      if (IsGone(table->array[i])) table->array[i].SetNil();
    }
    for (std::uint32_t i = 0; i < table->nodeLimit; ++i) {
      VmNode& node = table->nodes[i];
      if (!node.value.IsNil() && IsGone(node.value)) node.value.SetNil();
    }
  }
}

void Collector::ClearWeakKeys() {
  for (VmTable* table : weakKeys_) {
    for (std::uint32_t i = 0; i < table->nodeLimit; ++i) {
      VmNode& node = table->nodes[i];
      if (!node.value.IsNil() && IsGone(node.key)) node.value.SetNil();
    }
  }
}

std::size_t Collector::SeparateUserdata() {
  std::size_t deadMemory = 0;
  VmUserdata** place = &globals_.allUserdata;
  VmUserdata** last = &globals_.toFinalize;
  while (*last != nullptr) last = &(*last)->next;
  while (*place != nullptr) {
    VmUserdata* userdata = *place;
    if ((userdata->marked & (markReached | markFinalized)) != 0) {
      place = &userdata->next;
      continue;
    }
    userdata->marked |= markFinalized;
    if (FastEvent(state_, *userdata->metatable, VmEvent::GC) == nullptr) {
      place = &userdata->next;
      continue;
    }
    deadMemory += sizeof(VmUserdata) + userdata->size;
    *place = userdata->next;
    userdata->next = nullptr;
    *last = userdata;
    last = &userdata->next;
  }
  return deadMemory;
}

/// An open upvalue that no function shares any more leaves the list before its cell is taken back.
void Collector::ForgetOpenUpvalues() {
  VmUpvalue** place = &state_.openUpvalues;
  while (*place != nullptr) {
    if (IsReached(*place)) {
      place = &(*place)->nextOpen;
    } else {
      *place = (*place)->nextOpen;
    }
  }
}

void Collector::SweepStrings() {
  for (VmString*& bucket : globals_.buckets) {
    VmString** place = &bucket;
    while (*place != nullptr) {
      VmString* string = *place;
      if (IsReached(string)) {
        string->marked &= static_cast<std::uint8_t>(~markReached);
        place = &string->next;
      } else {
        *place = string->next;
        --globals_.stringCount;
        FreeString(state_, string);
      }
    }
  }
}

void Collector::SweepUserdata() {
  VmUserdata** place = &globals_.allUserdata;
  while (*place != nullptr) {
    VmUserdata* userdata = *place;
    if (IsReached(userdata)) {
      userdata->marked &= static_cast<std::uint8_t>(~markReached);
      place = &userdata->next;
    } else {
      *place = userdata->next;
      FreeUserdata(state_, userdata);
    }
  }
}

void Collector::SweepCells() {
  globals_.heap.Sweep([this](VmObject& object) {
    if (IsReached(&object)) {
      object.marked &= static_cast<std::uint8_t>(~markReached);
      return true;
    }
    ReleaseObject(state_, object);
    return false;
  });
}

void Collector::Resize(std::size_t deadMemory) {
  constexpr std::size_t smallestStringTable = 64;
  if (globals_.stringCount < globals_.buckets.size() / 4 &&
      globals_.buckets.size() > smallestStringTable) {
    ResizeStringTable(state_, globals_.buckets.size() / 2);
  }
  globals_.gcThreshold = globals_.collectAlways ? 0 : 2 * globals_.bytesInUse - deadMemory;
}

void Collector::Run() {
  globals_.gray.clear();
  MarkRoots();
  Propagate();
  ClearWeakValues(weakValues_);
  const std::size_t deadMemory = SeparateUserdata();
  weakValues_.clear();
  for (VmUserdata* dead = globals_.toFinalize; dead != nullptr; dead = dead->next) Mark(dead);
  Propagate();
  ClearWeakKeys();
  ClearWeakValues(weakValues_);
  for (VmUserdata* dead = globals_.toFinalize; dead != nullptr; dead = dead->next) {
    dead->marked &= static_cast<std::uint8_t>(~markReached);
  }
  ForgetOpenUpvalues();
  SweepStrings();
  SweepUserdata();
  SweepCells();
  Resize(deadMemory);
}

/// Calls the finalizer of one userdata, if its metatable still has one.
void CallFinalizer(VmState& state, VmUserdata* userdata) {
  const VmValue* finalizer = FastEvent(state, *userdata->metatable, VmEvent::GC);
  if (finalizer == nullptr || !finalizer->IsFunction()) return;
  EnsureStack(state, vmMinStack);
  *state.top++ = *finalizer;
  *state.top++ = VmValue::Userdata(userdata);
  vmCallAt(state, state.top - 2, 0);
}

}  // namespace

void vmCollect(VmState& state) {
  if (state.globals->collecting) return;
  state.globals->collecting = true;
  Collector(state).Run();
  state.globals->collecting = false;
  CallFinalizers(state);
}

void CallFinalizers(VmState& state) {
  const bool allowHook = state.allowHook;
  state.allowHook = false;
  while (state.globals->toFinalize != nullptr) {
    VmUserdata* userdata = state.globals->toFinalize;
    state.globals->toFinalize = userdata->next;
    userdata->next = state.globals->allUserdata;
    state.globals->allUserdata = userdata;
    CallFinalizer(state, userdata);
  }
  state.allowHook = allowHook;
}

void SeparateAllUserdata(VmState& state) {
  VmGlobals& globals = *state.globals;
  VmUserdata** place = &globals.allUserdata;
  while (*place != nullptr) {
    VmUserdata* userdata = *place;
    const bool isDone = (userdata->marked & markFinalized) != 0;
    userdata->marked |= markFinalized;
    if (isDone) {
      place = &userdata->next;
      continue;
    }
    *place = userdata->next;
    userdata->next = globals.toFinalize;
    globals.toFinalize = userdata;
  }
}

void FreeAllObjects(VmState& state) {
  VmGlobals& globals = *state.globals;
  state.openUpvalues = nullptr;
  for (VmUserdata** chain : {&globals.allUserdata, &globals.toFinalize}) {
    while (*chain != nullptr) {
      VmUserdata* userdata = *chain;
      *chain = userdata->next;
      FreeUserdata(state, userdata);
    }
  }
  globals.heap.Sweep([&](VmObject& object) {
    ReleaseObject(state, object);
    return false;
  });
  for (VmString*& bucket : globals.buckets) {
    while (bucket != nullptr) {
      VmString* string = bucket;
      bucket = string->next;
      FreeString(state, string);
    }
  }
}

}  // namespace quillmere
