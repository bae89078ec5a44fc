// What a command that makes an object gives back.
#pragma once

#include "vm/vm.h"

namespace quillmere {

/// Pushes the identifier of a new object when the script asked for a handle; an object with a
/// number has no result.
inline CommandResult PushNewId(VmState& state, const ObjectId& asked, const ObjectId& made) {
  if (!asked.AsksForHandle()) return 0;
  vmPushId(state, made);
  return 1;
}

}  // namespace quillmere
