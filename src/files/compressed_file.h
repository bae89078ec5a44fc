// Compressed files: a magic word, a zero word, and a zlib stream of the whole source file.
#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "base/host.h"

namespace quillmere {

/// The size of the two words before the stream.
inline constexpr std::int64_t compressedHeaderSize = 8;

/// Compresses a file and returns the size of the compressed one. On a failure the destination stays
/// as far as it was written. A destination that is the source itself is `Error::CannotWriteFile`.
[[nodiscard]] Result<std::int64_t> Compress(Host& host, std::uint32_t magic,
                                            std::string_view source, std::string_view destination);

/// Unpacks the compressed file that begins at `offset` of the source and returns the size of what
/// was written. Another magic is `Error::UnknownCompression`; a stream that is damaged or ends
/// early `Error::ZlibData`; more than `limit` bytes are `Error::CannotWriteAll`. On a failure the
/// destination stays as far as it was written.
[[nodiscard]] Result<std::int64_t> Decompress(
    Host& host, std::uint32_t magic, std::string_view source, std::string_view destination,
    std::int64_t offset, std::int64_t limit = std::numeric_limits<std::int64_t>::max());

/// Unpacks a gzip block (RFC 1952) in memory, whose last four bytes tell the size of the result.
[[nodiscard]] Result<std::vector<std::uint8_t>> UnpackGzip(std::span<const std::uint8_t> block);

/// Whether a block begins as a gzip block with deflated content does.
[[nodiscard]] bool IsGzip(std::span<const std::uint8_t> block);

}  // namespace quillmere
