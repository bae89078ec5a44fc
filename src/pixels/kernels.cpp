#include "pixels/kernels.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "pixels/transform_sample.h"

namespace quillmere {
namespace {

/// Two pixels as bytes, and in lanes of 16 bits. The compiler has instructions for such vectors on
/// every processor that we know.
using PairBytes = std::uint8_t __attribute__((vector_size(8)));
using PairLanes = std::uint16_t __attribute__((vector_size(16)));
using FourPixels = std::uint32_t __attribute__((vector_size(16)));
constexpr int pairBytes = sizeof(PairBytes);

PairLanes LoadPair(const void* pixels) {
  PairBytes bytes;
  std::memcpy(&bytes, pixels, sizeof bytes);
  return __builtin_convertvector(bytes, PairLanes);
}

/// Stores the high bytes of the lanes.
void StoreHigh(void* pixels, PairLanes lanes) {
  const PairBytes bytes = __builtin_convertvector(lanes >> 8, PairBytes);
  std::memcpy(pixels, &bytes, sizeof bytes);
}

/// from + ((to - from) * weight >> 8) for each byte, weight 0 to 256: the same number as
/// (from * (256 - weight) + to * weight) >> 8, whose sums fit their lanes.
void MixPair(std::uint32_t* target, const std::uint32_t* from, const std::uint32_t* to,
             PairLanes weight) {
  StoreHigh(target, LoadPair(from) * (256 - weight) + LoadPair(to) * weight);
}

/// The same for a single pixel.
std::uint32_t Mix256(std::uint32_t from, std::uint32_t to, unsigned weight) {
  const std::uint32_t pair[2][2] = {{from, 0}, {to, 0}};
  std::uint32_t mixed[2];
  MixPair(mixed, pair[0], pair[1], PairLanes{} + static_cast<std::uint16_t>(weight));
  return mixed[0];
}

/// The weight of an alpha byte: 255 counts as 256, so that both ends are exact.
unsigned WeightOf(std::uint8_t alpha) {
  return alpha + (alpha == 255 ? 1u : 0u);
}

/// Two numbers of 16 bits, each in the four lanes of its pixel.
PairLanes SpreadPair(unsigned first, unsigned second) {
  using Halves = std::uint64_t __attribute__((vector_size(16)));
  constexpr std::uint64_t each = 0x0001000100010001;
  return std::bit_cast<PairLanes>(Halves{first * each, second * each});
}

/// Mixes two pixels, or eight other bytes, at fractions of 16 bits: from + ((to - from) * fraction
/// >> 16). The sum of both shares, from * (65536 - fraction) + to * fraction, is gathered in its
/// high and low bytes, so that it fits the lanes.
class FractionMix {
 public:
  FractionMix(unsigned first, unsigned second)
      : restHigh_(SpreadPair((65536 - first) >> 8, (65536 - second) >> 8)),
        restLow_(SpreadPair((65536 - first) & 255, (65536 - second) & 255)),
        shareHigh_(SpreadPair(first >> 8, second >> 8)),
        shareLow_(SpreadPair(first & 255, second & 255)) {}

  void Store(void* target, const void* from, const void* to) const {
    const PairLanes f = LoadPair(from), t = LoadPair(to);
    const PairLanes low = f * restLow_ + t * shareLow_;
    StoreHigh(target, f * restHigh_ + t * shareHigh_ + (low >> 8));
  }

 private:
  PairLanes restHigh_, restLow_, shareHigh_, shareLow_;
};

void Fill(std::uint32_t* target, std::uint32_t color, int count) {
  const FourPixels four = FourPixels{} + color;
  int i = 0;
  for (; i + 4 <= count; i += 4) std::memcpy(target + i, &four, sizeof four);
  std::fill_n(target + i, count - i, color);
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

/// Blends rows by alpha bytes that `alphaOf` gives for a column: two pixels at a time where two
/// neighbours are neither both transparent nor both opaque.
template <class AlphaOf, class SourceOf>
void BlendRow(std::uint32_t* target, SourceOf sourceOf, AlphaOf alphaOf, int count) {
  int i = 0;
  for (; i + 2 <= count; i += 2) {
    const std::uint8_t first = alphaOf(i), second = alphaOf(i + 1);
    if ((first | second) == 0) continue;
    const std::uint32_t* source = sourceOf(i);
    if ((first & second) == 255) {
      std::copy_n(source, 2, target + i);
    } else {
      MixPair(target + i, target + i, source, SpreadPair(WeightOf(first), WeightOf(second)));
    }
  }
  if (i < count) target[i] = Mix256(target[i], *sourceOf(i), WeightOf(alphaOf(i)));
}

void Blend(std::uint32_t* target, const std::uint32_t* source, const std::uint8_t* alpha,
           int count) {
  BlendRow(
      target, [=](int i) { return source + i; }, [=](int i) { return alpha[i]; }, count);
}

void BlendColor(std::uint32_t* target, std::uint32_t color, const std::uint8_t* alpha, int count) {
  const std::uint32_t pair[] = {color, color};
  BlendRow(
      target, [&](int) { return pair; }, [=](int i) { return alpha[i]; }, count);
}

void BlendScaled(std::uint32_t* target, const std::uint32_t* source, const std::uint8_t* alpha,
                 int level, int count) {
  const auto scaled = [=](int i) { return static_cast<std::uint8_t>(alpha[i] * level / 255); };
  BlendRow(
      target, [=](int i) { return source + i; }, scaled, count);
}

void Mix(std::uint32_t* target, const std::uint32_t* from, const std::uint32_t* to, int weight,
         int count) {
  const PairLanes wide = PairLanes{} + static_cast<std::uint16_t>(weight);
  int i = 0;
  for (; i + 2 <= count; i += 2) MixPair(target + i, from + i, to + i, wide);
  if (i < count) target[i] = Mix256(from[i], to[i], static_cast<unsigned>(weight));
}

void MixColor(std::uint32_t* target, const std::uint32_t* from, std::uint32_t to, int weight,
              int count) {
  const PairLanes wide = PairLanes{} + static_cast<std::uint16_t>(weight);
  const std::uint32_t pair[] = {to, to};
  int i = 0;
  for (; i + 2 <= count; i += 2) MixPair(target + i, from + i, pair, wide);
  if (i < count) target[i] = Mix256(from[i], to, static_cast<unsigned>(weight));
}

void PickColumns(std::uint32_t* target, const std::uint32_t* source, const std::int32_t* columns,
                 int count) {
  for (int i = 0; i < count; ++i) target[i] = source[columns[i]];
}

void LerpColumns(std::uint32_t* target, const std::uint32_t* source, const std::int32_t* columns,
                 const std::int32_t* fractions, int count) {
  for (int i = 0; i < count; i += 2) {
    const int second = std::min(i + 1, count - 1);
    const std::uint32_t* a = source + columns[i];
    const std::uint32_t* b = source + columns[second];
    const std::uint32_t from[] = {a[0], b[0]}, to[] = {a[1], b[1]};
    std::uint32_t mixed[2];
    FractionMix(static_cast<unsigned>(fractions[i]), static_cast<unsigned>(fractions[second]))
        .Store(mixed, from, to);
    target[i] = mixed[0];
    target[second] = second == i ? mixed[0] : mixed[1];
  }
}

/// from + ((to - from) * fraction >> 16).
std::uint8_t LerpByte(int from, int to, int fraction) {
  return static_cast<std::uint8_t>(((to - from) * fraction >> 16) + from);
}

void LerpAlphaColumns(std::uint8_t* target, const std::uint8_t* source, const std::int32_t* columns,
                      const std::int32_t* fractions, int count) {
  for (int i = 0; i < count; ++i) {
    const std::uint8_t* pair = source + columns[i];
    target[i] = LerpByte(pair[0], pair[1], fractions[i]);
  }
}

void LerpRows(std::uint8_t* target, const std::uint8_t* top, const std::uint8_t* bottom,
              int fraction, int count) {
  const FractionMix mix(static_cast<unsigned>(fraction), static_cast<unsigned>(fraction));
  int i = 0;
  for (; i + pairBytes <= count; i += pairBytes) mix.Store(target + i, top + i, bottom + i);
  for (; i < count; ++i) target[i] = LerpByte(top[i], bottom[i], fraction);
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
                                  .lerpAlphaColumns = LerpAlphaColumns,
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
