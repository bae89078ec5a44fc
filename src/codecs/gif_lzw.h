// The compression of GIF pictures, both ways. Codes stand low bit first in blocks of at most 255
// bytes, each with its length before it; a block of length 0 ends the picture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "base/error.h"

namespace quillmere {

/// The most pixels that a byte of GIF data can stand for: a code of 12 bits names at most 4094.
inline constexpr std::size_t gifPixelsPerByte = 2730;

/// Decodes the data of one picture. `blocks` begins with the code size; the bytes that belong to
/// the picture, the last empty block included, are cut from it. All of `indexes` is filled, what
/// comes behind it is passed over. Error: `UnknownImageFormat` for a code that the table does not
/// have yet and for data that end too early.
Status DecodeGifData(std::span<const std::uint8_t>& blocks, std::span<std::uint8_t> indexes);

/// Compresses a picture and appends the code size, the blocks and the empty block to `out`. `bits`
/// is 1 to 8 and no index needs more.
void EncodeGifData(std::span<const std::uint8_t> indexes, int bits, std::vector<std::uint8_t>& out);

}  // namespace quillmere
