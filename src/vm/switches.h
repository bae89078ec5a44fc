// Switches for finding faults. All are off in a normal build.
#pragma once

namespace quillmere {

/// Collect at every point where a collection may happen, so that a value that nothing holds is gone
/// at once. A test can switch it on for one machine (`VmState::collectAlways`).
#ifdef QUILLMERE_COLLECT_ALWAYS
inline constexpr bool vmCollectAlways = true;
#else
inline constexpr bool vmCollectAlways = false;
#endif

/// Take each block from the system's allocator, so that sanitizers see every access.
#ifdef QUILLMERE_SANITIZED
inline constexpr bool vmSystemAllocator = true;
#else
inline constexpr bool vmSystemAllocator = false;
#endif

}  // namespace quillmere
