// Calls: frames, the stack below them, how a native's answer is read, and how a thrown code is
// recovered from.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "vm/state.h"
#include "vm/table.h"

namespace quillmere {

void ResizeStack(VmState& state, int size) {
  VmValue* const old = state.stack;
  state.stack = static_cast<VmValue*>(
      vmRealloc(state, old, static_cast<std::size_t>(state.stackSize) * sizeof(VmValue),
                static_cast<std::size_t>(size) * sizeof(VmValue)));
  for (int i = state.stackSize; i < size; ++i) state.stack[i] = VmValue();
  state.stackSize = size;
  state.stackLast = state.stack + size - vmExtraStack;
  const auto move = [&](VmValue*& place) { place = state.stack + (place - old); };
  move(state.top);
  move(state.base);
  for (VmFrame* frame = state.frames.get(); frame <= state.ci; ++frame) {
    move(frame->base);
    move(frame->top);
  }
  for (VmUpvalue* upvalue = state.openUpvalues; upvalue != nullptr; upvalue = upvalue->nextOpen) {
    move(upvalue->location);
  }
}

void GrowStack(VmState& state, int slots) {
  const int size = state.stackSize;
  ResizeStack(state, slots <= size ? 2 * size : size + slots + 5);
}

void ResizeFrames(VmState& state, int count) {
  auto frames = std::make_unique<VmFrame[]>(static_cast<std::size_t>(count));
  const std::ptrdiff_t used = state.ci - state.frames.get();
  std::copy(state.frames.get(), state.frames.get() + used + 1, frames.get());
  state.frames = std::move(frames);
  state.frameCount = count;
  state.lastFrame = state.frames.get() + count - 1;
  state.ci = state.frames.get() + used;
}

namespace {

VmFrame& EnterFrame(VmState& state) {
  if (state.ci == state.lastFrame) {
    if (state.frameCount > vmMaxFrames) vmThrow(state, Error::StackOverflow);
    ResizeFrames(state, 2 * state.frameCount);
    if (state.frameCount > vmMaxFrames) vmRaise(state, Error::StackOverflow);
  }
  VmFrame& frame = *++state.ci;
  frame = VmFrame();
  return frame;
}

/// Puts the function of the event "__call" below a value that is no function.
VmValue* PlaceCallEvent(VmState& state, VmValue* function) {
  const VmValue event = EventOf(state, *function, VmEvent::Call);
  if (!event.IsFunction()) NamedError(state, Error::FunctionNotFound, function, "()");
  const std::ptrdiff_t offset = SaveStack(state, function);
  EnsureStack(state, 1);
  function = RestoreStack(state, offset);
  for (VmValue* slot = state.top; slot > function; --slot) *slot = slot[-1];
  ++state.top;
  *function = event;
  return function;
}

/// Gathers the surplus arguments into a table behind the parameters.
void GatherVarArgs(VmState& state, const VmProto& proto, VmValue* base) {
  const std::ptrdiff_t baseOffset = SaveStack(state, base);
  const int given = static_cast<int>(state.top - base);
  for (int i = given; i < proto.paramCount; ++i) {
    EnsureStack(state, 1);
    *state.top++ = VmValue();
  }
  const int surplus = std::max(given - proto.paramCount, 0);
  EnsureStack(state, 2);
  VmTable* table = NewTable(state, 0, 0);
  *state.top++ = VmValue::Table(table);
  for (int i = 0; i < surplus; ++i) {
    TableSetInt(state, *table, i) = RestoreStack(state, baseOffset)[proto.paramCount + i];
  }
  *state.top++ = VmValue::String(NewString(state, "n"));
  TableSet(state, *table, state.top[-1]) = VmValue(static_cast<double>(surplus));
  VmValue* const place = RestoreStack(state, baseOffset) + proto.paramCount;
  *place = VmValue::Table(table);
  state.top = place + 1;
}

/// A command that finds no memory for what it gathers outside of the machine fails like any other.
int RunNative(VmState& state, VmNative entry) {
  const std::ptrdiff_t frame = state.ci - state.frames.get();
  try {
    return entry(state).Value();
  } catch (const std::bad_alloc&) {
    // Frames that stand above the command's own are for a protected call to drop.
    if (state.ci - state.frames.get() != frame) vmThrow(state, Error::OutOfMemory);
    return static_cast<int>(Error::OutOfMemory);
  }
}

/// Drops the frames that a stop has left behind, down to the one that `caller` called; there are no
/// results.
VmValue* LeaveStopped(VmState& state, std::ptrdiff_t caller) {
  state.ci = state.frames.get() + caller + 1;
  state.base = state.ci->base;
  CloseUpvalues(state, state.base);
  return state.top = state.base;
}

}  // namespace

bool vmPrepareCall(VmState& state, VmValue* function) {
  if (!function->IsFunction()) [[unlikely]]
    function = PlaceCallEvent(state, function);
  VmClosure* closure = function->closure();
  if (closure->isNative) return true;

  const VmProto& proto = *closure->proto;
  const std::ptrdiff_t offset = SaveStack(state, function);
  if (proto.isVarArg) GatherVarArgs(state, proto, function + 1);
  EnsureStack(state, proto.maxStack);
  VmFrame& frame = EnterFrame(state);
  VmValue* const base = RestoreStack(state, offset) + 1;
  frame.base = state.base = base;
  frame.top = base + proto.maxStack;
  frame.savedPc = proto.ops.items;
  for (VmValue* slot = state.top; slot < frame.top; ++slot) slot->SetNil();
  state.top = frame.top;
  if ((state.hookMask & vmMaskCall) != 0) [[unlikely]]
    CallHook(state, VmHookEvent::Call, -1);
  return false;
}

NativeResult vmCallNative(VmState& state, VmValue* function) {
  const std::ptrdiff_t offset = SaveStack(state, function);
  EnsureStack(state, vmMinStack);
  VmFrame& frame = EnterFrame(state);
  frame.base = state.base = RestoreStack(state, offset) + 1;
  frame.top = state.top + vmMinStack;
  frame.isNative = true;
  if ((state.hookMask & vmMaskCall) != 0) CallHook(state, VmHookEvent::Call, -1);
  VmGlobals& globals = *state.globals;
  if (globals.host.flags.traceCalls && (state.attention & attentionQuit) == 0) TraceCall(state);
  const VmNative entry = FunctionOf(*state.ci)->entry;
  if (entry != globals.lastErrorReader) globals.lastError = 0;
  const int result = RunNative(state, entry);
  if (result < 0 || result > vmMaxResults) return {state.top, result};
  return {state.top - result, 0};
}

void vmPostCall(VmState& state, int wanted, VmValue* firstResult) {
  if ((state.hookMask & vmMaskReturn) != 0) [[unlikely]] {
    const std::ptrdiff_t offset = SaveStack(state, firstResult);
    CallHook(state, VmHookEvent::Return, -1);
    if (!state.ci->isNative) {
      for (int i = 0; i < state.ci->tailCalls; ++i) CallHook(state, VmHookEvent::TailReturn, -1);
    }
    firstResult = RestoreStack(state, offset);
  }
  VmValue* place = state.base - 1;
  --state.ci;
  state.base = state.ci->base;
  while (wanted != 0 && firstResult < state.top) {
    *place++ = *firstResult++;
    --wanted;
  }
  for (; wanted > 0; --wanted) (place++)->SetNil();
  state.top = place;
}

namespace {

int CallAndPost(VmState& state, VmValue* function, int wanted) {
  const std::ptrdiff_t caller = state.ci - state.frames.get();
  const std::ptrdiff_t offset = SaveStack(state, function);
  NativeResult result;
  if (vmPrepareCall(state, function)) {
    result = vmCallNative(state, RestoreStack(state, offset));
  } else {
    result.first = vmExecute(state);
    if (result.first == nullptr) result.first = LeaveStopped(state, caller);
  }
  vmPostCall(state, wanted, result.first);
  return result.code;
}

}  // namespace

int vmCallAt(VmState& state, VmValue* function, int wanted) {
  if (++state.nativeCalls >= vmMaxNativeCalls) {
    if (state.nativeCalls == vmMaxNativeCalls) vmRaise(state, Error::StackOverflow);
    if (state.nativeCalls >= vmMaxNativeCallsHard) vmThrow(state, Error::StackOverflow);
  }
  const int code = CallAndPost(state, function, wanted);
  --state.nativeCalls;
  vmCheckGC(state);
  return code > 0 ? code : 0;
}

int vmCallFromScript(VmState& state, VmValue* function, int wanted) {
  if (!function->IsFunction() || !function->closure()->isNative) {
    return vmCallAt(state, function, wanted);
  }
  const NativeResult result = vmCallNative(state, function);
  vmPostCall(state, wanted, result.first);
  return result.code > 0 ? result.code : 0;
}

void RecoverState(VmState& state, std::ptrdiff_t frameOffset, int nativeCalls, bool allowHook,
                  std::ptrdiff_t oldTop) {
  CloseUpvalues(state, RestoreStack(state, oldTop));
  state.nativeCalls = nativeCalls;
  state.ci = state.frames.get() + frameOffset;
  state.base = state.ci->base;
  state.allowHook = allowHook;
  if (state.frameCount > vmMaxFrames && frameOffset + 1 < vmMaxFrames) {
    ResizeFrames(state, vmMaxFrames);
  }
}

void CallHook(VmState& state, VmHookEvent event, int line) {
  if (state.hook == nullptr || !state.allowHook) return;
  const std::ptrdiff_t top = SaveStack(state, state.top);
  const std::ptrdiff_t frameTop = SaveStack(state, state.ci->top);
  EnsureStack(state, vmMinStack);
  state.ci->top = state.top + vmMinStack;
  state.allowHook = false;
  state.hook(state, event, line);
  state.allowHook = true;
  state.ci->top = RestoreStack(state, frameTop);
  state.top = RestoreStack(state, top);
}

void vmThrow(VmState& state, Error code) {
  if (state.protectedRegions == 0) {
    // No protected call is in force: there is nobody to tell.
    constexpr int exitStatus = 20;
    std::exit(exitStatus);
  }
  throw VmException{code};
}

void vmRaise(VmState& state, Error code) {
  VmErrorPosition& position = state.globals->position;
  position.line = CurrentLine(*state.ci);
  CollectErrorContext(state);
  vmThrow(state, code);
}

void vmRaise(VmState& state, Error code, std::string argument) {
  vmHost(state).errors.argument = std::move(argument);
  vmRaise(state, code);
}

void vmRaise(VmState& state, Error code, int index) {
  vmHost(state).errors.index = index;
  vmRaise(state, code);
}

}  // namespace quillmere
