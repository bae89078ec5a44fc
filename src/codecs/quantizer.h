// The colour quantiser: a picture of any number of colours as indexes into a palette of few. It is
// the two-pass median cut of libjpeg, on a histogram of 5, 6 and 5 bits.
#pragma once

#include <cstdint>
#include <vector>

#include "base/error.h"
#include "codecs/picture_reader.h"
#include "platform/platform.h"

namespace quillmere {

struct QuantizeOptions {
  /// The most colours to use; cut to 256, or 255 with a key or a reserved slot.
  int colors = 256;
  /// Pixels of this colour take no part and get an entry of their own behind the others; -1 for
  /// none.
  std::int32_t keyColor = -1;
  /// Leaves one entry behind the colours free.
  bool reserveSlot = false;
  /// Floyd-Steinberg in alternating directions.
  bool dither = false;
};

struct IndexedImage {
  /// width * height bytes.
  std::vector<std::uint8_t> indexes;
  Palette palette{};
  /// The entries in use, the key's or the reserved one included.
  int colors = 0;
};

/// Finds the colours of a picture; the top byte of its words has no meaning. The only error is
/// `OutOfMemory`.
[[nodiscard]] Result<IndexedImage> QuantizeImage(const PixelView& image,
                                                 const QuantizeOptions& options);

}  // namespace quillmere
