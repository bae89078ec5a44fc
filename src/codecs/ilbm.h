// ILBM, the interleaved bitmap of IFF files: a reader for every depth, half-brite and
// hold-and-modify pictures, and a writer of 24 planes.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "base/host.h"
#include "codecs/picture_reader.h"
#include "platform/platform.h"

namespace quillmere {

/// Reads an ILBM file into words 0x00RRGGBB. Depths above 8 other than 24 give black pixels.
/// Errors: `CannotReadFile`, `UnknownImageFormat` with the name, `OutOfMemory`.
[[nodiscard]] Result<PixelImage> ReadIlbm(Host& host, std::string_view name);

/// Learns the size alone.
[[nodiscard]] Result<PictureSize> QueryIlbm(Host& host, std::string_view name);

/// The bytes of an ILBM file of 24 planes with these pixels (1 to 65535 in each direction).
[[nodiscard]] Result<std::vector<std::uint8_t>> EncodeIlbm(const PixelView& pixels);

/// Writes an ILBM file. Errors: `CannotWriteFile` with the name, `OutOfMemory`, `CannotWriteAll`.
Status WriteIlbm(Host& host, std::string_view name, const PixelView& pixels);

}  // namespace quillmere
