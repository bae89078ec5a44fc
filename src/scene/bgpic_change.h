// Showing another background picture, alone or as the end of a transition.
#pragma once

#include "base/error.h"
#include "pixels/planes.h"
#include "scene/geometry.h"
#include "vm/object_id.h"
#include "vm/vm.h"

namespace quillmere {

/// What a transition between two background pictures works with: both whole scenes at output size.
struct BGPicTransition {
  BitmapPtr oldPicture;
  BitmapPtr newPicture;
};

/// Shows a background picture on the current display, at a position of the window or where it is
/// (`KEEPPOSITION`). With `transition` the window's picture is left as it is, and both scenes are
/// handed back; without a scale engine the old one is brought to the new one's size. Errors: those
/// of the lookup and of changing the display, `NoTransparentDisplaysWhileRecording`.
Status ShowBGPic(VmState& state, const ObjectId& id, std::int32_t x, std::int32_t y,
                 BGPicTransition* transition);

}  // namespace quillmere
