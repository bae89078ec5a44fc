// Learns a picture's size from its header, reading no more of the file than that needs.
#pragma once

#include <optional>

#include "codecs/picture_reader.h"
#include "files/virtual_file.h"

namespace quillmere {

/// Sniffs a file that stands at its start. Knows ILBM, JPEG, PNG, BMP, TIFF and GIF; nothing for
/// other formats and for headers that do not hold what they must. Alpha is seen in PNG alone.
[[nodiscard]] std::optional<PictureSize> SniffPicture(qmFile& file);

}  // namespace quillmere
