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

// brush_editing.cpp: changing their pixels
CommandResult ScaleBrush(VmState& state);
CommandResult RotateBrush(VmState& state);
CommandResult TransformBrush(VmState& state);
CommandResult CropBrush(VmState& state);
CommandResult TrimBrush(VmState& state);
CommandResult DeleteMask(VmState& state);
CommandResult DeleteAlphaChannel(VmState& state);
CommandResult InvertMask(VmState& state);
CommandResult InvertAlphaChannel(VmState& state);
CommandResult InvertBrush(VmState& state);
CommandResult BrushToGray(VmState& state);
CommandResult FlipBrush(VmState& state);
CommandResult TintBrush(VmState& state);
CommandResult MixBrush(VmState& state);
CommandResult ReplaceColors(VmState& state);
CommandResult FloodFill(VmState& state);
CommandResult SetBrushTransparency(VmState& state);

// brush_conversion.cpp: from other pictures
CommandResult GetBrushLink(VmState& state);
CommandResult ConvertToBrush(VmState& state);
CommandResult GrabDesktop(VmState& state);

}  // namespace quillmere
