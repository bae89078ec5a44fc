// One function while its code is written: instructions with their lines, constants, registers and
// jumps.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "qmc/ast.h"
#include "vm/image.h"
#include "vm/opcodes.h"

namespace quillmere::qmc {

/// Jumps that wait for their target: the newest one, each holding the distance to the one before.
struct JumpList {
  static constexpr int none = -1;
  int last = none;
};

class FunctionBuilder {
 public:
  FunctionBuilder(FunctionNode& function, FunctionBuilder* builderOfParent)
      : node(function), parent(builderOfParent) {}

  FunctionNode& node;
  FunctionBuilder* parent;
  ImageFunction image;
  /// The line that the next instructions belong to.
  std::uint32_t line = 0;
  /// Limits that were passed; what was written then is not used.
  Error failure = Error::None;

  // Instructions.
  int Emit(VmInstruction word) {
    image.code.push_back(word);
    image.lines.push_back(static_cast<std::int32_t>(line));
    return static_cast<int>(image.code.size()) - 1;
  }
  int EmitABC(VmOp op, int a, int b, int c) { return Emit(vmEncodeABC(op, a, b, c)); }
  int EmitABx(VmOp op, int a, int bx) { return Emit(vmEncodeABx(op, a, bx)); }
  [[nodiscard]] int Pc() const { return static_cast<int>(image.code.size()); }

  // Jumps.
  /// Writes a jump and adds it to a list.
  void Jump(JumpList& list, int mode = 0);
  /// Writes a jump to a place that is known.
  void JumpBack(int target, int mode = 0);
  void Patch(JumpList& list, int target);
  void PatchHere(JumpList& list) { Patch(list, Pc()); }
  /// Writes a jump of the sBx form whose target comes later.
  int EmitLoopJump(VmOp op, int a) { return Emit(vmEncodeABx(op, a, 0)); }
  void PatchLoopJump(int at, int target);

  /// Leads jumps that land on a jump to where that one goes.
  void ShortenJumps();

  // Constants.
  int NumberConstant(double value);
  int StringConstant(Name name, const std::string& text);
  int NilConstant();

  // Registers.
  [[nodiscard]] int FreeRegister() const { return freeRegister_; }
  /// The first of `count` fresh registers side by side.
  int Take(int count = 1);
  /// Gives registers back down to `first`.
  void Release(int first) { freeRegister_ = first; }
  /// Notes that registers up to, not including, `end` are used.
  void Reserve(int end);

 private:
  int AddConstant(ImageConstant constant);

  std::unordered_map<std::uint64_t, int> numbers_;
  std::unordered_map<Name, int> strings_;
  int nil_ = -1;
  int freeRegister_ = 0;
};

}  // namespace quillmere::qmc
