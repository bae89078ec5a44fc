// Storage whose size comes from foreign bytes: running out of memory is a failure like another.
#pragma once

#include <cstddef>
#include <new>
#include <stdexcept>
#include <vector>

#include "base/checked.h"
#include "base/error.h"

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

}  // namespace quillmere
