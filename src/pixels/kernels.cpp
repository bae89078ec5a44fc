#include "pixels/kernels.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "pixels/transform_sample.h"

namespace quillmere {
namespace {

constexpr std::uint32_t evenBytes = 0x00FF00FF;
constexpr std::uint64_t evenWords = 0x0000FFFF0000FFFFull;

/// The four bytes of a pixel in four lanes of 16 bits.
std::uint64_t Spread16(std::uint32_t pixel) {
  return (pixel & evenBytes) | static_cast<std::uint64_t>(pixel >> 8 & evenBytes) << 32;
}

/// The high bytes of four lanes of 16 bits as a pixel.
std::uint32_t GatherHigh16(std::uint64_t lanes) {
  const auto low = static_cast<std::uint32_t>(lanes >> 8) & evenBytes;
  const auto high = static_cast<std::uint32_t>(lanes >> 40) & evenBytes;
  return low | high << 8;
}

/// from + ((to - from) * weight >> 8) for each byte, weight 0 to 256: the same number as
/// (from * (256 - weight) + to * weight) >> 8, whose sums fit their lanes.
std::uint32_t Mix256(std::uint32_t from, std::uint32_t to, unsigned weight) {
  return GatherHigh16(Spread16(from) * (256 - weight) + Spread16(to) * weight);
}

/// The weight of an alpha byte: 255 counts as 256, so that both ends are exact.
unsigned WeightOf(std::uint8_t alpha) {
  return alpha + (alpha == 255 ? 1u : 0u);
}

/// The same mix at a fraction of 16 bits, two bytes in each product.
std::uint32_t Mix65536(std::uint32_t from, std::uint32_t to, unsigned fraction) {
  std::uint32_t mixed = 0;
  for (int shift = 0; shift <= 8; shift += 8) {
    const auto lanes = [shift](std::uint32_t pixel) {
      const std::uint64_t even = pixel >> shift & evenBytes;
      return (even | even << 16) & evenWords;
    };
    const std::uint64_t sum = lanes(from) * (65536 - fraction) + lanes(to) * fraction;
    mixed |= static_cast<std::uint32_t>((sum >> 16 & 0xFF) | (sum >> 32 & 0xFF0000)) << shift;
  }
  return mixed;
}

void Fill(std::uint32_t* target, std::uint32_t color, int count) {
  std::fill_n(target, count, color);
}

/// Calls `change(i)` for the set bits; whole bytes of clear bits cost one test.
template <class Change>
void ForSetBits(const BitRow& mask, int count, Change change) {
  for (int i = 0; i < count; i += 8) {
    const int n = std::min(8, count - i);
    unsigned bits = FetchBits(mask, i, n) & (0xFF00u >> n);
    for (int bit = 0; bits != 0; ++bit, bits = bits << 1 & 0xFF) {
      if (bits & 128) change(i + bit);
    }
  }
}

void CopyMasked(std::uint32_t* target, const std::uint32_t* source, BitRow mask, int count) {
  ForSetBits(mask, count, [&](int i) { target[i] = source[i]; });
}

void FillMasked(std::uint32_t* target, std::uint32_t color, BitRow mask, int count) {
  ForSetBits(mask, count, [&](int i) { target[i] = color; });
}

void Blend(std::uint32_t* target, const std::uint32_t* source, const std::uint8_t* alpha,
           int count) {
  for (int i = 0; i < count; ++i) {
    if (alpha[i] == 0) continue;
    target[i] = alpha[i] == 255 ? source[i] : Mix256(target[i], source[i], alpha[i]);
  }
}

void BlendColor(std::uint32_t* target, std::uint32_t color, const std::uint8_t* alpha, int count) {
  for (int i = 0; i < count; ++i) {
    if (alpha[i] != 0) target[i] = Mix256(target[i], color, WeightOf(alpha[i]));
  }
}

void BlendScaled(std::uint32_t* target, const std::uint32_t* source, const std::uint8_t* alpha,
                 int level, int count) {
  for (int i = 0; i < count; ++i) {
    const auto scaled = static_cast<std::uint8_t>(alpha[i] * level / 255);
    if (scaled != 0) target[i] = Mix256(target[i], source[i], WeightOf(scaled));
  }
}

void Mix(std::uint32_t* target, const std::uint32_t* from, const std::uint32_t* to, int weight,
         int count) {
  for (int i = 0; i < count; ++i) {
    target[i] = Mix256(from[i], to[i], static_cast<unsigned>(weight));
  }
}

void MixColor(std::uint32_t* target, const std::uint32_t* from, std::uint32_t to, int weight,
              int count) {
  for (int i = 0; i < count; ++i) target[i] = Mix256(from[i], to, static_cast<unsigned>(weight));
}

void PickColumns(std::uint32_t* target, const std::uint32_t* source, const std::int32_t* columns,
                 int count) {
  for (int i = 0; i < count; ++i) target[i] = source[columns[i]];
}

void LerpColumns(std::uint32_t* target, const std::uint32_t* source, const std::int32_t* columns,
                 const std::int32_t* fractions, int count) {
  for (int i = 0; i < count; ++i) {
    const std::uint32_t* pair = source + columns[i];
    target[i] = Mix65536(pair[0], pair[1], static_cast<unsigned>(fractions[i]));
  }
}

void LerpRows(std::uint8_t* target, const std::uint8_t* top, const std::uint8_t* bottom,
              int fraction, int count) {
  for (int i = 0; i < count; ++i) {
    const int from = top[i], to = bottom[i];
    target[i] = static_cast<std::uint8_t>(((to - from) * fraction >> 16) + from);
  }
}

void Gray(std::uint32_t* pixels, int count) {
  for (int i = 0; i < count; ++i) {
    const double r = pixels[i] >> 16 & 255;
    const double g = pixels[i] >> 8 & 255;
    const double b = pixels[i] & 255;
    const auto gray = static_cast<std::uint32_t>(b * 0.114 + (r * 0.299 + g * 0.587));
    pixels[i] = (pixels[i] & 0xFF000000) | gray * 0x010101;
  }
}

void Invert(std::uint32_t* pixels, int count) {
  for (int i = 0; i < count; ++i) pixels[i] = ~pixels[i];
}

void Reverse(std::uint32_t* pixels, int count) {
  std::reverse(pixels, pixels + count);
}

void SwapRows(std::uint32_t* a, std::uint32_t* b, int count) {
  std::swap_ranges(a, a + count, b);
}

void TransformPlain(std::uint32_t* target, const TransformRow& row, int first, int count) {
  for (int i = 0; i < count; ++i) target[i] = SamplePlain(row, first + i);
}

void TransformSmooth(std::uint32_t* target, const TransformRow& row, int first, int count) {
  for (int i = 0; i < count; ++i) target[i] = SampleSmooth(row, first + i);
}

void TransformPresent(std::uint32_t* target, const TransformRow& row, int first, int count) {
  for (int i = 0; i < count; ++i) target[i] = SampleSmoothPresent(row, first + i);
}

void Gradient(std::uint32_t* target, const std::uint32_t* colors, std::int32_t quotient,
              std::int32_t remainder, std::int32_t quotientStep, std::int32_t remainderStep,
              std::int32_t divisor, int count) {
  for (int i = 0; i < count; ++i) {
    target[i] = colors[quotient];
    quotient += quotientStep;
    remainder += remainderStep;
    if (remainder >= divisor) {
      remainder -= divisor;
      ++quotient;
    }
  }
}

constexpr RowKernels plainKernels{.fill = Fill,
                                  .copyMasked = CopyMasked,
                                  .fillMasked = FillMasked,
                                  .blend = Blend,
                                  .blendColor = BlendColor,
                                  .blendScaled = BlendScaled,
                                  .mix = Mix,
                                  .mixColor = MixColor,
                                  .pickColumns = PickColumns,
                                  .lerpColumns = LerpColumns,
                                  .lerpRows = LerpRows,
                                  .gray = Gray,
                                  .invert = Invert,
                                  .reverse = Reverse,
                                  .swapRows = SwapRows,
                                  .transformPlain = TransformPlain,
                                  .transformSmooth = TransformSmooth,
                                  .transformPresent = TransformPresent,
                                  .gradient = Gradient};

/// `QUILLMERE_KERNELS=plain` keeps to the plain set, to tell a fault of one set from others.
const RowKernels& ChooseKernels() {
  const char* wish = std::getenv("QUILLMERE_KERNELS");
  if (wish != nullptr && std::string_view(wish) == "plain") return plainKernels;
  const RowKernels* fast = Avx2Kernels();
  return fast != nullptr ? *fast : plainKernels;
}

}  // namespace

const RowKernels& PlainKernels() {
  return plainKernels;
}

const RowKernels& Kernels() {
  static const RowKernels& chosen = ChooseKernels();
  return chosen;
}

}  // namespace quillmere
