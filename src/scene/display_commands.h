// Commands of displays that stand in more than one library's table or file.
#pragma once

#include "vm/vm.h"

namespace quillmere {

CommandResult BeginDoubleBuffer(VmState& state);
CommandResult Flip(VmState& state);
CommandResult EndDoubleBuffer(VmState& state);
CommandResult EndSelect(VmState& state);

}  // namespace quillmere
