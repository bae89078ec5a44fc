#include "qmc/function_builder.h"

#include <algorithm>

#include "qmc/limits.h"

namespace quillmere::qmc {

void FunctionBuilder::Jump(JumpList& list, int mode) {
  const int at = Pc();
  // Until it is patched a jump holds how far back the one before it in its list is.
  const int back = list.last == JumpList::none ? 0 : at - list.last;
  if (back > opBiasSJ) failure = Error::CodeSizeOverflow;
  Emit(vmEncodeJump(mode, std::min(back, opBiasSJ)));
  list.last = at;
}

void FunctionBuilder::JumpBack(int target, int mode) {
  const int distance = target - Pc() - 1;
  if (distance < -opBiasSJ) failure = Error::CodeSizeOverflow;
  Emit(vmEncodeJump(mode, std::max(distance, -opBiasSJ)));
}

void FunctionBuilder::Patch(JumpList& list, int target) {
  for (int at = list.last; at != JumpList::none;) {
    VmInstruction& word = image.code[static_cast<std::size_t>(at)];
    const int back = opSJ(word);
    const int distance = target - at - 1;
    if (distance > opBiasSJ || distance < -opBiasSJ) {
      failure = Error::CodeSizeOverflow;
      return;
    }
    word = vmEncodeJump(opMode(word), distance);
    at = back == 0 ? JumpList::none : at - back;
  }
  list.last = JumpList::none;
}

void FunctionBuilder::ShortenJumps() {
  // Jumps may run in circles: an endless loop is one.
  constexpr int most = 8;
  const auto isPlainJump = [&](std::int64_t at) {
    const VmInstruction word = image.code[static_cast<std::size_t>(at)];
    return opCode(word) == OP_JMP && opMode(word) == 0;
  };
  for (std::int64_t at = 0; at < Pc(); ++at) {
    VmInstruction& word = image.code[static_cast<std::size_t>(at)];
    if (opCode(word) != OP_JMP) continue;
    std::int64_t target = at + 1 + opSJ(word);
    for (int hops = 0; hops < most && isPlainJump(target); ++hops) {
      target += 1 + opSJ(image.code[static_cast<std::size_t>(target)]);
    }
    const std::int64_t distance = target - at - 1;
    if (distance < -opBiasSJ || distance > opBiasSJ) continue;
    word = vmEncodeJump(opMode(word), static_cast<int>(distance));
  }
}

void FunctionBuilder::PatchLoopJump(int at, int target) {
  const int distance = target - at - 1;
  if (distance > opBiasSBx || distance < -opBiasSBx) {
    failure = Error::ControlStructureTooLong;
    return;
  }
  VmInstruction& word = image.code[static_cast<std::size_t>(at)];
  word = vmEncodeAsBx(static_cast<VmOp>(opCode(word)), opA(word), distance);
}

int FunctionBuilder::AddConstant(ImageConstant constant) {
  const std::size_t index = image.constants.size();
  if (index > opMaxBx) {
    failure = Error::ConstantTableOverflow;
    return 0;
  }
  image.constants.push_back(std::move(constant));
  return static_cast<int>(index);
}

int FunctionBuilder::NumberConstant(double value) {
  const auto [entry, isNew] = numbers_.try_emplace(std::bit_cast<std::uint64_t>(value), 0);
  if (isNew) entry->second = AddConstant(value);
  return entry->second;
}

int FunctionBuilder::StringConstant(Name name, const std::string& text) {
  const auto [entry, isNew] = strings_.try_emplace(name, 0);
  if (isNew) entry->second = AddConstant(text);
  return entry->second;
}

int FunctionBuilder::NilConstant() {
  if (nil_ < 0) nil_ = AddConstant(std::monostate());
  return nil_;
}

int FunctionBuilder::Take(int count) {
  const int first = freeRegister_;
  freeRegister_ += count;
  Reserve(freeRegister_);
  return first;
}

void FunctionBuilder::Reserve(int end) {
  if (end > vmMaxRegisters) {
    failure = Error::ExpressionOrFunctionTooComplex;
    end = vmMaxRegisters;
  }
  image.maxStack = std::max(image.maxStack, static_cast<std::uint8_t>(end));
}

}  // namespace quillmere::qmc
