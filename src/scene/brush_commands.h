// The commands of brushes, file by file; `brush_library.cpp` lists them in one table.
#pragma once

#include "vm/vm.h"

namespace quillmere {

// brush_making.cpp: making, loading, freeing, saving
CommandResult CreateBrush(VmState& state);
CommandResult LoadBrush(VmState& state);
CommandResult CopyBrush(VmState& state);
CommandResult FreeBrush(VmState& state);
CommandResult SaveBrush(VmState& state);

// brush_display.cpp: drawing, and drawing into them
CommandResult DisplayBrush(VmState& state);
CommandResult DisplayBrushPart(VmState& state);
CommandResult SelectBrush(VmState& state);
CommandResult SelectMask(VmState& state);
CommandResult SelectAlphaChannel(VmState& state);

}  // namespace quillmere
