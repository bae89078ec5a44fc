// Size arguments that may be percentages or keep the proportions.
#pragma once

#include <cstdint>

#include "base/error.h"
#include "vm/vm.h"

namespace quillmere {

struct PictureSizeArguments {
  std::int32_t width = 0;
  std::int32_t height = 0;
};

/// Reads the width at `index` and the height behind it for a picture of the given size. A side may
/// be a percentage of the old one, and one of them `KEEPASPRAT`. Errors: `WrongUsage` when both
/// keep the proportions, `SizeNotPositive`.
[[nodiscard]] Result<PictureSizeArguments> ReadSizeArguments(VmState& state, int index,
                                                             std::int32_t oldWidth,
                                                             std::int32_t oldHeight);

}  // namespace quillmere
