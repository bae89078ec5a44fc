// The instruction words of compiled scripts: numbers, operand modes, encoding and decoding.
//
// A word holds the opcode in bits 0 to 5. Format ABC has C in bits 6 to 14, B in 15 to 23 and A in
// 24 to 31; ABx reads C and B together as one number, AsBx as a signed one. The jump has a format
// of its own: a signed offset in bits 6 to 29 and a mode in bits 30 and 31.
#pragma once

#include <cstdint>

#include "vm/limits.h"

namespace quillmere {

using VmInstruction = std::uint32_t;

enum VmOp : std::uint8_t {
#define OP(name, format, b, c, flags) name,
#include "vm/opcodes.def"
#undef OP
  opCount
};
static_assert(opCount == 43);

enum class VmOpFormat : std::uint8_t { ABC, ABx, AsBx, MsJ };
enum class VmOpArgument : std::uint8_t { None, Plain, Register, Rk };

/// How one instruction reads its word.
struct VmOpInfo {
  const char* name;
  VmOpFormat format;
  VmOpArgument b;
  VmOpArgument c;
  bool writesA;
  bool isTest;
  bool bxIsConstant;
};

/// The modes of an opcode, which must be below `opCount`.
[[nodiscard]] const VmOpInfo& vmOpInfo(int op);

inline constexpr int opMaxB = 511;
inline constexpr int opMaxC = 511;
inline constexpr int opMaxBx = (1 << 18) - 1;
inline constexpr int opBiasSBx = 131071;
inline constexpr int opBiasSJ = 8388607;
/// The mode of a jump that calls a subroutine.
inline constexpr int opJumpSubroutine = 2;

[[nodiscard]] constexpr int opCode(VmInstruction word) {
  return static_cast<int>(word & 0x3F);
}
[[nodiscard]] constexpr int opA(VmInstruction word) {
  return static_cast<int>(word >> 24);
}
[[nodiscard]] constexpr int opB(VmInstruction word) {
  return static_cast<int>(word >> 15 & 0x1FF);
}
[[nodiscard]] constexpr int opC(VmInstruction word) {
  return static_cast<int>(word >> 6 & 0x1FF);
}
[[nodiscard]] constexpr int opBx(VmInstruction word) {
  return static_cast<int>(word >> 6 & 0x3FFFF);
}
[[nodiscard]] constexpr int opSBx(VmInstruction word) {
  return opBx(word) - opBiasSBx;
}
[[nodiscard]] constexpr int opSJ(VmInstruction word) {
  return static_cast<int>(word >> 6 & 0xFFFFFF) - opBiasSJ;
}
[[nodiscard]] constexpr int opMode(VmInstruction word) {
  return static_cast<int>(word >> 30);
}

[[nodiscard]] constexpr VmInstruction vmEncodeABC(VmOp op, int a, int b, int c) {
  return static_cast<VmInstruction>(op) | static_cast<VmInstruction>(c) << 6 |
         static_cast<VmInstruction>(b) << 15 | static_cast<VmInstruction>(a) << 24;
}
[[nodiscard]] constexpr VmInstruction vmEncodeABx(VmOp op, int a, int bx) {
  return static_cast<VmInstruction>(op) | static_cast<VmInstruction>(bx) << 6 |
         static_cast<VmInstruction>(a) << 24;
}
[[nodiscard]] constexpr VmInstruction vmEncodeAsBx(VmOp op, int a, int sBx) {
  return vmEncodeABx(op, a, sBx + opBiasSBx);
}
[[nodiscard]] constexpr VmInstruction vmEncodeJump(int mode, int sJ) {
  return static_cast<VmInstruction>(OP_JMP) | static_cast<VmInstruction>(sJ + opBiasSJ) << 6 |
         static_cast<VmInstruction>(mode) << 30;
}

/// Whether an RK operand names a constant, and which.
[[nodiscard]] constexpr bool vmIsConstant(int rk) {
  return rk >= vmMaxRegisters;
}
[[nodiscard]] constexpr int vmConstantIndex(int rk) {
  return rk - vmMaxRegisters;
}
/// The RK operand of a constant; the index must be at most `vmMaxRkConstant`.
[[nodiscard]] constexpr int vmRkConstant(int index) {
  return index + vmMaxRegisters;
}
inline constexpr int vmMaxRkConstant = opMaxC - vmMaxRegisters;

}  // namespace quillmere
