#include "vm/prepare.h"

#include "vm/opcodes.h"

namespace quillmere {
namespace {

using Op = VmCodeOp;

class Preparation {
 public:
  explicit Preparation(VmProto& proto) : proto_(proto) {}

  void Run() {
    for (std::uint32_t pc = 0; pc < proto_.code.count; ++pc) proto_.ops[pc] = Prepare(pc);
  }

 private:
  static VmCode Make(Op op, int a, int b = 0, int c = 0) {
    VmCode code;
    code.op = static_cast<std::uint8_t>(op);
    code.a = static_cast<std::uint8_t>(a);
    code.b = static_cast<std::uint16_t>(b);
    code.c = static_cast<std::uint16_t>(c);
    code.hint = 0;
    return code;
  }
  static VmCode WithJump(Op op, int a, int b, int jump) {
    VmCode code = Make(op, a, b);
    code.jump = jump;
    return code;
  }
  static VmCode WithIndex(Op op, int a, int index) {
    VmCode code = Make(op, a);
    code.index = static_cast<std::uint32_t>(index);
    return code;
  }

  [[nodiscard]] const VmValue& Constant(int index) const {
    return proto_.constants[static_cast<std::size_t>(index)];
  }
  [[nodiscard]] bool IsStringConstant(int rk) const {
    return vmIsConstant(rk) && Constant(vmConstantIndex(rk)).IsString();
  }
  /// The first guess at the node of a string key is its main position.
  [[nodiscard]] std::uint16_t Hint(int constant) const {
    return static_cast<std::uint16_t>(Constant(constant).string()->hash);
  }
  /// The index of an operand within its kind.
  static int Index(int rk) { return vmIsConstant(rk) ? vmConstantIndex(rk) : rk; }
  /// Where the jump behind the test at `pc` leads, from behind the test.
  [[nodiscard]] int JumpBehind(std::uint32_t pc) const { return opSJ(proto_.code[pc + 1]) + 1; }

  [[nodiscard]] VmCode Prepare(std::uint32_t pc) const;
  [[nodiscard]] VmCode PrepareGlobal(VmInstruction word, Op op) const;
  [[nodiscard]] VmCode PrepareGet(VmInstruction word, Op field, Op index, Op other) const;
  [[nodiscard]] VmCode PrepareSet(VmInstruction word) const;
  [[nodiscard]] static VmCode PrepareArithmetic(VmInstruction word);
  [[nodiscard]] VmCode PrepareCompare(std::uint32_t pc) const;
  [[nodiscard]] static VmCode PrepareReturn(VmInstruction word);
  [[nodiscard]] static VmCode PrepareJump(VmInstruction word);

  VmProto& proto_;
};

VmCode Preparation::PrepareGlobal(VmInstruction word, Op op) const {
  VmCode code = WithIndex(op, opA(word), opBx(word));
  code.b = Hint(opBx(word));
  return code;
}

VmCode Preparation::PrepareGet(VmInstruction word, Op field, Op index, Op other) const {
  const int key = opC(word);
  if (IsStringConstant(key)) {
    VmCode code = Make(field, opA(word), opB(word), Index(key));
    code.hint = Hint(code.c);
    return code;
  }
  return Make(vmIsConstant(key) ? other : index, opA(word), opB(word), key);
}

VmCode Preparation::PrepareSet(VmInstruction word) const {
  const int key = opB(word);
  const int value = opC(word);
  if (IsStringConstant(key)) {
    VmCode code = Make(vmIsConstant(value) ? Op::SetFieldK : Op::SetFieldR, opA(word), Index(key),
                       Index(value));
    code.hint = Hint(code.b);
    return code;
  }
  if (vmIsConstant(key)) return Make(Op::SetOther, opA(word), key, value);
  return Make(vmIsConstant(value) ? Op::SetIndexK : Op::SetIndexR, opA(word), key, Index(value));
}

VmCode Preparation::PrepareArithmetic(VmInstruction word) {
  const int b = opB(word);
  const int c = opC(word);
  const int op = opCode(word);
  if (op > OP_DIV) {
    const int code = static_cast<int>(Op::DivInt) + (op - OP_DIVINT);
    return Make(static_cast<Op>(code), opA(word), b, c);
  }
  if (vmIsConstant(b) && vmIsConstant(c)) return Make(Op::ArithmeticKK, opA(word), b, c);
  const int kinds = vmIsConstant(c) ? 1 : vmIsConstant(b) ? 2 : 0;
  const int code = static_cast<int>(Op::AddRR) + 3 * (op - OP_ADD) + kinds;
  return Make(static_cast<Op>(code), opA(word), Index(b), Index(c));
}

VmCode Preparation::PrepareCompare(std::uint32_t pc) const {
  const VmInstruction word = proto_.code[pc];
  const int b = opB(word);
  const int c = opC(word);
  const int op = opCode(word);
  const int jump = JumpBehind(pc);
  if (vmIsConstant(b) && vmIsConstant(c)) return WithJump(Op::CompareKK, 0, 0, jump);
  // The register stands in `a`; with two registers the second one stands in `b`.
  const bool constantFirst = vmIsConstant(b);
  int code = static_cast<int>(opA(word) != 0 ? Op::JumpEqRR : Op::JumpNotEqRR);
  if (op == OP_EQ) {
    // Equality does not mind the order, and a constant has no events.
    code += vmIsConstant(b) || vmIsConstant(c) ? 1 : 0;
  } else {
    code += 2 + 3 * (op - OP_LT) + (vmIsConstant(c) ? 1 : constantFirst ? 2 : 0);
  }
  return constantFirst ? WithJump(static_cast<Op>(code), c, Index(b), jump)
                       : WithJump(static_cast<Op>(code), b, Index(c), jump);
}

VmCode Preparation::PrepareReturn(VmInstruction word) {
  if (opC(word) == 1) return Make(Op::ReturnSubroutine, 0);
  const Op op = opB(word) == 1 ? Op::ReturnNone : opB(word) == 2 ? Op::ReturnOne : Op::Return;
  return Make(op, opA(word), opB(word));
}

VmCode Preparation::PrepareJump(VmInstruction word) {
  const int jump = opSJ(word);
  const Op op = opMode(word) == opJumpSubroutine ? Op::JumpSubroutine
                : jump < 0                       ? Op::JumpBack
                                                 : Op::Jump;
  return WithJump(op, 0, 0, jump);
}

VmCode Preparation::Prepare(std::uint32_t pc) const {
  const VmInstruction word = proto_.code[pc];
  const int a = opA(word);
  const int b = opB(word);
  const int c = opC(word);
  switch (opCode(word)) {
    case OP_MOVE:
      return Make(Op::Move, a, b);
    case OP_LOADK:
      return WithIndex(Op::LoadK, a, opBx(word));
    case OP_LOADNUM:
      return Make(c != 0 ? Op::LoadNumSkip : Op::LoadNum, a, b);
    case OP_LOADNIL:
      return Make(Op::LoadNil, a, b);
    case OP_GETUPVAL:
      return Make(Op::GetUpval, a, b);
    case OP_GETGLOBAL:
      return PrepareGlobal(word, Op::GetGlobal);
    case OP_GETTABLE:
      return PrepareGet(word, Op::GetField, Op::GetIndex, Op::GetOther);
    case OP_SETGLOBAL:
      return PrepareGlobal(word, Op::SetGlobal);
    case OP_SETUPVAL:
      return Make(Op::SetUpval, a, b);
    case OP_SETTABLE:
      return PrepareSet(word);
    case OP_NEWTABLE:
      return Make(Op::NewTable, a, b, c);
    case OP_UNM:
      return Make(Op::Unm, a, b);
    case OP_NOT:
      return Make(Op::Not, a, b);
    case OP_BNOT:
      return Make(Op::BNot, a, b);
    case OP_CONCAT:
      return Make(Op::Concat, a, b, c);
    case OP_JMP:
      return PrepareJump(word);
    case OP_EQ:
    case OP_LT:
    case OP_LE:
      return PrepareCompare(pc);
    case OP_TEST:
      return WithJump(c != 0 ? Op::JumpIfTrue : Op::JumpIfFalse, a, b, JumpBehind(pc));
    case OP_CALL:
      return Make(Op::Call, a, b, c);
    case OP_TAILCALL:
      return Make(Op::TailCall, a, b, c);
    case OP_RETURN:
      return PrepareReturn(word);
    case OP_FORLOOP:
      return WithJump(Op::ForLoop, a, 0, opSBx(word));
    case OP_TFORLOOP:
      return WithJump(Op::ForEach, a, c + 1, JumpBehind(pc));
    case OP_TFORPREP:
      return WithJump(Op::ForPrepare, a, 0, opSBx(word));
    case OP_SETLIST:
      return WithIndex(Op::SetList, a, opBx(word));
    case OP_SETLISTO:
      return WithIndex(Op::SetListOpen, a, opBx(word));
    case OP_CLOSE:
      return Make(Op::Close, a);
    case OP_CLOSURE:
      return WithIndex(Op::Closure, a, opBx(word));
    case OP_SELF:
      return PrepareGet(word, Op::Self, Op::SelfOther, Op::SelfOther);
    default:
      return opCode(word) >= OP_ADD && opCode(word) <= OP_POW ? PrepareArithmetic(word)
                                                              : Make(Op::Ignored, 0);
  }
}

}  // namespace

void PrepareCode(VmProto& proto) {
  Preparation(proto).Run();
}

}  // namespace quillmere
