// The script libraries of this room: commands that touch neither picture nor sound. Each opening
// operation registers a library's commands and constants with the machine.
#pragma once

#include "base/error.h"
#include "vm/vm.h"

namespace quillmere {

/// Cutting, searching, folding and formatting of strings.
[[nodiscard]] Status OpenStringLibrary(VmState& state);

/// Arithmetic, bits and random numbers. Seeds the generator with the time in seconds.
[[nodiscard]] Status OpenMathLibrary(VmState& state);

/// Tables, timers, dates, requesters, clipboard, icons, errors and the program itself. `LibState`
/// and the platform must have been entered in the host.
[[nodiscard]] Status OpenSystemLibrary(VmState& state);

}  // namespace quillmere
