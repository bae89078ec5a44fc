// Switches of a build for finding faults. All are off in a normal one.
#pragma once

namespace quillmere {

/// Take each block from the system's allocator, so that sanitizers see every access.
#ifdef QUILLMERE_SANITIZED
inline constexpr bool vmSystemAllocator = true;
#else
inline constexpr bool vmSystemAllocator = false;
#endif

}  // namespace quillmere
