// The table that a script handler receives, and the call of the handler with it.
#pragma once

#include "base/error.h"
#include "input/dispatcher.h"
#include "input/input_state.h"
#include "vm/vm.h"

namespace quillmere {

/// What a handler is told. The fields that its kind of message has are set by `FillMessage`.
struct EventMessage {
  const char* action = "";
  EventHandler handler;
  /// Writes the fields beside `action` and `userdata` into the table on top of the stack.
  std::function<void(VmState& state)> fill;
};

/// Calls a handler with its message table. The table stays on the stack, below the results.
Result<Dispatched> CallHandler(VmState& state, const EventMessage& message);

/// The text of a key in messages: its name, a line feed for Return and Enter, blanks for Space and
/// Tab, else the character itself.
[[nodiscard]] std::string KeyText(std::int32_t code);

/// The name of a key, or the character of one that prints.
[[nodiscard]] std::string KeyNameText(std::int32_t code);

}  // namespace quillmere
