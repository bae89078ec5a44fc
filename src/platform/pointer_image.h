// Pictures of pointers.
#pragma once

#include <memory>

#include "base/error.h"
#include "platform/memory_screen.h"

namespace quillmere {

inline constexpr int largestPointerSide = 64;

/// A pointer of a picture that keeps its proportions and is at most 64 by 64 pixels; the hot spot
/// is scaled with it. An empty picture is `Error::CannotCreatePointer`.
[[nodiscard]] Result<std::unique_ptr<MemoryPointer>> MakePointerImage(const PixelView& image,
                                                                      int hotX, int hotY);

}  // namespace quillmere
