// A hint about memory that the system may take.
#pragma once

#include <cstddef>

namespace quillmere {

/// Blocks of at least this many bytes, which must begin at a multiple of `largePageSize`, gain from
/// `PreferLargePages`.
inline constexpr std::size_t largeBlockSize = std::size_t{4} << 20;
inline constexpr std::size_t largePageSize = std::size_t{2} << 20;

/// Asks for large pages behind a block that has not been written to: the first pass over a picture
/// of 48 MB then takes some dozens of page faults instead of thousands.
void PreferLargePages(void* memory, std::size_t size);

}  // namespace quillmere
