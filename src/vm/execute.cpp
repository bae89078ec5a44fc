// The interpreter. One loop runs script functions that call each other; a native that calls back
// into script starts a new one. `pc`, the base and the constants are kept in locals; `SAVE` writes
// the pc back where an error or a callee may look at it, `RELOAD` fetches the base again after
// anything that may have moved the stack. One word, `attention`, is tested before each instruction:
// it says that the program is to quit or that a hook wants to see the instruction.
#include <cmath>

#include "base/numbers.h"
#include "vm/state.h"
#include "vm/table.h"

namespace quillmere {
namespace {

/// Runs the count hook when its count has run out.
void CountInstruction(VmState& state) {
  if (--state.hookCount > 0) return;
  state.hookCount = state.baseHookCount;
  CallHook(state, VmHookEvent::Count, -1);
}

/// Runs the line hook; the pc has been saved.
void RunLineHook(VmState& state) {
  state.linePatience = vmLineHookInterval;
  if ((state.hookMask & vmMaskLine) == 0) return;
  if (FunctionOf(*state.ci)->proto->lineInfo.count == 0) return;
  CallHook(state, VmHookEvent::Line, CurrentLine(*state.ci));
}

void PushSubroutine(VmState& state, const VmInstruction* returnTo) {
  auto& subroutines = state.globals->subroutines;
  if (subroutines.size() >= static_cast<std::size_t>(vmMaxSubroutines)) {
    vmRaise(state, Error::InternalLimit);
  }
  subroutines.push_back(returnTo);
}

const VmInstruction* PopSubroutine(VmState& state) {
  auto& subroutines = state.globals->subroutines;
  if (subroutines.empty()) vmRaise(state, Error::ReturnWithoutGosub);
  const VmInstruction* returnTo = subroutines.back();
  subroutines.pop_back();
  return returnTo;
}

bool Contains(const VmProto& proto, const VmInstruction* pc) {
  return pc >= proto.code.begin() && pc < proto.code.end();
}

/// Makes a number of a loop's limit or step, in place.
double LoopNumber(VmState& state, VmValue& value) {
  VmValue scratch;
  const VmValue* number = ToNumberValue(value, scratch);
  if (number == nullptr) vmRaise(state, Error::ValueExpected);
  value = *number;
  return value.number;
}

/// Makes a closure with the upvalues that the pseudo instructions behind it name.
const VmInstruction* MakeClosure(VmState& state, VmClosure& running, VmProto* proto,
                                 VmValue* target, VmValue* base, const VmInstruction* pc) {
  VmClosure* closure = NewScriptClosure(state, proto, running.environment);
  *target = VmValue(Tag::Function, closure);
  for (int i = 0; i < proto->upvalueCount; ++i, ++pc) {
    closure->Upvalues()[i] = opCode(*pc) == OP_GETUPVAL ? running.Upvalues()[opB(*pc)]
                                                        : FindUpvalue(state, base + opB(*pc));
  }
  return pc;
}

/// Stores `count` values behind `list` from key `first` on. False when it is no table.
bool StoreList(VmState& state, VmValue* list, int first, std::ptrdiff_t count) {
  if (!list->IsTable()) return false;
  for (auto i = static_cast<int>(count); i > 0; --i) {
    TableSetInt(state, *list->table(), first + i - 1) = list[i];
  }
  return true;
}

/// Moves the frame of a tail call over the one that made it.
void ReuseFrame(VmState& state, VmValue* function) {
  VmFrame& callee = *state.ci;
  VmFrame& caller = state.ci[-1];
  if (state.openUpvalues != nullptr) CloseUpvalues(state, caller.base);
  VmValue* place = caller.base - 1;
  const std::ptrdiff_t size = callee.top - callee.base;
  VmValue* from = callee.base - 1;
  (void)function;
  for (std::ptrdiff_t i = 0; i <= size && from + i < state.top; ++i) place[i] = from[i];
  caller.top = caller.base + size;
  caller.savedPc = callee.savedPc;
  ++caller.tailCalls;
  --state.ci;
  state.base = caller.base;
  state.top = caller.top;
}

}  // namespace

// The shortest names that the loop needs.
#define RA (base + opA(word))
#define RB (base + opB(word))
#define KBX (constants + opBx(word))
#define RK(x) ((x) < vmMaxRegisters ? base + (x) : constants + ((x)-vmMaxRegisters))
#define RKB RK(opB(word))
#define RKC RK(opC(word))
#define SAVE (state.ci->savedPc = pc)
#define RELOAD (base = state.base)
#define NEXT break
// A place that every long run passes: a call or a backward jump.
#define SAFE_POINT                              \
  if (--state.linePatience <= 0) [[unlikely]] { \
    SAVE;                                       \
    RunLineHook(state);                         \
    RELOAD;                                     \
  }

#define ARITHMETIC(op, expression)                            \
  {                                                           \
    const VmValue* b = RKB;                                   \
    const VmValue* c = RKC;                                   \
    if (b->IsNumber() && c->IsNumber()) [[likely]] {          \
      const double x = b->number;                             \
      const double y = c->number;                             \
      RA->SetNumber(expression);                              \
    } else {                                                  \
      SAVE;                                                   \
      const VmValue result = Arithmetic(state, *b, *c, (op)); \
      RELOAD;                                                 \
      *RA = result;                                           \
    }                                                         \
    NEXT;                                                     \
  }

#define COMPARE(fast, slow)                          \
  {                                                  \
    const VmValue* b = RKB;                          \
    const VmValue* c = RKC;                          \
    bool condition;                                  \
    if (b->IsNumber() && c->IsNumber()) [[likely]] { \
      condition = b->number fast c->number;          \
    } else {                                         \
      SAVE;                                          \
      condition = slow(state, *b, *c);               \
      RELOAD;                                        \
    }                                                \
    if (condition == (opA(word) != 0)) {             \
      pc += opSJ(*pc) + 1;                           \
    } else {                                         \
      ++pc;                                          \
    }                                                \
    NEXT;                                            \
  }

VmValue* vmExecute(VmState& state) {
enter:
  VmClosure* closure = FunctionOf(*state.ci);
  const VmInstruction* pc = state.ci->savedPc;
  VmValue* base = state.base;
  VmValue* constants = closure->proto->constants.items;

  for (;;) {
    if (state.attention != 0) [[unlikely]] {
      if ((state.attention & attentionQuit) != 0) {
        SAVE;
        return nullptr;
      }
      state.ci->savedPc = pc + 1;
      CountInstruction(state);
      RELOAD;
      if ((state.attention & attentionQuit) != 0) return nullptr;
    }
    const VmInstruction word = *pc++;
    switch (opCode(word)) {
      case OP_MOVE:
        *RA = *RB;
        NEXT;
      case OP_LOADK:
        *RA = *KBX;
        NEXT;
      case OP_LOADNUM:
        RA->SetNumber(opB(word));
        if (opC(word) != 0) ++pc;
        NEXT;
      case OP_LOADNIL:
        for (VmValue* slot = RA; slot <= RB; ++slot) slot->SetNil();
        NEXT;
      case OP_GETUPVAL:
        *RA = *closure->Upvalues()[opB(word)]->location;
        NEXT;
      case OP_SETUPVAL:
        *closure->Upvalues()[opB(word)]->location = *RA;
        NEXT;
      case OP_GETGLOBAL: {
        const VmValue& found = TableGetString(*closure->environment, KBX->string());
        if (!found.IsNil()) [[likely]] {
          *RA = found;
          NEXT;
        }
        SAVE;
        const VmValue value = GetMissingGlobal(state, *closure->environment, *KBX);
        RELOAD;
        *RA = value;
        NEXT;
      }
      case OP_GETTABLE: {
        const VmValue* object = RB;
        const VmValue* key = RKC;
        if (object->IsTable()) [[likely]] {
          const VmTable& table = *object->table();
          const VmValue* found = nullptr;
          if (key->IsString()) {
            found = &TableGetString(table, key->string());
          } else if (key->IsNumber()) {
            const auto index = static_cast<std::int32_t>(key->number);
            found = static_cast<unsigned>(index) - 1u < static_cast<unsigned>(table.arraySize) &&
                            index == key->number
                        ? table.array + index - 1
                        : &TableGet(table, *key);
          } else {
            found = &TableGet(table, *key);
          }
          if (!found->IsNil()) [[likely]] {
            *RA = *found;
            NEXT;
          }
        }
        SAVE;
        const VmValue value = GetField(state, *object, *key, object, false);
        RELOAD;
        *RA = value;
        NEXT;
      }
      case OP_SETGLOBAL: {
        SAVE;
        SetTableEntry(state, VmValue(Tag::Table, closure->environment), *KBX, *RA, nullptr);
        RELOAD;
        NEXT;
      }
      case OP_SETTABLE: {
        const VmValue* object = RA;
        const VmValue* key = RKB;
        const VmValue* value = RKC;
        if (object->IsTable()) [[likely]] {
          VmTable& table = *object->table();
          VmValue* slot = nullptr;
          if (key->IsNumber()) {
            const auto index = static_cast<std::int32_t>(key->number);
            if (static_cast<unsigned>(index) - 1u < static_cast<unsigned>(table.arraySize) &&
                index == key->number) {
              slot = table.array + index - 1;
            }
          } else if (key->IsString()) {
            slot = const_cast<VmValue*>(&TableGetString(table, key->string()));
          }
          if (slot != nullptr && !slot->IsNil()) [[likely]] {
            table.absentEvents = 0;
            *slot = *value;
            NEXT;
          }
        }
        SAVE;
        SetTableEntry(state, *object, *key, *value, object);
        RELOAD;
        NEXT;
      }
      case OP_NEWTABLE: {
        SAVE;
        const int b = opB(word);
        VmTable* table = NewTable(state, (b & 7) << (b >> 3 < 22 ? b >> 3 : 22), opC(word));
        *RA = VmValue(Tag::Table, table);
        vmCheckGC(state);
        RELOAD;
        NEXT;
      }
      case OP_ADD:
        ARITHMETIC(OP_ADD, x + y)
      case OP_SUB:
        ARITHMETIC(OP_SUB, x - y)
      case OP_MUL:
        ARITHMETIC(OP_MUL, x * y)
      case OP_DIV: {
        const VmValue* b = RKB;
        const VmValue* c = RKC;
        if (b->IsNumber() && c->IsNumber() && c->number != 0) [[likely]] {
          RA->SetNumber(b->number / c->number);
          NEXT;
        }
        SAVE;
        const VmValue result = Arithmetic(state, *b, *c, OP_DIV);
        RELOAD;
        *RA = result;
        NEXT;
      }
      case OP_DIVINT:
      case OP_MOD:
      case OP_LSH:
      case OP_RSH:
      case OP_OR:
      case OP_AND:
      case OP_XOR: {
        const VmValue* b = RKB;
        const VmValue* c = RKC;
        SAVE;
        const VmValue result = Arithmetic(state, *b, *c, static_cast<VmOp>(opCode(word)));
        RELOAD;
        *RA = result;
        NEXT;
      }
      case OP_POW:
        ARITHMETIC(OP_POW, std::pow(x, y))
      case OP_UNM: {
        if (RB->IsNumber()) [[likely]] {
          RA->SetNumber(-RB->number);
          NEXT;
        }
        SAVE;
        const VmValue result = Negate(state, *RB);
        RELOAD;
        *RA = result;
        NEXT;
      }
      case OP_NOT:
        RA->SetNumber(IsFalse(*RB) ? 1 : 0);
        NEXT;
      case OP_BNOT: {
        SAVE;
        const VmValue result = Complement(state, *RB);
        RELOAD;
        *RA = result;
        NEXT;
      }
      case OP_CONCAT: {
        SAVE;
        const int first = opB(word);
        Concatenate(state, opC(word) - first + 1, base + opC(word));
        RELOAD;
        *RA = base[first];
        vmCheckGC(state);
        RELOAD;
        NEXT;
      }
      case OP_JMP:
        if (opMode(word) == opJumpSubroutine) {
          SAVE;
          PushSubroutine(state, pc);
        }
        pc += opSJ(word);
        if (opSJ(word) < 0) SAFE_POINT
        NEXT;
      case OP_EQ:
        COMPARE(==, EqualValues)
      case OP_LT:
        COMPARE(<, LessThan)
      case OP_LE:
        COMPARE(<=, LessEqual)
      case OP_TEST: {
        const bool isFalse = IsFalse(*RB);
        if ((isFalse ? 1 : 0) == opC(word)) {
          ++pc;
        } else {
          *RA = *RB;
          pc += opSJ(*pc) + 1;
        }
        NEXT;
      }
      case OP_CALL:
      case OP_TAILCALL: {
        SAFE_POINT
        VmValue* function = RA;
        if (opB(word) != 0) {
          state.top = function + opB(word);
        } else if (state.top <= function) {
          state.top = function + 1;
        }
        const int wanted = opC(word) - 1;
        SAVE;
        state.globals->currentPc = static_cast<std::int32_t>(pc - closure->proto->code.items);
        const PreCall call = vmPreCall(state, function);
        if (call.kind == PreCallKind::Script) {
          if (opCode(word) == OP_TAILCALL) {
            ReuseFrame(state, function);
          } else {
            state.ci->calledFromScript = true;
          }
          goto enter;
        }
        VmValue* firstResult = call.firstResult;
        if (call.kind == PreCallKind::Jump) {
          const VmInstruction* returnTo = call.code == -1 ? pc : pc - 2;
          const VmInstruction* target = pc + state.globals->labelJumpOffset;
          --state.ci;
          state.base = state.ci->base;
          RELOAD;
          if (Contains(*closure->proto, returnTo) && Contains(*closure->proto, target)) {
            PushSubroutine(state, returnTo);
            pc = target;
          }
          ++state.ci;
          state.base = state.ci->base;
          firstResult = state.top;
        } else if (call.code != 0) [[unlikely]] {
          ReportNativeError(state, call.code);
          firstResult = state.top;
        }
        vmPostCall(state, wanted, firstResult);
        RELOAD;
        if (wanted >= 0) state.top = state.ci->top;
        NEXT;
      }
      case OP_RETURN: {
        if (opC(word) == 1) {
          SAVE;
          const VmInstruction* returnTo = PopSubroutine(state);
          if (!Contains(*closure->proto, returnTo)) vmRaise(state, Error::ReturnWithoutGosub);
          pc = returnTo;
          NEXT;
        }
        VmValue* firstResult = RA;
        if (opB(word) != 0) state.top = firstResult + opB(word) - 1;
        SAVE;
        if (state.openUpvalues != nullptr) CloseUpvalues(state, base);
        if (!state.ci->calledFromScript) return firstResult;
        const VmFrame& caller = state.ci[-1];
        const int wanted = opC(caller.savedPc[-1]) - 1;
        vmPostCall(state, wanted, firstResult);
        if (wanted >= 0) state.top = state.ci->top;
        goto enter;
      }
      case OP_FORLOOP: {
        VmValue* loop = RA;
        if (!loop[0].IsNumber() || !loop[1].IsNumber() || !loop[2].IsNumber()) [[unlikely]] {
          SAVE;
          if (!loop[0].IsNumber()) vmRaise(state, Error::ValueExpected);
          LoopNumber(state, loop[1]);
          LoopNumber(state, loop[2]);
        }
        const double step = loop[2].number;
        const double index = loop[0].number + step;
        if (step > 0 ? index <= loop[1].number : index >= loop[1].number) {
          pc += opSBx(word);
          loop[0].number = index;
          SAFE_POINT
        }
        NEXT;
      }
      case OP_TFORLOOP: {
        VmValue* loop = RA;
        const int results = opC(word) + 1;
        VmValue* function = loop + results + 2;
        for (int i = 0; i < 3; ++i) function[i] = loop[i];
        state.top = function + 3;
        SAVE;
        const std::ptrdiff_t offset = SaveStack(state, function);
        const int code = vmCallAt(state, function, results);
        if (code != 0) ReportNativeError(state, code);
        RELOAD;
        state.top = state.ci->top;
        VmValue* from = RestoreStack(state, offset);
        VmValue* to = RA + 2;
        for (int i = 0; i < results; ++i) to[i] = from[i];
        if (to->IsNil()) {
          ++pc;
        } else {
          pc += opSJ(*pc) + 1;
        }
        NEXT;
      }
      case OP_TFORPREP: {
        VmValue* loop = RA;
        if (loop->IsTable()) {
          SAVE;
          loop[1] = loop[0];
          VmString* next = NewString(state, "next");
          loop[0] = TableGetString(*state.globalTable, next);
        }
        pc += opSBx(word);
        NEXT;
      }
      case OP_SETLIST:
      case OP_SETLISTO: {
        VmValue* list = RA;
        SAVE;
        const int first = opBx(word) & ~(vmListBatch - 1);
        std::ptrdiff_t count = (opBx(word) & (vmListBatch - 1)) + 1;
        if (opCode(word) == OP_SETLISTO) {
          count = state.top - list - 1;
          state.top = state.ci->top;
        }
        if (!StoreList(state, list, first, count)) return nullptr;
        NEXT;
      }
      case OP_CLOSE:
        CloseUpvalues(state, RA);
        NEXT;
      case OP_CLOSURE: {
        SAVE;
        VmProto* proto = closure->proto->protos[static_cast<std::size_t>(opBx(word))];
        pc = MakeClosure(state, *closure, proto, RA, base, pc);
        SAVE;
        vmCheckGC(state);
        RELOAD;
        NEXT;
      }
      case OP_SELF: {
        const VmValue object = *RB;
        const VmValue* key = RKC;
        if (!key->IsString()) return nullptr;
        RA[1] = object;
        if (object.IsTable()) [[likely]] {
          const VmValue& found = TableGetString(*object.table(), key->string());
          if (!found.IsNil()) {
            *RA = found;
            NEXT;
          }
        }
        SAVE;
        const VmValue value = GetField(state, object, *key, RB, true);
        RELOAD;
        *RA = value;
        NEXT;
      }
      default:
        NEXT;
    }
  }
}

}  // namespace quillmere
