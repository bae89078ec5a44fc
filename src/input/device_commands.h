// The commands that ask for mouse, keyboard and joysticks, or wait for them.
#pragma once

#include "vm/vm.h"

namespace quillmere {

CommandResult IsLeftMouseCommand(VmState& state);
CommandResult IsRightMouseCommand(VmState& state);
CommandResult IsMidMouseCommand(VmState& state);
CommandResult WaitLeftMouseCommand(VmState& state);
CommandResult WaitRightMouseCommand(VmState& state);
CommandResult WaitMidMouseCommand(VmState& state);
CommandResult WhileMouseDownCommand(VmState& state);
CommandResult WhileRightMouseDownCommand(VmState& state);
CommandResult WaitKeyDownCommand(VmState& state);
CommandResult IsKeyDownCommand(VmState& state);
CommandResult ResetKeyStatesCommand(VmState& state);
CommandResult MouseXCommand(VmState& state);
CommandResult MouseYCommand(VmState& state);
CommandResult CountJoysticksCommand(VmState& state);
CommandResult JoyDirCommand(VmState& state);
CommandResult JoyFireCommand(VmState& state);

}  // namespace quillmere
