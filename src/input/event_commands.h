// The commands that run and install event handlers, and the switches of quitting.
#pragma once

#include "vm/vm.h"

namespace quillmere {

CommandResult WaitEventCommand(VmState& state);
CommandResult CheckEventCommand(VmState& state);
CommandResult InstallEventHandlerCommand(VmState& state);
CommandResult SetEventTimeoutCommand(VmState& state);
CommandResult FreeEventCacheCommand(VmState& state);
CommandResult CtrlCQuitCommand(VmState& state);
CommandResult EscapeQuitCommand(VmState& state);
CommandResult LeftMouseQuitCommand(VmState& state);

}  // namespace quillmere
