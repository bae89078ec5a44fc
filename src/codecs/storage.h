// Storage whose size comes from foreign bytes: running out of memory is a failure like another.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <stdexcept>
#include <vector>

#include "base/checked.h"
#include "base/error.h"
#include "pixels/planes.h"

namespace quillmere {

/// An array of `count` elements, all zero. Error: `OutOfMemory`.
template <class T>
[[nodiscard]] Result<std::vector<T>> MakeArray(std::size_t count) try {
  return std::vector<T>(count);
} catch (const std::bad_alloc&) {
  return Fail(Error::OutOfMemory);
} catch (const std::length_error&) {
  return Fail(Error::OutOfMemory);
}

/// The same for a rectangle of elements. Sizes below zero count as too large.
template <class T>
[[nodiscard]] Result<std::vector<T>> MakeArray(int width, int height) {
  if (width < 0 || height < 0) return Fail(Error::OutOfMemory);
  const auto count = CheckedMul<std::size_t>(static_cast<std::size_t>(width), height);
  if (!count) return Fail(Error::OutOfMemory);
  return MakeArray<T>(*count);
}

/// The pixels of a row.
[[nodiscard]] inline std::span<std::uint32_t> RowOf(qmBitmap& bitmap, int y) {
  return {bitmap.Row(y), static_cast<std::size_t>(bitmap.width)};
}
[[nodiscard]] inline std::span<const std::uint32_t> RowOf(const qmBitmap& bitmap, int y) {
  return {bitmap.Row(y), static_cast<std::size_t>(bitmap.width)};
}

/// The words of a plane as an array without padding. Error: `OutOfMemory`.
[[nodiscard]] inline Result<std::vector<std::uint32_t>> PackWords(const qmBitmap& bitmap) {
  auto words = TRY(MakeArray<std::uint32_t>(bitmap.width, bitmap.height));
  auto out = words.begin();
  for (int y = 0; y < bitmap.height; ++y) out = std::ranges::copy(RowOf(bitmap, y), out).out;
  return words;
}

}  // namespace quillmere
