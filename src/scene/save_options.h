// How a picture is saved, as scripts say it.
#pragma once

#include "base/error.h"
#include "codecs/picture_writer.h"
#include "vm/vm.h"

namespace quillmere {

/// Reads the format at `index`, and behind it the quality as a number or a table with `quality`,
/// `colors` and `dither`. Errors: `WrongUsage` for an unknown format or a value out of range.
[[nodiscard]] Result<ImageOptions> ReadImageOptions(VmState& state, int index);

}  // namespace quillmere
