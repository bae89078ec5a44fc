// What a reader of pictures may do with foreign bytes: fail with one of two errors, and take memory
// for what the bytes can hold.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "base/error.h"

/// Of the sanitizer's run-time library, whose header GCC does not bring.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onAllocate)(const volatile void*,
                                                                            std::size_t),
                                                         void (*onFree)(const volatile void*));

namespace quillmere {

/// Notes the largest piece of memory that is asked for.
class LargestAllocation {
 public:
  /// Forgets what was asked for so far.
  static void Begin() {
    [[maybe_unused]] static const int installed =
        __sanitizer_install_malloc_and_free_hooks(Note, Ignore);
    largest = 0;
  }

  /// Stops the program when more was asked for than a picture of so many bytes can need: 64 MB for
  /// a modest one with something to spare, and for others four bytes for each of 65536 pixels a
  /// byte.
  static void Check(std::size_t inputSize) {
    constexpr std::size_t modest = std::size_t{80} << 20;
    if (largest > modest + inputSize * 4 * 65536) std::abort();
  }

 private:
  static void Note(const volatile void*, std::size_t size) { largest = std::max(largest, size); }
  static void Ignore(const volatile void*) {}

  static inline std::size_t largest = 0;
};

/// Stops the program at an error that readers of pictures do not give.
inline void ExpectReaderError(Error error) {
  if (error != Error::UnknownImageFormat && error != Error::OutOfMemory) std::abort();
}

}  // namespace quillmere
