// Reading and writing numbers of a fixed byte order in foreign bytes.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quillmere {

/// Reads an unsigned number of the given byte order; `bytes` must hold `sizeof(T)` bytes.
template <std::unsigned_integral T>
[[nodiscard]] constexpr T LoadBig(const std::uint8_t* bytes) {
  T value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i)
    value = static_cast<T>(static_cast<std::uint64_t>(value) << 8 | bytes[i]);
  return value;
}

template <std::unsigned_integral T>
[[nodiscard]] constexpr T LoadLittle(const std::uint8_t* bytes) {
  T value = 0;
  for (std::size_t i = sizeof(T); i-- > 0;)
    value = static_cast<T>(static_cast<std::uint64_t>(value) << 8 | bytes[i]);
  return value;
}

/// Writes an unsigned number in the given byte order; `bytes` must have room for `sizeof(T)` bytes.
template <std::unsigned_integral T>
constexpr void StoreBig(std::uint8_t* bytes, T value) {
  for (std::size_t i = sizeof(T); i-- > 0;
       value = static_cast<T>(static_cast<std::uint64_t>(value) >> 8)) {
    bytes[i] = static_cast<std::uint8_t>(value);
  }
}

template <std::unsigned_integral T>
constexpr void StoreLittle(std::uint8_t* bytes, T value) {
  for (std::size_t i = 0; i < sizeof(T);
       ++i, value = static_cast<T>(static_cast<std::uint64_t>(value) >> 8)) {
    bytes[i] = static_cast<std::uint8_t>(value);
  }
}

}  // namespace quillmere
