#include "vm/execute_steps.h"

#include <utility>

namespace quillmere {

void CountInstruction(VmState& state) {
  if (--state.hookCount > 0) return;
  state.hookCount = state.baseHookCount;
  CallHook(state, VmHookEvent::Count, -1);
}

void RunLineHook(VmState& state) {
  state.linePatience = vmLineHookInterval;
  if ((state.hookMask & vmMaskLine) == 0) return;
  CallHook(state, VmHookEvent::Line, CurrentLine(*state.ci));
}

void PushSubroutine(VmState& state, VmCode* returnTo) {
  auto& subroutines = state.globals->subroutines;
  if (subroutines.size() >= static_cast<std::size_t>(vmMaxSubroutines)) {
    vmRaise(state, Error::InternalLimit);
  }
  subroutines.push_back(returnTo);
}

VmCode* PopSubroutine(VmState& state, const VmProto& proto) {
  auto& subroutines = state.globals->subroutines;
  if (subroutines.empty()) vmRaise(state, Error::ReturnWithoutGosub);
  VmCode* returnTo = subroutines.back();
  if (returnTo < proto.ops.begin() || returnTo >= proto.ops.end()) {
    vmRaise(state, Error::ReturnWithoutGosub);
  }
  subroutines.pop_back();
  return returnTo;
}

VmCode* JumpToLabel(VmState& state, const VmProto& proto, VmCode* pc, int request) {
  const int target = std::exchange(state.globals->pendingJump, -1);
  const bool isMainChunk = proto.lineDefined == 0;
  if (!isMainChunk || target < 0 || static_cast<std::uint32_t>(target) >= proto.ops.count) {
    return pc;
  }
  // With -2 the load of the function and the call run again on return.
  VmCode* const again = pc - proto.ops.begin() >= 2 ? pc - 2 : proto.ops.begin();
  PushSubroutine(state, request == -1 ? pc : again);
  return proto.ops.begin() + target;
}

namespace {

/// Makes a number of a loop's limit or step, in place.
void MakeLoopNumber(VmState& state, VmValue& value) {
  VmValue scratch;
  const VmValue* number = ToNumberValue(value, scratch);
  if (number == nullptr) vmRaise(state, Error::ValueExpected);
  value = *number;
}

}  // namespace

void MakeLoopNumbers(VmState& state, VmValue* loop) {
  if (!loop[0].IsNumber()) vmRaise(state, Error::ValueExpected);
  MakeLoopNumber(state, loop[1]);
  MakeLoopNumber(state, loop[2]);
}

void MakeClosure(VmState& state, VmClosure& running, VmProto* proto, VmValue* target, VmValue* base,
                 const VmInstruction* word) {
  VmClosure* closure = NewScriptClosure(state, proto, running.environment);
  *target = VmValue::Function(closure);
  for (int i = 0; i < proto->upvalueCount; ++i, ++word) {
    closure->Upvalues()[i] = opCode(*word) == OP_GETUPVAL ? running.Upvalues()[opB(*word)]
                                                          : FindUpvalue(state, base + opB(*word));
  }
}

bool StoreList(VmState& state, VmValue* list, int first, std::ptrdiff_t count) {
  if (!list->IsTable()) return false;
  for (auto i = static_cast<int>(count); i > 0; --i) {
    TableSetInt(state, *list->table(), first + i - 1) = list[i];
  }
  return true;
}

void ReuseFrame(VmState& state) {
  VmFrame& callee = *state.ci;
  VmFrame& caller = state.ci[-1];
  if (HasOpenUpvalues(state, caller.base)) CloseUpvalues(state, caller.base);
  const std::ptrdiff_t size = callee.top - callee.base;
  const VmValue* from = callee.base - 1;
  VmValue* to = caller.base - 1;
  for (std::ptrdiff_t i = 0; i <= size; ++i) to[i] = from[i];
  caller.top = caller.base + size;
  caller.savedPc = callee.savedPc;
  ++caller.tailCalls;
  --state.ci;
  state.base = caller.base;
  state.top = caller.top;
}

VmValue InheritedField(VmState& state, const VmTable* table, VmValue key) {
  constexpr int depth = 8;
  for (int i = 0; i < depth; ++i) {
    const VmValue* index = FastEvent(state, *table->metatable, VmEvent::Index);
    if (index == nullptr || !index->IsTable()) break;
    table = index->table();
    const VmValue found = TableGetString(*table, key.string());
    if (!found.IsNil()) return found;
  }
  return VmValue();
}

}  // namespace quillmere
