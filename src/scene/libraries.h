// The script libraries of this room. Each opening operation registers a library's commands and
// constants with the machine; `SceneState` must have been entered in the host.
#pragma once

#include "base/error.h"
#include "vm/vm.h"

namespace quillmere {

/// Displays: windows, their attributes, several of them, the mode switch.
[[nodiscard]] Status OpenDisplayLibrary(VmState& state);

/// Background pictures and the selection of outputs.
[[nodiscard]] Status OpenBGPicLibrary(VmState& state);

/// Brushes and double buffering.
[[nodiscard]] Status OpenBrushLibrary(VmState& state);

/// Colours, frame pacing, attributes, pointers and clip regions.
[[nodiscard]] Status OpenGraphicsLibrary(VmState& state);

}  // namespace quillmere
