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
  void Mark(VmObject* object);
  void Mark(const VmValue& value) {
    if (value.IsCollectable()) Mark(value.object);
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
  bool IsGone(const VmValue& value);
  void ClearWeakValues(const std::vector<VmTable*>& tables);
  void ClearWeakKeys();
  std::size_t SeparateUserdata();
  void SweepStrings();
  void SweepChain(VmObject*& chain);
  void Resize(std::size_t deadMemory);

  VmState& state_;
  VmGlobals& globals_;
  std::vector<VmTable*> weakValues_;
  std::vector<VmTable*> weakKeys_;
};

/// A key whose value has gone stays in its chain, but no longer keeps its object.
void RemoveEntry(VmNode& node) {
  node.value.SetNil();
  if (node.key.IsCollectable() && !node.key.IsString()) node.key.tag = Tag::DeadKey;
}

void Collector::Mark(VmObject* object) {
  if ((object->marked & markReached) != 0) return;
  object->marked |= markReached;
  switch (object->kind) {
    case Tag::Userdata:
      if (auto* metatable = static_cast<VmUserdata*>(object)->metatable) Mark(metatable);
      break;
    case Tag::Upvalue:
      Mark(*static_cast<VmUpvalue*>(object)->location);
      break;
    case Tag::Table:
    case Tag::Function:
    case Tag::Proto:
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
    case Tag::Table:
      TraverseTable(*static_cast<VmTable*>(object));
      break;
    case Tag::Function:
      TraverseClosure(*static_cast<VmClosure*>(object));
      break;
    case Tag::Proto:
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
  if (!weakValues) {
    for (std::int32_t i = 0; i < table.arraySize; ++i) Mark(table.array[i]);
  }
  for (std::uint32_t i = 0; i < table.NodeCount(); ++i) {
    VmNode& node = table.nodes[i];
    if (node.value.IsNil()) {
      if (node.key.IsCollectable()) node.key.tag = Tag::DeadKey;
      continue;
    }
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

bool Collector::IsGone(const VmValue& value) {
  if (!value.IsCollectable()) return false;
  if (value.IsString()) {
    Mark(value.object);
    return false;
  }
  return !IsReached(value.object);
}

void Collector::ClearWeakValues(const std::vector<VmTable*>& tables) {
  for (VmTable* table : tables) {
    for (std::int32_t i = 0; i < table->arraySize; ++i) {
      if (IsGone(table->array[i])) table->array[i].SetNil();
    }
    for (std::uint32_t i = 0; i < table->NodeCount(); ++i) {
      VmNode& node = table->nodes[i];
      if (!node.value.IsNil() && IsGone(node.value)) RemoveEntry(node);
    }
  }
}

void Collector::ClearWeakKeys() {
  for (VmTable* table : weakKeys_) {
    for (std::uint32_t i = 0; i < table->NodeCount(); ++i) {
      VmNode& node = table->nodes[i];
      if (!node.value.IsNil() && IsGone(node.key)) RemoveEntry(node);
    }
  }
}

std::size_t Collector::SeparateUserdata() {
  std::size_t deadMemory = 0;
  VmObject** place = &globals_.allUserdata;
  VmObject** last = &globals_.toFinalize;
  while (*last != nullptr) last = &(*last)->next;
  while (*place != nullptr) {
    auto* userdata = static_cast<VmUserdata*>(*place);
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

void Collector::SweepStrings() {
  for (VmString*& bucket : globals_.buckets) {
    VmObject* kept = nullptr;
    VmObject** end = &kept;
    for (VmObject* string = bucket; string != nullptr;) {
      VmObject* next = string->next;
      if (IsReached(string)) {
        string->marked &= static_cast<std::uint8_t>(~markReached);
        *end = string;
        end = &string->next;
      } else {
        --globals_.stringCount;
        FreeObject(state_, string);
      }
      string = next;
    }
    *end = nullptr;
    bucket = static_cast<VmString*>(kept);
  }
}

void Collector::SweepChain(VmObject*& chain) {
  VmObject** place = &chain;
  while (*place != nullptr) {
    VmObject* object = *place;
    if (IsReached(object)) {
      object->marked &= static_cast<std::uint8_t>(~markReached);
      place = &object->next;
    } else {
      *place = object->next;
      FreeObject(state_, object);
    }
  }
}

void Collector::Resize(std::size_t deadMemory) {
  constexpr std::size_t smallestStringTable = 64;
  constexpr std::size_t smallestBuffer = 64;
  if (globals_.stringCount < globals_.buckets.size() / 4 &&
      globals_.buckets.size() > smallestStringTable) {
    ResizeStringTable(state_, globals_.buckets.size() / 2);
  }
  if (globals_.sharedBuffer.capacity() > smallestBuffer) {
    globals_.sharedBuffer.clear();
    globals_.sharedBuffer.shrink_to_fit();
  }
  globals_.gcThreshold = 2 * globals_.bytesInUse - deadMemory;
}

void Collector::Run() {
  globals_.gray.clear();
  MarkRoots();
  Propagate();
  ClearWeakValues(weakValues_);
  const std::size_t deadMemory = SeparateUserdata();
  weakValues_.clear();
  for (VmObject* object = globals_.toFinalize; object != nullptr; object = object->next) {
    Mark(object);
  }
  Propagate();
  ClearWeakKeys();
  ClearWeakValues(weakValues_);
  for (VmObject* object = globals_.toFinalize; object != nullptr; object = object->next) {
    object->marked &= static_cast<std::uint8_t>(~markReached);
  }
  SweepStrings();
  SweepChain(globals_.allUserdata);
  SweepChain(globals_.allObjects);
  Resize(deadMemory);
}

/// Calls the finalizer of one userdata, if its metatable still has one.
void CallFinalizer(VmState& state, VmUserdata* userdata) {
  const VmValue* finalizer = FastEvent(state, *userdata->metatable, VmEvent::GC);
  if (finalizer == nullptr || !finalizer->IsFunction()) return;
  EnsureStack(state, vmMinStack);
  *state.top++ = *finalizer;
  *state.top++ = VmValue(Tag::Userdata, userdata);
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
    auto* userdata = static_cast<VmUserdata*>(state.globals->toFinalize);
    state.globals->toFinalize = userdata->next;
    userdata->next = state.globals->allUserdata;
    state.globals->allUserdata = userdata;
    CallFinalizer(state, userdata);
  }
  state.allowHook = allowHook;
}

void SeparateAllUserdata(VmState& state) {
  VmGlobals& globals = *state.globals;
  VmObject** place = &globals.allUserdata;
  while (*place != nullptr) {
    VmObject* userdata = *place;
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
  for (VmObject** chain : {&globals.allObjects, &globals.allUserdata, &globals.toFinalize}) {
    while (*chain != nullptr) {
      VmObject* object = *chain;
      *chain = object->next;
      FreeObject(state, object);
    }
  }
  for (VmString*& bucket : globals.buckets) {
    while (bucket != nullptr) {
      VmString* string = bucket;
      bucket = static_cast<VmString*>(string->next);
      FreeObject(state, string);
    }
  }
}

}  // namespace quillmere
