// The script's commands on colours and blit parameters. They register in the libraries of others:
// the colour commands in "graphics", the parameters in "brush".
#pragma once

#include <span>

#include "vm/vm.h"

namespace quillmere {

/// `RGB`(r, g, b): joins channels, as a signed number.
CommandResult RGBCommand(VmState& state);
/// `ARGB`(a, rgb): joins, as an unsigned number.
CommandResult ARGBCommand(VmState& state);
CommandResult Red(VmState& state);
CommandResult Green(VmState& state);
CommandResult Blue(VmState& state);
/// `GetRealColor`(rgb): the colour as the screen can show it.
CommandResult GetRealColor(VmState& state);
/// `GetPen`(index): a colour of the output picture's palette, `NOTRANSPARENCY` without one.
CommandResult GetPen(VmState& state);
/// `MixRGB`(c1, c2, ratio): ratio 0 to 255 or a percentage.
CommandResult MixRGB(VmState& state);
CommandResult GetRandomColor(VmState& state);

/// The rows of the commands above, for the graphics library.
[[nodiscard]] std::span<const VmCommandEntry> ColorCommands();

/// `SetMaskMode`(mode).
CommandResult SetMaskMode(VmState& state);
/// `SetAlphaIntensity`(value): 0 to 255, a percentage, or `VANILLACOPY`.
CommandResult SetAlphaIntensity(VmState& state);

/// Mask modes, `VANILLACOPY`, `NOTRANSPARENCY`.
[[nodiscard]] std::span<const VmConstantEntry> BlitConstants();

}  // namespace quillmere
