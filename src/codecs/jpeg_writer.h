// JPEG pictures out, into memory or a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "base/host.h"
#include "platform/platform.h"

namespace quillmere {

/// Where the colours stand in the four bytes of a pixel.
enum class JpegWordOrder {
  /// Words 0xAARRGGBB.
  Argb,
  /// Words 0xBBGGRRAA.
  Bgra
};

/// Compresses pixels into the bytes of a JPEG file. `quality` is 0 to 100. `pixels` is a view with
/// a stride in pixels. Error: `OutOfMemory` for any failure of the compressor.
[[nodiscard]] Result<std::vector<std::uint8_t>> EncodeJpeg(
    const PixelView& pixels, int quality, JpegWordOrder order = JpegWordOrder::Argb);

/// Writes a JPEG file. Errors: `CannotWriteFile` with the name, `OutOfMemory`, `CannotWriteAll`.
Status WriteJpeg(Host& host, std::string_view name, const PixelView& pixels, int quality);

}  // namespace quillmere
