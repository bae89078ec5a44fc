// Calling a script command from the program itself, with every failure coming back as a code.
#pragma once

#include <string_view>

#include "base/error.h"
#include "vm/vm.h"

namespace quillmere {

/// Calls a command by its name in the shown spelling. `pushArguments(state)` pushes the arguments
/// and returns their count. While the command runs, and after its failure, its name and `line`
/// stand in the error position. `Error::FunctionNotFound` with the name when there is no such
/// command.
template <class PushArguments>
[[nodiscard]] Status CallCommandAt(VmState& state, const char* name, int line,
                                   PushArguments&& pushArguments);

/// Notes the command and pushes it; the first half of `CallCommandAt`.
[[nodiscard]] Status BeginCommand(VmState& state, const char* name, int line);
/// Calls what was pushed; the second half of `CallCommandAt`.
[[nodiscard]] Status FinishCommand(VmState& state, int argumentCount);

template <class PushArguments>
Status CallCommandAt(VmState& state, const char* name, int line, PushArguments&& pushArguments) {
  TRY(BeginCommand(state, name, line));
  return FinishCommand(state, pushArguments(state));
}

}  // namespace quillmere
