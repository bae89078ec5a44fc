// Whether a file can hold the picture that its header promises. It is asked before memory is taken
// for the picture, so that a few foreign bytes cannot make the program ask for gigabytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quillmere {

/// Pictures up to this size are taken however short their file is: many formats store an empty area
/// in next to nothing.
inline constexpr std::uint64_t modestPixels = std::uint64_t{4096} * 4096;

[[nodiscard]] constexpr bool IsPictureSize(std::uint64_t width, std::uint64_t height) {
  return width != 0 && height != 0 && width <= INT32_MAX && height <= INT32_MAX;
}

/// Whether a compressed picture of that size is believable when a byte stands for at most
/// `pixelsPerByte`.
[[nodiscard]] constexpr bool IsBelievable(std::uint64_t width, std::uint64_t height,
                                          std::uint64_t pixelsPerByte, std::size_t fileSize) {
  if (!IsPictureSize(width, height)) return false;
  const std::uint64_t pixels = width * height;
  return pixels <= modestPixels || pixels / pixelsPerByte <= fileSize;
}

/// Whether a file holds rows of that many bits a pixel as they are.
[[nodiscard]] constexpr bool HoldsRaw(std::uint64_t width, std::uint64_t height,
                                      std::uint64_t bitsPerPixel, std::size_t fileSize) {
  if (!IsPictureSize(width, height)) return false;
  return height <= fileSize && (width * bitsPerPixel + 7) / 8 <= fileSize / height;
}

}  // namespace quillmere
