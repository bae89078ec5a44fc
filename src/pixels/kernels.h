// The innermost loops, each over one row of pixels. There are two sets: a plain one that any
// processor runs, and one for processors with AVX2. Both give the same numbers to the bit; the set
// is chosen once, when it is first asked for.
//
// Rows of source and target do not overlap unless it is said. Counts may be 0.
#pragma once

#include <cstdint>

namespace quillmere {

/// A row of bits from an arbitrary bit on; bit 0 is the top bit of the first byte.
struct BitRow {
  const std::uint8_t* bytes;
  int first;
};

/// Up to eight bits of a row from `position` on, at the top of the byte; reads no byte that holds
/// none of the `count` bits.
[[nodiscard]] inline std::uint8_t FetchBits(const BitRow& row, int position, int count) {
  const int at = row.first + position;
  const int shift = at & 7;
  unsigned bits = static_cast<unsigned>(row.bytes[at >> 3]) << shift;
  if (shift + count > 8) bits |= row.bytes[(at >> 3) + 1] >> (8 - shift);
  return static_cast<std::uint8_t>(bits);
}

/// The sampling of one row of a transform: source positions of the pixel in column X are
/// stepX * X + baseX and stepY * X + baseY, each with the two added constants in this order.
struct TransformRow {
  double stepX;
  double stepY;
  /// The row's share, and the offset that is added to it last.
  double rowX;
  double rowY;
  double offsetX;
  double offsetY;
  /// The source rectangle.
  const std::uint32_t* pixels;
  int pixelsPerRow;
  int width;
  int height;
};

/// How many words past the last colour the gradient kernel may read.
inline constexpr int gradientPadding = 7;

struct RowKernels {
  /// Writes one word to all pixels.
  void (*fill)(std::uint32_t* target, std::uint32_t color, int count);
  /// Copies the pixels whose bit is set.
  void (*copyMasked)(std::uint32_t* target, const std::uint32_t* source, BitRow mask, int count);
  /// Writes one word where the bit is set.
  void (*fillMasked)(std::uint32_t* target, std::uint32_t color, BitRow mask, int count);
  /// Blends by one alpha byte a pixel, with exact ends.
  void (*blend)(std::uint32_t* target, const std::uint32_t* source, const std::uint8_t* alpha,
                int count);
  /// The same for one source colour.
  void (*blendColor)(std::uint32_t* target, std::uint32_t color, const std::uint8_t* alpha,
                     int count);
  /// Blends by alpha * level / 255, level 0 to 255, with exact ends.
  void (*blendScaled)(std::uint32_t* target, const std::uint32_t* source, const std::uint8_t* alpha,
                      int level, int count);
  /// target = from + ((to - from) * weight >> 8) in each byte; `target` may be one of the others.
  /// Weights are 0 to 256.
  void (*mix)(std::uint32_t* target, const std::uint32_t* from, const std::uint32_t* to, int weight,
              int count);
  /// The same with one colour to mix towards.
  void (*mixColor)(std::uint32_t* target, const std::uint32_t* from, std::uint32_t to, int weight,
                   int count);
  /// Each target pixel is the source pixel of its column.
  void (*pickColumns)(std::uint32_t* target, const std::uint32_t* source,
                      const std::int32_t* columns, int count);
  /// Each target pixel lies between the source pixels of its column and of the next one, at the
  /// fraction in 1/65536: c0 + ((c1 - c0) * fraction >> 16) in each byte.
  void (*lerpColumns)(std::uint32_t* target, const std::uint32_t* source,
                      const std::int32_t* columns, const std::int32_t* fractions, int count);
  /// The same for an alpha map. Four bytes may be read from each column on.
  void (*lerpAlphaColumns)(std::uint8_t* target, const std::uint8_t* source,
                           const std::int32_t* columns, const std::int32_t* fractions, int count);
  /// The same between two rows, byte by byte; `count` is in bytes.
  void (*lerpRows)(std::uint8_t* target, const std::uint8_t* top, const std::uint8_t* bottom,
                   int fraction, int count);
  /// Brings each pixel to its brightness, in place.
  void (*gray)(std::uint32_t* pixels, int count);
  /// Complements all bits, in place.
  void (*invert)(std::uint32_t* pixels, int count);
  /// Mirrors a row in place.
  void (*reverse)(std::uint32_t* pixels, int count);
  /// Swaps two rows.
  void (*swapRows)(std::uint32_t* a, std::uint32_t* b, int count);
  /// Samples `count` pixels from column `first` on, taking the source pixel under each.
  void (*transformPlain)(std::uint32_t* target, const TransformRow& row, int first, int count);
  /// The same, mixing four source pixels each.
  void (*transformSmooth)(std::uint32_t* target, const TransformRow& row, int first, int count);
  /// The same for pixels that carry in their top byte whether they are present, as 255 or 0: absent
  /// ones are taken for the first of the four that is present. The result is as present as the
  /// pixel that the column falls on.
  void (*transformPresent)(std::uint32_t* target, const TransformRow& row, int first, int count);
  /// colors[quotient] for a quotient that grows by `quotientStep` and a remainder that grows by
  /// `remainderStep` from pixel to pixel, wrapping at `divisor`. Remainders are below the divisor,
  /// which is below 2^30. `quotient` is counted from the start of `colors`, of which seven
  /// words past the highest quotient may be read.
  void (*gradient)(std::uint32_t* target, const std::uint32_t* colors, std::int32_t quotient,
                   std::int32_t remainder, std::int32_t quotientStep, std::int32_t remainderStep,
                   std::int32_t divisor, int count);
};

/// The set for any processor.
[[nodiscard]] const RowKernels& PlainKernels();
/// The set for processors with AVX2, or null when this one has none.
[[nodiscard]] const RowKernels* Avx2Kernels();
/// The best set for this processor.
[[nodiscard]] const RowKernels& Kernels();

}  // namespace quillmere
