// The program's pseudo-random numbers: one generator serves the script's commands and every effect,
// so that a run with the same seed is the same run.
#pragma once

#include <cstdint>

namespace quillmere {

/// The 48-bit linear congruential generator that is known as `drand48`.
struct qmRandomState {
  /// The 48 bits; a fresh state has the seed 0.
  std::uint64_t x = 0x330E;
};

/// Starts the sequence of a seed.
constexpr void qmRandomSeed(qmRandomState& random, std::uint32_t seed) {
  random.x = static_cast<std::uint64_t>(seed) << 16 | 0x330E;
}

/// Draws a number from 0 up to, but not including, 1.
[[nodiscard]] constexpr double qmRandomDouble(qmRandomState& random) {
  random.x = (0x5DEECE66DULL * random.x + 0xB) & 0xFFFF'FFFF'FFFFULL;
  return static_cast<double>(random.x) / 281474976710656.0;
}

/// Draws a whole number from 0 to `count` - 1; `count` must be above 0.
[[nodiscard]] constexpr std::int32_t qmRandomBelow(qmRandomState& random, std::int32_t count) {
  return static_cast<std::int32_t>(qmRandomDouble(random) * count);
}

}  // namespace quillmere
