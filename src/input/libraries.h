// The script library of this room. `InputState` must have been entered in the host.
#pragma once

#include "base/error.h"
#include "vm/vm.h"

namespace quillmere {

/// Events, mouse and keyboard, joysticks, intervals and timeouts.
[[nodiscard]] Status OpenEventLibrary(VmState& state);

/// Frees what the script holds in handlers and timers; before the machine closes.
void CloseEventLibrary(VmState& state);

}  // namespace quillmere
