#include "unit/lib/machine.h"

#include <gtest/gtest.h>

#include "base/fold.h"
#include "lib/libraries.h"

namespace quillmere {
namespace {

std::string Show(VmState& state, int index) {
  switch (vmType(state, index)) {
    case VmType::Nil:
      return "Nil";
    case VmType::Number:
      return std::string(vmToBytes(state, index));
    case VmType::String:
      return '"' + std::string(vmToBytes(state, index)) + '"';
    case VmType::Table:
      return "table";
    default:
      return "other";
  }
}

}  // namespace

void Value::Push(VmState& state) const {
  if (const double* number = std::get_if<double>(&value_)) {
    vmPushNumber(state, *number);
  } else if (const std::string_view* text = std::get_if<std::string_view>(&value_)) {
    vmPushBytes(state, *text);
  } else {
    vmPushNil(state);
  }
}

Machine::Machine() : state_(vmOpen(host)) {
  static_cast<void>(OpenStringLibrary(*state_));
  static_cast<void>(OpenMathLibrary(*state_));
}

Machine::~Machine() {
  vmClose(state_);
}

std::string Machine::Call(std::string_view name, std::initializer_list<Value> arguments) {
  vmSetTop(*state_, 0);
  vmPushBytes(*state_, FoldLower(name));
  vmRawGet(*state_, vmGlobalsIndex);
  for (const Value& value : arguments) value.Push(*state_);
  const int code = vmPCall(*state_, static_cast<int>(arguments.size()), vmMultipleResults);
  if (code != 0) return "error " + std::to_string(code);
  std::string results;
  for (int i = 1; i <= vmGetTop(*state_); ++i) {
    if (i > 1) results += ' ';
    results += Show(*state_, i);
  }
  return results;
}

void CheckCommands(std::initializer_list<CommandCase> cases) {
  Machine machine;
  for (const CommandCase& item : cases) {
    EXPECT_EQ(machine.Call(item.command, item.arguments), item.result)
        << item.command << ", case " << &item - cases.begin();
  }
}

}  // namespace quillmere
