// Commands that lean on other commands find them where a script may have put its own.
#pragma once

#include <string_view>

#include "vm/vm.h"

namespace quillmere {

/// Pushes the global of a name, which is in lower case.
inline void PushGlobal(VmState& state, std::string_view name) {
  vmPushStringFast(state, name);
  vmRawGet(state, vmGlobalsIndex);
}

}  // namespace quillmere
