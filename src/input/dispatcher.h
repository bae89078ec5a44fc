// The dispatcher: a resumable walk over everything that may have a script handler. One call runs
// exactly one handler, remembers where it stands and returns, so that the next call goes on behind
// it. A sweep visits timers, sounds, mouse movement and the raw queue, in this order.
#pragma once

#include "base/error.h"
#include "input/input_state.h"
#include "vm/vm.h"

namespace quillmere {

/// What a call of the dispatcher has done.
struct Dispatched {
  /// A handler ran: its message table stands at this place of the stack, its results above it.
  bool ranHandler = false;
  int tableIndex = 0;
  /// A jump to a label is pending; no handler ran.
  bool jumps = false;
};

enum class DispatchCaller { Events, WhileMouseOn };

/// Finds the next thing that has a handler and runs it. Without one the sweep is over and its stage
/// is back at the start. The error of a handler comes back as it is, `UserAbort` when the program
/// is to quit.
Result<Dispatched> Dispatch(VmState& state, DispatchCaller caller = DispatchCaller::Events);

}  // namespace quillmere
