// Arithmetic on sizes that come from files or scripts: an overflow is seen, not suffered.
#pragma once

#include <concepts>
#include <optional>

namespace quillmere {

/// The sum, or nothing when it does not fit the type.
template <std::integral T>
[[nodiscard]] constexpr std::optional<T> CheckedAdd(T a, T b) {
  T out;
  if (__builtin_add_overflow(a, b, &out)) return std::nullopt;
  return out;
}

/// The product, or nothing when it does not fit the type.
template <std::integral T>
[[nodiscard]] constexpr std::optional<T> CheckedMul(T a, T b) {
  T out;
  if (__builtin_mul_overflow(a, b, &out)) return std::nullopt;
  return out;
}

}  // namespace quillmere
