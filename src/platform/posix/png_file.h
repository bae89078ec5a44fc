// Pictures of the screen, written to files.
#pragma once

#include <string>

#include "platform/picture.h"

namespace quillmere {

/// Writes a PNG file of 8-bit RGB; false when the file cannot be written.
[[nodiscard]] bool WritePng(const std::string& path, const PixelView& picture);

}  // namespace quillmere
