// ByteRun1, the run-length packing of IFF pictures. A count byte n from 0 to 127 is followed by
// n + 1 bytes as they are, a negative n by one byte that stands 1 - n times.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace quillmere {

/// Packs one row of a plane and appends it to `out`. Runs begin at 3 equal bytes (2 where no
/// literal would be broken) and neither kind is longer than 128 bytes.
void PackByteRun1(std::span<const std::uint8_t> row, std::vector<std::uint8_t>& out);

}  // namespace quillmere
