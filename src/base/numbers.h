// Numbers of scripts as integers: truncation toward zero, with every value defined.
#pragma once

#include <cstdint>
#include <limits>

namespace quillmere {

/// Truncates toward zero to 32 bits. Values outside the range go to its nearest end, NaN to
/// the smallest value.
[[nodiscard]] inline std::int32_t ToInt32(double value) {
  if (value >= 2147483647.0) return std::numeric_limits<std::int32_t>::max();
  if (value > -2147483649.0) return static_cast<std::int32_t>(value);
  return std::numeric_limits<std::int32_t>::min();
}

/// Truncates to the bits of an unsigned 32-bit number: 0 to 4294967295 as they are, negative values
/// as the bits of the signed number. Values above the range go to its end, NaN to 0x80000000.
[[nodiscard]] inline std::uint32_t ToUInt32(double value) {
  if (value >= 2147483648.0) {
    return value >= 4294967295.0 ? 0xFFFFFFFFu : static_cast<std::uint32_t>(value);
  }
  return static_cast<std::uint32_t>(ToInt32(value));
}

}  // namespace quillmere
