#include "unit/vm/machine.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

std::span<const std::uint8_t> Bytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

ImageFunction MakeFunction(int maxStack, std::vector<ImageConstant> constants,
                           std::vector<VmInstruction> code) {
  ImageFunction function;
  function.source = "@test";
  function.maxStack = static_cast<std::uint8_t>(maxStack);
  function.constants = std::move(constants);
  function.code = std::move(code);
  function.code.push_back(vmEncodeABC(OP_RETURN, 0, 1, 0));
  return function;
}

Machine::Machine() : state_(vmOpen(host)) {
  EXPECT_NE(state_, nullptr);
  // Nothing may live by chance: whatever a test does is done under constant collection.
  state_->globals->collectAlways = true;
  state_->globals->gcThreshold = 0;
}

Machine::~Machine() {
  vmClose(state_);
}

void Machine::Register(std::span<const VmCommandEntry> commands) {
  vmOpenLibrary(*state_, "test", commands);
}

void Machine::Load(const ImageFunction& function) {
  const Status loaded = vmLoadImage(*state_, Bytes(WriteImage(function)), "@chunk");
  ASSERT_TRUE(loaded.has_value()) << static_cast<int>(loaded.error());
}

std::string Machine::Show(int index) {
  switch (vmType(*state_, index)) {
    case VmType::None:
      return "none";
    case VmType::Nil:
      return "Nil";
    case VmType::Boolean:
      return vmToBoolean(*state_, index) ? "true" : "false";
    case VmType::Number: {
      vmPushValue(*state_, index);
      std::string text(vmToBytes(*state_, -1));
      vmPop(*state_, 1);
      return text;
    }
    case VmType::String:
      return "\"" + std::string(vmToBytes(*state_, index)) + "\"";
    case VmType::Table:
      return "table";
    case VmType::Function:
      return "function";
    case VmType::Light:
      return "light";
    default:
      return "userdata";
  }
}

std::string Machine::Call(int arguments) {
  const int top = vmGetTop(*state_) - arguments - 1;
  host.errors.argument.clear();
  const int code = vmPCall(*state_, arguments, vmMultipleResults);
  std::string text;
  if (code != 0) {
    text = "error " + std::to_string(code);
    if (!host.errors.argument.empty()) text += " " + host.errors.argument;
  }
  for (int i = top + 1; i <= vmGetTop(*state_); ++i) {
    if (!text.empty()) text += ' ';
    text += Show(i);
  }
  vmSetTop(*state_, top);
  return text;
}

std::string Machine::Run(const ImageFunction& function) {
  Load(function);
  return Call();
}

}  // namespace quillmere
