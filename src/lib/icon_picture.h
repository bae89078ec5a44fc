// The picture of an icon file, as windows can show it.
#pragma once

#include <optional>

#include "lib/icon_file.h"
#include "platform/picture.h"

namespace quillmere {

/// The first picture of an icon, its pens taken from the usual colours of the desktop and pen 0
/// transparent. Nothing when the icon has no picture, or one of more than 8 planes.
[[nodiscard]] std::optional<PixelImage> IconPicture(const IconFile& icon);

}  // namespace quillmere
