// How commands of this room wait: the main task goes on gathering events meanwhile.
#pragma once

#include <chrono>

#include "platform/platform.h"
#include "vm/vm.h"

namespace quillmere {

/// Waits for that time and gathers events. Ends early when the user wants to leave the program; the
/// quit flag tells.
void WaitPumping(VmState& state, std::chrono::microseconds time);

/// Shows a request to the user and gathers events until it is answered.
[[nodiscard]] RequesterAnswer AskUser(VmState& state, RequesterCall call);

}  // namespace quillmere
