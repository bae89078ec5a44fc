// The pictures of tests/data/pictures: what they show is computed, as the script that makes them
// computes it.
#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "codecs/picture_object.h"
#include "codecs/storage.h"

namespace quillmere::samples {

inline constexpr int width = 37;
inline constexpr int height = 23;

using PixelFunction = std::function<std::uint32_t(int, int)>;

inline std::uint32_t Rgb(int red, int green, int blue) {
  return static_cast<std::uint32_t>(red & 255) << 16 |
         static_cast<std::uint32_t>(green & 255) << 8 | static_cast<std::uint32_t>(blue & 255);
}
inline std::uint32_t Color(int x, int y) {
  return Rgb(x * 7, y * 11, (x ^ y) * 5);
}
inline std::uint32_t ColorWithAlpha(int x, int y) {
  return static_cast<std::uint32_t>((x * 6 + y * 3) & 255) << 24 | Color(x, y);
}
inline std::uint32_t Gray(int x, int y) {
  return ((x * 5 + y * 4) & 255) * 0x010101u;
}
inline std::uint32_t GrayWithAlpha(int x, int y) {
  return static_cast<std::uint32_t>((x * 6 + y * 3) & 255) << 24 | Gray(x, y);
}
inline int Pen(int x, int y) {
  return (x / 3 + y / 2) % 13;
}
inline std::uint32_t PenColor(int x, int y) {
  const int pen = Pen(x, y);
  return Rgb(pen * 19, 255 - pen * 17, pen * 7 + 40);
}
/// Set bits are black.
inline std::uint32_t Bit(int x, int y) {
  return x * y / 3 % 2 != 0 ? 0 : 0xFFFFFF;
}

inline std::string PathOf(const std::string& name) {
  return "tests/data/pictures/" + name;
}

inline std::vector<std::uint8_t> BytesOfFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
inline std::vector<std::uint8_t> BytesOf(const std::string& name) {
  return BytesOfFile(PathOf(name));
}

inline std::vector<std::uint32_t> WordsOf(const BitmapPtr& pixels) {
  return PackWords(*pixels).value();
}

/// The pixels of an object, whatever its depth.
inline std::vector<std::uint32_t> PixelsOf(const PictureObject& object) {
  if (object.depth > 8) return WordsOf(object.pixels);
  const BitmapPtr pixels = AllocBitmap(object.width, object.height).value();
  PlanarToPixels(object.pens, object.palette, object.hamBits, *pixels);
  return WordsOf(pixels);
}

/// The words 0x00RRGGBB of a binary PPM with 255 levels.
inline std::vector<std::uint32_t> PixelsOfPpm(const std::vector<std::uint8_t>& ppm) {
  std::size_t at = 0;
  for (int breaks = 0; breaks < 3 && at < ppm.size(); ++at) breaks += ppm[at] == '\n';
  std::vector<std::uint32_t> pixels;
  for (; at + 3 <= ppm.size(); at += 3) pixels.push_back(Rgb(ppm[at], ppm[at + 1], ppm[at + 2]));
  return pixels;
}

inline std::vector<std::uint32_t> Compute(const PixelFunction& function) {
  std::vector<std::uint32_t> pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) pixels.push_back(function(x, y));
  }
  return pixels;
}

}  // namespace quillmere::samples
