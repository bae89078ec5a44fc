// The interpreter. One loop runs script functions that call each other; a native that calls back
// into script starts a new one.
//
// `pc`, `base`, the running closure and its constants are kept in locals. SAVE writes the pc back
// where an error or a callee may look at it; RELOAD fetches what a callee may have changed: the
// stack may have moved, and `attention` may have been raised. While `attention` is raised every
// word leads to `watch` first, which leaves the loop or runs the count hook: so quitting is as good
// as tested before each instruction, and costs nothing as long as nobody asks for it.
#include <algorithm>

#include "base/numbers.h"
#include "vm/execute_steps.h"

namespace quillmere {

#define A (pc[-1].a)
#define B (pc[-1].b)
#define C (pc[-1].c)
#define RA (base + A)
#define RB (base + B)
#define RC (base + C)
#define KB (constants + B)
#define KC (constants + C)
#define RK(x) ((x) < vmMaxRegisters ? base + (x) : constants + ((x)-vmMaxRegisters))
#define JUMP (pc[-1].jump)
#define INDEX (pc[-1].index)

#define SAVE (state.ci->savedPc = pc)
#define RELOAD (base = state.base, dispatch = state.attention == 0 ? running : watched)
#define NEXT goto* dispatch[pc->op]
#define CODE_OF(name) code_##name : ++pc;

// A place that every long run passes: a call, or behind a backward jump. `at` is the pc behind the
// instruction whose line a hook is told.
#define SAFE_POINT(at)                          \
  if (--state.linePatience <= 0) [[unlikely]] { \
    state.ci->savedPc = (at);                   \
    RunLineHook(state);                         \
    RELOAD;                                     \
  }

// Sets the top behind the arguments of a call. An open list of them that ends before the function
// can only come from code that no compiler makes, and is empty.
#define SET_CALL_TOP(function)            \
  {                                       \
    if (B != 0) {                         \
      state.top = (function) + B;         \
    } else if (state.top <= (function)) { \
      state.top = (function) + 1;         \
    }                                     \
  }

// Takes the slow way: `expression` may call anything; its value goes to R(A).
#define SLOW(expression)             \
  {                                  \
    SAVE;                            \
    const VmValue slow = expression; \
    RELOAD;                          \
    *RA = slow;                      \
    NEXT;                            \
  }

#define ARITHMETIC(name, op, left, right, test, expression)    \
  CODE_OF(name) {                                              \
    const VmValue* b = left;                                   \
    const VmValue* c = right;                                  \
    if (b->IsNumber() && c->IsNumber() && (test)) [[likely]] { \
      const double x = b->number();                            \
      const double y = c->number();                            \
      RA->SetNumber(expression);                               \
      NEXT;                                                    \
    }                                                          \
    SLOW(Arithmetic(state, *b, *c, op));                       \
  }

#define ARITHMETIC_KINDS(name, op, test, expression)  \
  ARITHMETIC(name##RR, op, RB, RC, test, expression); \
  ARITHMETIC(name##RK, op, RB, KC, test, expression); \
  ARITHMETIC(name##KR, op, KB, RC, test, expression)

#define JUMP_IF(condition)                \
  {                                       \
    if (condition) {                      \
      const int offset = JUMP;            \
      pc += offset;                       \
      if (offset < 0) SAFE_POINT(pc + 1); \
      NEXT;                               \
    }                                     \
    ++pc;                                 \
    NEXT;                                 \
  }

#define COMPARE(name, left, right, fast, slow, wanted)     \
  CODE_OF(name) {                                          \
    const VmValue* b = left;                               \
    const VmValue* c = right;                              \
    if (b->IsNumber() && c->IsNumber()) [[likely]] {       \
      JUMP_IF((b->number() fast c->number()) == (wanted)); \
    }                                                      \
    SAVE;                                                  \
    const bool holds = slow(state, *b, *c);                \
    RELOAD;                                                \
    JUMP_IF(holds == (wanted));                            \
  }

#define COMPARE_ORDER(name, fast, slow, wanted)  \
  COMPARE(name##RR, RA, RB, fast, slow, wanted); \
  COMPARE(name##RK, RA, KB, fast, slow, wanted); \
  COMPARE(name##KR, KB, RA, fast, slow, wanted)

VmValue* vmExecute(VmState& state) {
  static const void* const running[] = {
#define CODE(name) &&code_##name,
#include "vm/prepared.def"
#undef CODE
  };
  static const void* const watched[] = {
#define CODE(name) &&watch,
#include "vm/prepared.def"
#undef CODE
  };

  const void* const* dispatch;
  VmClosure* closure;
  VmCode* pc;
  VmValue* base;
  VmValue* constants;

enter:
  closure = FunctionOf(*state.ci);
  pc = state.ci->savedPc;
  constants = closure->proto->constants.items;
  RELOAD;
  NEXT;

watch:
  if ((state.attention & attentionQuit) == 0) {
    state.ci->savedPc = pc + 1;
    CountInstruction(state);
    RELOAD;
  }
  if ((state.attention & attentionQuit) != 0) return nullptr;
  goto* running[pc->op];

  CODE_OF(Move) {
    *RA = *RB;
    NEXT;
  }
  CODE_OF(LoadK) {
    *RA = constants[INDEX];
    NEXT;
  }
  CODE_OF(LoadNum) {
    RA->SetNumber(B);
    NEXT;
  }
  CODE_OF(LoadNumSkip) {
    RA->SetNumber(B);
    ++pc;
    NEXT;
  }
  CODE_OF(LoadNil) {
    for (VmValue* slot = RA; slot <= RB; ++slot) slot->SetNil();
    NEXT;
  }
  CODE_OF(GetUpval) {
    *RA = *closure->Upvalues()[B]->location;
    NEXT;
  }
  CODE_OF(SetUpval) {
    *closure->Upvalues()[B]->location = *RA;
    NEXT;
  }

  CODE_OF(GetGlobal) {
    const VmValue key = constants[INDEX];
    const VmValue found = FieldOf(*closure->environment, key, B);
    if (!found.IsNil()) [[likely]] {
      *RA = found;
      NEXT;
    }
    SLOW(GetMissingGlobal(state, *closure->environment, key));
  }
  CODE_OF(SetGlobal) {
    const VmValue key = constants[INDEX];
    VmTable& table = *closure->environment;
    VmNode* node = GuessedNode(table, key, B);
    if (node != nullptr && !node->value.IsNil()) [[likely]] {
      table.absentEvents = 0;
      node->value = *RA;
      NEXT;
    }
    SAVE;
    SetTableEntry(state, VmValue::Table(&table), key, *RA, nullptr);
    RELOAD;
    NEXT;
  }

  CODE_OF(GetField) {
    const VmValue object = *RB;
    const VmValue key = *KC;
    if (object.IsTable()) [[likely]] {
      VmValue found = FieldOf(*object.table(), key, pc[-1].hint);
      if (found.IsNil()) found = InheritedField(state, object.table(), key);
      if (!found.IsNil()) [[likely]] {
        *RA = found;
        NEXT;
      }
    }
    SLOW(GetField(state, object, key, RB, false));
  }
  CODE_OF(GetIndex) {
    const VmValue object = *RB;
    const VmValue key = *RC;
    if (object.IsTable()) [[likely]] {
      const VmTable& table = *object.table();
      const VmValue* slot = nullptr;
      if (key.IsNumber()) slot = ArraySlot(table, key.number());
      if (slot == nullptr) slot = &TableGet(table, key);
      if (!slot->IsNil()) [[likely]] {
        *RA = *slot;
        NEXT;
      }
    }
    SLOW(GetField(state, object, key, RB, false));
  }
  CODE_OF(GetOther) {
    const VmValue object = *RB;
    const VmValue key = *RK(C);
    if (object.IsTable()) [[likely]] {
      const VmValue& found = TableGet(*object.table(), key);
      if (!found.IsNil()) [[likely]] {
        *RA = found;
        NEXT;
      }
    }
    SLOW(GetField(state, object, key, RB, false));
  }

#define SET_FIELD(name, source)                                 \
  CODE_OF(name) {                                               \
    const VmValue object = *RA;                                 \
    const VmValue key = *KB;                                    \
    if (object.IsTable()) [[likely]] {                          \
      VmTable& table = *object.table();                         \
      VmNode* node = GuessedNode(table, key, pc[-1].hint);      \
      if (node != nullptr && !node->value.IsNil()) [[likely]] { \
        table.absentEvents = 0;                                 \
        node->value = *(source);                                \
        NEXT;                                                   \
      }                                                         \
      if (node == nullptr && HasNoStoreEvent(table)) {          \
        SAVE;                                                   \
        TableAddString(state, table, key.string()) = *(source); \
        NEXT;                                                   \
      }                                                         \
    }                                                           \
    SAVE;                                                       \
    SetTableEntry(state, object, key, *(source), RA);           \
    RELOAD;                                                     \
    NEXT;                                                       \
  }
  SET_FIELD(SetFieldR, RC);
  SET_FIELD(SetFieldK, KC);

#define SET_INDEX(name, keySource, source)                                 \
  CODE_OF(name) {                                                          \
    const VmValue object = *RA;                                            \
    const VmValue key = *(keySource);                                      \
    if (object.IsTable() && key.IsNumber()) [[likely]] {                   \
      VmTable& table = *object.table();                                    \
      VmValue* slot = ArraySlot(table, key.number());                      \
      if (slot != nullptr && (!slot->IsNil() || HasNoStoreEvent(table))) { \
        table.absentEvents = 0;                                            \
        *slot = *(source);                                                 \
        NEXT;                                                              \
      }                                                                    \
    }                                                                      \
    SAVE;                                                                  \
    SetTableEntry(state, object, key, *(source), RA);                      \
    RELOAD;                                                                \
    NEXT;                                                                  \
  }
  SET_INDEX(SetIndexR, RB, RC);
  SET_INDEX(SetIndexK, RB, KC);
  SET_INDEX(SetOther, RK(B), RK(C));

  CODE_OF(NewTable) {
    SAVE;
    const int size = (B & 7) << std::min(B >> 3, vmMaxTableExponent + 1);
    VmTable* table = NewTable(state, size, C);
    *RA = VmValue::Table(table);
    vmCheckGC(state);
    RELOAD;
    NEXT;
  }

  ARITHMETIC_KINDS(Add, OP_ADD, true, x + y);
  ARITHMETIC_KINDS(Sub, OP_SUB, true, x - y);
  ARITHMETIC_KINDS(Mul, OP_MUL, true, x * y);
  ARITHMETIC_KINDS(Div, OP_DIV, c->number() != 0, x / y);

  CODE_OF(DivInt) {
    const VmValue* b = RK(B);
    const VmValue* c = RK(C);
    std::int32_t x = 0;
    std::int32_t y = 0;
    if (b->IsNumber() && c->IsNumber() && ToExactInt(b->number(), x) &&
        ToExactInt(c->number(), y) && y > 0) [[likely]] {
      RA->SetNumber(x / y);
      NEXT;
    }
    SLOW(Arithmetic(state, *b, *c, OP_DIVINT));
  }
  CODE_OF(Mod) {
    const VmValue* b = RK(B);
    const VmValue* c = RK(C);
    std::int32_t x = 0;
    std::int32_t y = 0;
    if (b->IsNumber() && c->IsNumber() && ToExactInt(b->number(), x) &&
        ToExactInt(c->number(), y) && y > 0) [[likely]] {
      RA->SetNumber(x % y);
      NEXT;
    }
    SLOW(Arithmetic(state, *b, *c, OP_MOD));
  }
  CODE_OF(Lsh) {
    SLOW(Arithmetic(state, *RK(B), *RK(C), OP_LSH));
  }
  CODE_OF(Rsh) {
    SLOW(Arithmetic(state, *RK(B), *RK(C), OP_RSH));
  }
  ARITHMETIC(Or, OP_OR, RK(B), RK(C), true, ToUInt32(x) | ToUInt32(y));

  ARITHMETIC(And, OP_AND, RK(B), RK(C), true, ToUInt32(x) & ToUInt32(y));

  ARITHMETIC(Xor, OP_XOR, RK(B), RK(C), true, ToUInt32(x) ^ ToUInt32(y));
  CODE_OF(Pow)
  SLOW(Arithmetic(state, *RK(B), *RK(C), OP_POW));
  CODE_OF(ArithmeticKK) {
    const VmInstruction word =
        closure->proto->code[static_cast<std::size_t>(pc - 1 - closure->proto->ops.begin())];
    SLOW(Arithmetic(state, *RK(B), *RK(C), static_cast<VmOp>(opCode(word))));
  }
  CODE_OF(Unm) {
    if (RB->IsNumber()) [[likely]] {
      RA->SetNumber(-RB->number());
      NEXT;
    }
    SLOW(Negate(state, *RB));
  }
  CODE_OF(Not) {
    RA->SetNumber(IsFalse(*RB) ? 1 : 0);
    NEXT;
  }
  CODE_OF(BNot) SLOW(Complement(state, *RB));
  CODE_OF(Concat) {
    SAVE;
    const int first = B;
    Concatenate(state, C - first + 1, RC);
    base = state.base;
    *RA = base[first];
    vmCheckGC(state);
    RELOAD;
    NEXT;
  }

  CODE_OF(Jump) {
    pc += JUMP;
    NEXT;
  }
  CODE_OF(JumpBack) {
    pc += JUMP;
    SAFE_POINT(pc + 1);
    NEXT;
  }
  CODE_OF(JumpSubroutine) {
    SAVE;
    PushSubroutine(state, pc);
    pc += JUMP;
    SAFE_POINT(pc + 1);
    NEXT;
  }

  COMPARE(JumpEqRR, RA, RB, ==, EqualValues, true);
  COMPARE(JumpEqRK, RA, KB, ==, EqualValues, true);
  COMPARE(JumpNotEqRR, RA, RB, ==, EqualValues, false);
  COMPARE(JumpNotEqRK, RA, KB, ==, EqualValues, false);
  COMPARE_ORDER(JumpLt, <, LessThan, true);
  COMPARE_ORDER(JumpLe, <=, LessEqual, true);
  COMPARE_ORDER(JumpNotLt, <, LessThan, false);
  COMPARE_ORDER(JumpNotLe, <=, LessEqual, false);
  CODE_OF(CompareKK) {
    const VmInstruction word =
        closure->proto->code[static_cast<std::size_t>(pc - 1 - closure->proto->ops.begin())];
    SAVE;
    const VmValue b = *RK(opB(word));
    const VmValue c = *RK(opC(word));
    const bool holds = opCode(word) == OP_EQ   ? EqualValues(state, b, c)
                       : opCode(word) == OP_LT ? LessThan(state, b, c)
                                               : LessEqual(state, b, c);
    JUMP_IF(holds == (opA(word) != 0));
  }
  CODE_OF(JumpIfTrue) {
    const VmValue value = *RB;
    const bool isTrue = !IsFalse(value);
    if (isTrue) *RA = value;
    JUMP_IF(isTrue);
  }
  CODE_OF(JumpIfFalse) {
    const VmValue value = *RB;
    const bool isFalse = IsFalse(value);
    if (isFalse) *RA = value;
    JUMP_IF(isFalse);
  }

  CODE_OF(Call) {
    SAFE_POINT(pc);
    VmValue* const function = RA;
    SET_CALL_TOP(function);
    SAVE;
    if (!function->IsFunction()) goto call_other;
    VmClosure* const callee = function->closure();
    if (callee->isNative) goto call_native;
    const VmProto& proto = *callee->proto;
    if (proto.isVarArg || state.ci == state.lastFrame || (state.hookMask & vmMaskCall) != 0 ||
        state.stackLast - state.top <= proto.maxStack) [[unlikely]] {
      goto call_other;
    }
    base = function + 1;
    VmFrame* const frame = ++state.ci;
    frame->base = state.base = base;
    VmValue* const top = base + proto.maxStack;
    frame->top = top;
    frame->tailCalls = 0;
    frame->isNative = false;
    frame->calledFromScript = true;
    for (VmValue* slot = state.top; slot < top; ++slot) slot->SetNil();
    state.top = top;
    closure = callee;
    constants = proto.constants.items;
    pc = proto.ops.items;
    NEXT;
  }
  CODE_OF(TailCall) {
    SAFE_POINT(pc);
    VmValue* const function = RA;
    SET_CALL_TOP(function);
    SAVE;
    if (!function->IsFunction()) goto call_other;
    VmClosure* const callee = function->closure();
    if (callee->isNative) goto call_native;
    const VmProto& proto = *callee->proto;
    if (proto.isVarArg || (state.hookMask & vmMaskCall) != 0 ||
        state.stackLast - state.top <= proto.maxStack) [[unlikely]] {
      goto call_other;
    }
    if (HasOpenUpvalues(state, base)) CloseUpvalues(state, base);
    VmValue* slot = base - 1;
    for (const VmValue* from = function; from < state.top;) *slot++ = *from++;
    VmFrame* const frame = state.ci;
    VmValue* const top = base + proto.maxStack;
    for (; slot < top; ++slot) slot->SetNil();
    frame->top = state.top = top;
    ++frame->tailCalls;
    closure = callee;
    constants = proto.constants.items;
    pc = proto.ops.items;
    NEXT;
  }

call_other : {
  const bool isTailCall = pc[-1].op == static_cast<std::uint8_t>(VmCodeOp::TailCall);
  if (vmPrepareCall(state, RA)) goto call_native;
  if (isTailCall) {
    ReuseFrame(state);
  } else {
    state.ci->calledFromScript = true;
  }
  goto enter;
}

call_native : {
  base = state.base;
  NativeResult result = vmCallNative(state, RA);
  const int wanted = C - 1;
  if (result.code != 0) [[unlikely]] {
    if (result.code == -1 || result.code == -2) {
      pc = JumpToLabel(state, *closure->proto, pc, result.code);
    } else {
      ReportNativeError(state, result.code);
    }
    result.first = state.top;
  }
  vmPostCall(state, wanted, result.first);
  if (wanted >= 0) state.top = state.ci->top;
  RELOAD;
  NEXT;
}

  CODE_OF(ReturnSubroutine) {
    SAVE;
    pc = PopSubroutine(state, *closure->proto);
    NEXT;
  }
  CODE_OF(ReturnNone) {
    state.top = RA;
    goto return_values;
  }
  CODE_OF(ReturnOne) {
    VmFrame* const frame = state.ci;
    if (HasOpenUpvalues(state, base) || !frame->calledFromScript ||
        (state.hookMask & vmMaskReturn) != 0) [[unlikely]] {
      state.top = RA + 1;
      goto return_values;
    }
    VmValue* place = base - 1;
    *place++ = *RA;
    VmFrame* const caller = frame - 1;
    state.ci = caller;
    pc = caller->savedPc;
    state.base = base = caller->base;
    const int wanted = C - 1;
    if (wanted == 1) [[likely]] {
      state.top = caller->top;
    } else if (wanted < 0) {
      state.top = place;
    } else {
      if (wanted == 0) --place;
      for (int i = 1; i < wanted; ++i) (place++)->SetNil();
      state.top = caller->top;
    }
    closure = base[-1].closure();
    constants = closure->proto->constants.items;
    NEXT;
  }
  CODE_OF(Return) {
    if (B != 0) state.top = RA + B - 1;
    goto return_values;
  }

return_values : {
  VmValue* const firstResult = RA;
  SAVE;
  if (HasOpenUpvalues(state, base)) CloseUpvalues(state, base);
  if (!state.ci->calledFromScript) return firstResult;
  const int wanted = state.ci[-1].savedPc[-1].c - 1;
  vmPostCall(state, wanted, firstResult);
  if (wanted >= 0) state.top = state.ci->top;
  goto enter;
}

  CODE_OF(ForLoop) {
    VmValue* const loop = RA;
    if (!loop[0].IsNumber() || !loop[1].IsNumber() || !loop[2].IsNumber()) [[unlikely]] {
      SAVE;
      MakeLoopNumbers(state, loop);
    }
    const double step = loop[2].number();
    const double index = loop[0].number() + step;
    if (step > 0 ? index <= loop[1].number() : index >= loop[1].number()) {
      pc += JUMP;
      loop[0].SetNumber(index);
      SAFE_POINT(pc + 1);
    }
    NEXT;
  }
  CODE_OF(ForEach) {
    SAFE_POINT(pc);
    const int results = B;
    VmValue* const function = RA + results + 2;
    for (int i = 0; i < 3; ++i) function[i] = RA[i];
    state.top = function + 3;
    SAVE;
    const int code = vmCallFromScript(state, function, results);
    if (code != 0) ReportNativeError(state, code);
    RELOAD;
    state.top = state.ci->top;
    const VmValue* from = RA + results + 2;
    VmValue* const to = RA + 2;
    for (int i = 0; i < results; ++i) to[i] = from[i];
    JUMP_IF(!to->IsNil());
  }
  CODE_OF(ForPrepare) {
    VmValue* const loop = RA;
    if (loop->IsTable()) {
      loop[1] = loop[0];
      loop[0] = TableGetString(*state.globalTable, state.globals->nextName);
    }
    pc += JUMP;
    NEXT;
  }

  CODE_OF(SetList) {
    SAVE;
    const auto first = static_cast<int>(INDEX & ~(vmListBatch - 1u));
    if (!StoreList(state, RA, first, (INDEX & (vmListBatch - 1)) + 1)) return nullptr;
    NEXT;
  }
  CODE_OF(SetListOpen) {
    SAVE;
    const std::ptrdiff_t count = state.top - RA - 1;
    state.top = state.ci->top;
    if (!StoreList(state, RA, static_cast<int>(INDEX & ~(vmListBatch - 1u)), count)) return nullptr;
    NEXT;
  }
  CODE_OF(Close) {
    CloseUpvalues(state, RA);
    NEXT;
  }
  CODE_OF(Closure) {
    const VmProto& proto = *closure->proto;
    VmProto* const nested = proto.protos[INDEX];
    SAVE;
    MakeClosure(state, *closure, nested, RA, base, proto.code.items + (pc - proto.ops.items));
    vmCheckGC(state);
    RELOAD;
    pc += nested->upvalueCount;
    NEXT;
  }
  CODE_OF(Self) {
    const VmValue object = *RB;
    const VmValue key = *KC;
    if (object.IsTable()) [[likely]] {
      VmValue found = FieldOf(*object.table(), key, pc[-1].hint);
      if (found.IsNil()) found = InheritedField(state, object.table(), key);
      if (!found.IsNil()) [[likely]] {
        RA[1] = object;
        *RA = found;
        NEXT;
      }
    }
    RA[1] = object;
    SLOW(GetField(state, object, key, RB, true));
  }
  CODE_OF(SelfOther) {
    const VmValue object = *RB;
    const VmValue key = *RK(C);
    if (!key.IsString()) return nullptr;
    RA[1] = object;
    SLOW(GetField(state, object, key, RB, true));
  }
  CODE_OF(Ignored) {
    NEXT;
  }
}

}  // namespace quillmere
