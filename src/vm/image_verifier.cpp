// What the interpreter may take for granted of a function: every field of every instruction names a
// register of the frame, a constant of the function or an instruction of the code.
#include "vm/image.h"

namespace quillmere {
namespace {

class Verifier {
 public:
  explicit Verifier(const ImageFunction& function)
      : function_(function), codeCount_(static_cast<std::int64_t>(function.code.size())) {}

  [[nodiscard]] bool Verify() const;

 private:
  [[nodiscard]] VmInstruction At(std::int64_t pc) const {
    return function_.code[static_cast<std::size_t>(pc)];
  }
  [[nodiscard]] bool IsInside(std::int64_t pc) const { return pc >= 0 && pc < codeCount_; }
  [[nodiscard]] bool IsRegister(int x) const { return x < function_.maxStack; }
  [[nodiscard]] bool IsConstant(int index) const {
    return static_cast<std::size_t>(index) < function_.constants.size();
  }
  [[nodiscard]] bool IsString(int index) const {
    return std::holds_alternative<std::string>(
        function_.constants[static_cast<std::size_t>(index)]);
  }
  [[nodiscard]] bool IsArgument(VmOpArgument mode, int x) const {
    switch (mode) {
      case VmOpArgument::Register:
        return IsRegister(x);
      case VmOpArgument::Rk:
        return vmIsConstant(x) ? IsConstant(vmConstantIndex(x)) : IsRegister(x);
      default:
        return true;
    }
  }
  [[nodiscard]] bool IsOp(std::int64_t pc, VmOp op) const {
    return IsInside(pc) && opCode(At(pc)) == op;
  }

  [[nodiscard]] bool VerifyFrame() const;
  [[nodiscard]] bool VerifyModes(std::int64_t pc) const;
  [[nodiscard]] bool VerifyInstruction(std::int64_t pc) const;
  [[nodiscard]] bool VerifyCall(std::int64_t pc) const;
  [[nodiscard]] bool VerifyClosure(std::int64_t pc) const;

  const ImageFunction& function_;
  std::int64_t codeCount_;
};

bool Verifier::VerifyFrame() const {
  return function_.maxStack <= vmMaxRegisters &&
         function_.paramCount + (function_.isVarArg ? 1 : 0) <= function_.maxStack &&
         (function_.lines.empty() || function_.lines.size() == function_.code.size()) &&
         !function_.code.empty() && opCode(function_.code.back()) == OP_RETURN;
}

bool Verifier::VerifyModes(std::int64_t pc) const {
  const VmInstruction word = At(pc);
  const VmOpInfo& info = vmOpInfo(opCode(word));
  switch (info.format) {
    case VmOpFormat::ABC:
      if (!IsArgument(info.b, opB(word)) || !IsArgument(info.c, opC(word))) return false;
      break;
    case VmOpFormat::ABx:
      if (info.bxIsConstant && !IsConstant(opBx(word))) return false;
      break;
    case VmOpFormat::AsBx:
      if (!IsInside(pc + 1 + opSBx(word))) return false;
      break;
    case VmOpFormat::MsJ:
      if (!IsInside(pc + 1 + opSJ(word))) return false;
      break;
  }
  return !info.isTest || IsOp(pc + 1, OP_JMP);
}

bool Verifier::VerifyCall(std::int64_t pc) const {
  const VmInstruction word = At(pc);
  const int a = opA(word);
  if (opB(word) != 0 && !IsRegister(a + opB(word) - 1)) return false;
  if (opC(word) != 0) return opC(word) == 1 || IsRegister(a + opC(word) - 2);
  // All results are wanted, so that the next instruction has to take them up to the top.
  if (!IsInside(pc + 1)) return false;
  const VmInstruction next = At(pc + 1);
  switch (opCode(next)) {
    case OP_CALL:
    case OP_TAILCALL:
    case OP_RETURN:
      return opB(next) == 0;
    default:
      return opCode(next) == OP_SETLISTO;
  }
}

bool Verifier::VerifyClosure(std::int64_t pc) const {
  const auto index = static_cast<std::size_t>(opBx(At(pc)));
  if (index >= function_.functions.size()) return false;
  const int upvalueCount = function_.functions[index].upvalueCount;
  for (int i = 1; i <= upvalueCount; ++i) {
    if (!IsOp(pc + i, OP_GETUPVAL) && !IsOp(pc + i, OP_MOVE)) return false;
  }
  return true;
}

bool Verifier::VerifyInstruction(std::int64_t pc) const {
  const VmInstruction word = At(pc);
  const int op = opCode(word);
  const int a = opA(word);
  if (op != OP_JMP && !IsRegister(a)) return false;
  if (op >= opCount) return true;
  if (!VerifyModes(pc)) return false;
  switch (op) {
    case OP_LOADNUM:
      return opC(word) == 0 || IsInside(pc + 2);
    case OP_GETUPVAL:
    case OP_SETUPVAL:
      return opB(word) < function_.upvalueCount;
    case OP_GETGLOBAL:
    case OP_SETGLOBAL:
      return IsString(opBx(word));
    case OP_CONCAT:
      return !vmIsConstant(opC(word)) && opB(word) < opC(word);
    case OP_CALL:
    case OP_TAILCALL:
      return VerifyCall(pc);
    case OP_RETURN:
      return opC(word) == 1 || opB(word) <= 1 || IsRegister(a + opB(word) - 2);
    case OP_FORLOOP:
      return IsRegister(a + 2);
    case OP_TFORLOOP:
      return IsRegister(a + opC(word) + 5);
    case OP_TFORPREP:
    case OP_SELF:
      return IsRegister(a + 1);
    case OP_SETLIST:
      return IsRegister(a + 1 + opBx(word) % vmListBatch);
    case OP_CLOSURE:
      return VerifyClosure(pc);
    default:
      return true;
  }
}

bool Verifier::Verify() const {
  if (!VerifyFrame()) return false;
  for (std::int64_t pc = 0; pc < codeCount_; ++pc) {
    if (!VerifyInstruction(pc)) return false;
  }
  return true;
}

}  // namespace

Status VerifyFunction(const ImageFunction& function) {
  if (!Verifier(function).Verify()) return Fail(Error::BadBytecode);
  return {};
}

}  // namespace quillmere
