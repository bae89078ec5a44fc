// The kernels for processors with AVX2: eight pixels at a time, in lanes of 16 bits where bytes are
// mixed. Products of bytes wrap in their lanes; the sums that count do not.
#include "pixels/kernels.h"

#if defined(__x86_64__)

#include <cstring>

#include "pixels/avx2.h"

namespace quillmere {
namespace {

constexpr int step = 8;

AVX2 inline __m256i Load(const std::uint32_t* pixels) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels));
}

AVX2 inline void Store(std::uint32_t* pixels, __m256i value) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels), value);
}

/// A color of all ones in each pixel whose bit is set; the first pixel is the top bit.
AVX2 inline __m256i ExpandBits(std::uint8_t bits) {
  const __m256i each = _mm256_setr_epi32(128, 64, 32, 16, 8, 4, 2, 1);
  return _mm256_cmpeq_epi32(_mm256_and_si256(_mm256_set1_epi32(bits), each), each);
}

AVX2 void Fill(std::uint32_t* target, std::uint32_t color, int count) {
  const __m256i wide = _mm256_set1_epi32(static_cast<int>(color));
  if (count < 2 * step) return PlainKernels().fill(target, color, count);
  // The first and last vector may overlap the aligned ones between them.
  Store(target, wide);
  Store(target + count - step, wide);
  const auto misaligned = reinterpret_cast<std::uintptr_t>(target) / sizeof(std::uint32_t) % step;
  const int end = count - step;
  int i = step - static_cast<int>(misaligned);
  for (; i + 4 * step <= end; i += 4 * step) {
    Store(target + i, wide);
    Store(target + i + step, wide);
    Store(target + i + 2 * step, wide);
    Store(target + i + 3 * step, wide);
  }
  for (; i < end; i += step) Store(target + i, wide);
}

AVX2 void CopyMasked(std::uint32_t* target, const std::uint32_t* source, BitRow mask, int count) {
  int i = 0;
  for (; i + step <= count; i += step) {
    const std::uint8_t bits = FetchBits(mask, i, step);
    if (bits == 0) continue;
    const __m256i pixels = Load(source + i);
    if (bits == 0xFF) {
      Store(target + i, pixels);
    } else {
      Store(target + i, _mm256_blendv_epi8(Load(target + i), pixels, ExpandBits(bits)));
    }
  }
  PlainKernels().copyMasked(target + i, source + i, {mask.bytes, mask.first + i}, count - i);
}

AVX2 void FillMasked(std::uint32_t* target, std::uint32_t color, BitRow mask, int count) {
  const __m256i wide = _mm256_set1_epi32(static_cast<int>(color));
  int i = 0;
  for (; i + step <= count; i += step) {
    const std::uint8_t bits = FetchBits(mask, i, step);
    if (bits == 0) continue;
    Store(target + i, _mm256_blendv_epi8(Load(target + i), wide, ExpandBits(bits)));
  }
  PlainKernels().fillMasked(target + i, color, {mask.bytes, mask.first + i}, count - i);
}

/// Weights of 16 bits for the lanes of eight pixels: `low` for the unpacked low halves of both
/// 128-bit parts, `high` for the high halves.
struct Weights {
  __m256i low;
  __m256i high;
};

/// from * 256 + (to - from) * weight, in 16 bits, its top byte being the result.
AVX2 inline __m256i MixLanes(__m256i from256, __m256i to, __m256i weight) {
  const __m256i from = _mm256_srli_epi16(from256, 8);
  const __m256i moved = _mm256_mullo_epi16(_mm256_sub_epi16(to, from), weight);
  return _mm256_srli_epi16(_mm256_add_epi16(from256, moved), 8);
}

AVX2 inline __m256i MixPixels(__m256i from, __m256i to, const Weights& weights) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i low =
      MixLanes(_mm256_unpacklo_epi8(zero, from), _mm256_unpacklo_epi8(to, zero), weights.low);
  const __m256i high =
      MixLanes(_mm256_unpackhi_epi8(zero, from), _mm256_unpackhi_epi8(to, zero), weights.high);
  return _mm256_packus_epi16(low, high);
}

/// Weights of eight pixels, one for each pixel in both 128-bit parts, for all of their bytes.
AVX2 inline Weights SpreadWeights(__m256i both) {
  const __m256i lowOrder = _mm256_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3, 8, 9, 8,
                                            9, 8, 9, 8, 9, 10, 11, 10, 11, 10, 11, 10, 11);
  const __m256i highOrder =
      _mm256_setr_epi8(4, 5, 4, 5, 4, 5, 4, 5, 6, 7, 6, 7, 6, 7, 6, 7, 12, 13, 12, 13, 12, 13, 12,
                       13, 14, 15, 14, 15, 14, 15, 14, 15);
  return {_mm256_shuffle_epi8(both, lowOrder), _mm256_shuffle_epi8(both, highOrder)};
}

/// The weights of eight alpha bytes: 255 counts as 256.
AVX2 inline Weights WeightsOf(std::uint64_t alpha) {
  __m128i words = _mm_cvtepu8_epi16(_mm_cvtsi64_si128(static_cast<long long>(alpha)));
  words = _mm_sub_epi16(words, _mm_cmpeq_epi16(words, _mm_set1_epi16(255)));
  return SpreadWeights(_mm256_broadcastsi128_si256(words));
}

AVX2 inline std::uint64_t LoadAlpha(const std::uint8_t* alpha) {
  std::uint64_t eight;
  std::memcpy(&eight, alpha, sizeof eight);
  return eight;
}

AVX2 void Blend(std::uint32_t* target, const std::uint32_t* source, const std::uint8_t* alpha,
                int count) {
  int i = 0;
  for (; i + step <= count; i += step) {
    const std::uint64_t eight = LoadAlpha(alpha + i);
    if (eight == 0) continue;
    const __m256i pixels = Load(source + i);
    if (eight == ~0ull) {
      Store(target + i, pixels);
    } else {
      Store(target + i, MixPixels(Load(target + i), pixels, WeightsOf(eight)));
    }
  }
  PlainKernels().blend(target + i, source + i, alpha + i, count - i);
}

AVX2 void BlendColor(std::uint32_t* target, std::uint32_t color, const std::uint8_t* alpha,
                     int count) {
  const __m256i wide = _mm256_set1_epi32(static_cast<int>(color));
  int i = 0;
  for (; i + step <= count; i += step) {
    const std::uint64_t eight = LoadAlpha(alpha + i);
    if (eight == 0) continue;
    Store(target + i, eight == ~0ull ? wide : MixPixels(Load(target + i), wide, WeightsOf(eight)));
  }
  PlainKernels().blendColor(target + i, color, alpha + i, count - i);
}

/// Eight alpha bytes scaled by `level`, each in both words of its pixel and shifted left by 7. The
/// quotient by 255 of a number of 16 bits is its product with 0x8081, shifted right by 23.
AVX2 inline __m256i ScaledShares(std::uint64_t alpha, __m256i level) {
  const __m256i order = _mm256_setr_epi8(0, -1, 0, -1, 1, -1, 1, -1, 2, -1, 2, -1, 3, -1, 3, -1, 4,
                                         -1, 4, -1, 5, -1, 5, -1, 6, -1, 6, -1, 7, -1, 7, -1);
  const __m256i eight = _mm256_set1_epi64x(static_cast<long long>(alpha));
  const __m256i product = _mm256_mullo_epi16(_mm256_shuffle_epi8(eight, order), level);
  const __m256i quotient =
      _mm256_mulhi_epu16(product, _mm256_set1_epi16(static_cast<short>(0x8081)));
  return _mm256_and_si256(quotient, _mm256_set1_epi16(-128));
}

/// from + ((to - from) * share >> 15) in lanes of 16 bits that hold bytes.
AVX2 inline __m256i MixShares(__m256i from, __m256i to, __m256i shares) {
  const __m256i difference = _mm256_sub_epi16(to, from);
  const __m256i moved = _mm256_mulhi_epi16(_mm256_add_epi16(difference, difference), shares);
  return _mm256_add_epi16(from, moved);
}

/// A scaled alpha reaches 255 at level 255 alone; below it, no share has to count as whole.
AVX2 void BlendScaled(std::uint32_t* target, const std::uint32_t* source, const std::uint8_t* alpha,
                      int level, int count) {
  if (level == 255) return Blend(target, source, alpha, count);
  const __m256i wide = _mm256_set1_epi16(static_cast<short>(level));
  const __m256i evenBytes = _mm256_set1_epi16(255);
  int i = 0;
  for (; i + step <= count; i += step) {
    const std::uint64_t eight = LoadAlpha(alpha + i);
    if (eight == 0) continue;
    const __m256i shares = ScaledShares(eight, wide);
    const __m256i from = Load(target + i);
    const __m256i to = Load(source + i);
    const __m256i even =
        MixShares(_mm256_and_si256(from, evenBytes), _mm256_and_si256(to, evenBytes), shares);
    const __m256i odd = MixShares(_mm256_srli_epi16(from, 8), _mm256_srli_epi16(to, 8), shares);
    Store(target + i, _mm256_or_si256(even, _mm256_slli_epi16(odd, 8)));
  }
  PlainKernels().blendScaled(target + i, source + i, alpha + i, level, count - i);
}

AVX2 void Mix(std::uint32_t* target, const std::uint32_t* from, const std::uint32_t* to, int weight,
              int count) {
  const __m256i wide = _mm256_set1_epi16(static_cast<short>(weight));
  int i = 0;
  for (; i + step <= count; i += step) {
    Store(target + i, MixPixels(Load(from + i), Load(to + i), {wide, wide}));
  }
  PlainKernels().mix(target + i, from + i, to + i, weight, count - i);
}

AVX2 void MixColor(std::uint32_t* target, const std::uint32_t* from, std::uint32_t to, int weight,
                   int count) {
  const __m256i wide = _mm256_set1_epi16(static_cast<short>(weight));
  const __m256i color = _mm256_set1_epi32(static_cast<int>(to));
  int i = 0;
  for (; i + step <= count; i += step) {
    Store(target + i, MixPixels(Load(from + i), color, {wide, wide}));
  }
  PlainKernels().mixColor(target + i, from + i, to, weight, count - i);
}

AVX2 void PickColumns(std::uint32_t* target, const std::uint32_t* source,
                      const std::int32_t* columns, int count) {
  int i = 0;
  for (; i + step <= count; i += step) {
    const __m256i index = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(columns + i));
    Store(target + i, _mm256_i32gather_epi32(reinterpret_cast<const int*>(source), index, 4));
  }
  PlainKernels().pickColumns(target + i, source, columns + i, count - i);
}

/// from + ((to - from) * fraction >> 16) in lanes of 16 bits. The product takes the fraction as a
/// signed number, which is 65536 too low when its top bit is set: `carry` puts that right.
AVX2 inline __m256i LerpLanes(__m256i from, __m256i to, __m256i fraction, __m256i carry) {
  const __m256i difference = _mm256_sub_epi16(to, from);
  const __m256i moved = _mm256_mulhi_epi16(difference, fraction);
  return _mm256_add_epi16(_mm256_add_epi16(from, moved), _mm256_and_si256(difference, carry));
}

AVX2 inline __m128i LoadPair(const std::uint32_t* pixels) {
  return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pixels));
}

AVX2 void LerpColumns(std::uint32_t* target, const std::uint32_t* source,
                      const std::int32_t* columns, const std::int32_t* fractions, int count) {
  const __m256i spread = _mm256_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 4, 5, 4, 5, 4, 5, 4, 5, 8, 9, 8,
                                          9, 8, 9, 8, 9, 12, 13, 12, 13, 12, 13, 12, 13);
  int i = 0;
  for (; i + 4 <= count; i += 4) {
    const __m128i first =
        _mm_unpacklo_epi32(LoadPair(source + columns[i]), LoadPair(source + columns[i + 1]));
    const __m128i second =
        _mm_unpacklo_epi32(LoadPair(source + columns[i + 2]), LoadPair(source + columns[i + 3]));
    const __m256i from = _mm256_cvtepu8_epi16(_mm_unpacklo_epi64(first, second));
    const __m256i to = _mm256_cvtepu8_epi16(_mm_unpackhi_epi64(first, second));
    const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i*>(fractions + i));
    const __m256i fraction = _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(four), spread);
    const __m256i mixed = LerpLanes(from, to, fraction, _mm256_srai_epi16(fraction, 15));
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(mixed, mixed), 0x08);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i), _mm256_castsi256_si128(packed));
  }
  PlainKernels().lerpColumns(target + i, source, columns + i, fractions + i, count - i);
}

/// Each column's byte and the next come in one word; the lanes of its upper half stay 0.
AVX2 void LerpAlphaColumns(std::uint8_t* target, const std::uint8_t* source,
                           const std::int32_t* columns, const std::int32_t* fractions, int count) {
  const __m256i low = _mm256_set1_epi32(255);
  int i = 0;
  for (; i + step <= count; i += step) {
    const __m256i index = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(columns + i));
    const __m256i words = _mm256_i32gather_epi32(reinterpret_cast<const int*>(source), index, 1);
    const __m256i from = _mm256_and_si256(words, low);
    const __m256i to = _mm256_and_si256(_mm256_srli_epi32(words, 8), low);
    const __m256i fraction = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(fractions + i));
    const __m256i mixed = LerpLanes(from, to, fraction, _mm256_srai_epi16(fraction, 15));
    const __m128i halves =
        _mm_packus_epi32(_mm256_castsi256_si128(mixed), _mm256_extracti128_si256(mixed, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(target + i), _mm_packus_epi16(halves, halves));
  }
  PlainKernels().lerpAlphaColumns(target + i, source, columns + i, fractions + i, count - i);
}

AVX2 void LerpRows(std::uint8_t* target, const std::uint8_t* top, const std::uint8_t* bottom,
                   int fraction, int count) {
  constexpr int bytes = 32;
  const __m256i wide = _mm256_set1_epi16(static_cast<short>(fraction));
  const __m256i carry = _mm256_srai_epi16(wide, 15);
  const __m256i zero = _mm256_setzero_si256();
  int i = 0;
  for (; i + bytes <= count; i += bytes) {
    const __m256i from = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(top + i));
    const __m256i to = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bottom + i));
    const __m256i low =
        LerpLanes(_mm256_unpacklo_epi8(from, zero), _mm256_unpacklo_epi8(to, zero), wide, carry);
    const __m256i high =
        LerpLanes(_mm256_unpackhi_epi8(from, zero), _mm256_unpackhi_epi8(to, zero), wide, carry);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + i), _mm256_packus_epi16(low, high));
  }
  PlainKernels().lerpRows(target + i, top + i, bottom + i, fraction, count - i);
}

AVX2 inline __m256d Channel(__m128i pixels, int shift) {
  const __m128i bytes = _mm_and_si128(_mm_srli_epi32(pixels, shift), _mm_set1_epi32(255));
  return _mm256_cvtepi32_pd(bytes);
}

/// The brightness of four pixels as told, in doubles.
AVX2 inline __m128i GrayInDoubles(__m128i pixels) {
  const __m256d redGreen = _mm256_add_pd(_mm256_mul_pd(Channel(pixels, 16), _mm256_set1_pd(0.299)),
                                         _mm256_mul_pd(Channel(pixels, 8), _mm256_set1_pd(0.587)));
  return _mm256_cvttpd_epi32(
      _mm256_add_pd(_mm256_mul_pd(Channel(pixels, 0), _mm256_set1_pd(0.114)), redGreen));
}

/// One bit for each gray level whose brightness comes out one too low, because the sum in doubles
/// falls short of the whole number.
struct ShortGrays {
  alignas(32) std::uint32_t words[8];
};
constexpr ShortGrays shortGrays = [] {
  ShortGrays table{};
  for (int level = 0; level < 256; ++level) {
    const double v = level;
    if (static_cast<int>(v * 0.114 + (v * 0.299 + v * 0.587)) != level) {
      table.words[level / 32] |= 1u << level % 32;
    }
  }
  return table;
}();

/// 1 for each level of that table, 0 for others.
AVX2 inline __m256i IsShortGray(__m256i levels) {
  const __m256i table = _mm256_load_si256(reinterpret_cast<const __m256i*>(shortGrays.words));
  const __m256i words = _mm256_permutevar8x32_epi32(table, _mm256_srli_epi32(levels, 5));
  const __m256i bits = _mm256_srlv_epi32(words, _mm256_and_si256(levels, _mm256_set1_epi32(31)));
  return _mm256_and_si256(bits, _mm256_set1_epi32(1));
}

/// Thousandths of brightness are whole numbers N, and the sum in doubles is so close to N / 1000
/// that only a multiple of 1000 can come out on the wrong side. All others are divided in single
/// precision, by a little less than 1000: enough for multiples to reach their quotient, too little
/// for N + 1 to reach the next. Of the multiples, gray pixels have a table; the few that are left
/// are summed in doubles.
AVX2 void Gray(std::uint32_t* pixels, int count) {
  const __m256i even = _mm256_set1_epi32(0x00FF00FF);
  const __m256i color = _mm256_set1_epi32(0x00FFFFFF);
  const __m256i blueRed = _mm256_set1_epi32(299 << 16 | 114);
  const __m256i green = _mm256_set1_epi32(587);
  const __m256i thousand = _mm256_set1_epi32(1000);
  const __m256 share = _mm256_set1_ps(0.001000001f);
  const __m256i replicate = _mm256_setr_epi8(0, 0, 0, -1, 4, 4, 4, -1, 8, 8, 8, -1, 12, 12, 12, -1,
                                             0, 0, 0, -1, 4, 4, 4, -1, 8, 8, 8, -1, 12, 12, 12, -1);
  int i = 0;
  for (; i + step <= count; i += step) {
    const __m256i eight = Load(pixels + i);
    const __m256i sum = _mm256_add_epi32(
        _mm256_madd_epi16(_mm256_and_si256(eight, even), blueRed),
        _mm256_madd_epi16(_mm256_and_si256(_mm256_srli_epi32(eight, 8), even), green));
    __m256i gray = _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(sum), share));
    const __m256i whole = _mm256_cmpeq_epi32(sum, _mm256_madd_epi16(gray, thousand));
    if (_mm256_movemask_epi8(whole) != 0) {
      const __m256i isGray =
          _mm256_cmpeq_epi32(_mm256_and_si256(eight, color), _mm256_shuffle_epi8(eight, replicate));
      if (_mm256_testc_si256(isGray, whole) != 0) {
        gray = _mm256_sub_epi32(gray, _mm256_and_si256(isGray, IsShortGray(gray)));
      } else {
        gray = _mm256_set_m128i(GrayInDoubles(_mm256_extracti128_si256(eight, 1)),
                                GrayInDoubles(_mm256_castsi256_si128(eight)));
      }
    }
    Store(pixels + i,
          _mm256_or_si256(_mm256_andnot_si256(color, eight), _mm256_shuffle_epi8(gray, replicate)));
  }
  PlainKernels().gray(pixels + i, count - i);
}

AVX2 void Invert(std::uint32_t* pixels, int count) {
  const __m256i ones = _mm256_set1_epi32(-1);
  int i = 0;
  for (; i + step <= count; i += step) {
    Store(pixels + i, _mm256_xor_si256(Load(pixels + i), ones));
  }
  PlainKernels().invert(pixels + i, count - i);
}

AVX2 void Reverse(std::uint32_t* pixels, int count) {
  const __m256i order = _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0);
  int low = 0;
  int high = count;
  for (; low + 2 * step <= high; low += step, high -= step) {
    const __m256i front = Load(pixels + low);
    const __m256i back = Load(pixels + high - step);
    Store(pixels + low, _mm256_permutevar8x32_epi32(back, order));
    Store(pixels + high - step, _mm256_permutevar8x32_epi32(front, order));
  }
  PlainKernels().reverse(pixels + low, high - low);
}

AVX2 void SwapRows(std::uint32_t* a, std::uint32_t* b, int count) {
  int i = 0;
  for (; i + step <= count; i += step) {
    const __m256i first = Load(a + i);
    const __m256i second = Load(b + i);
    Store(a + i, second);
    Store(b + i, first);
  }
  PlainKernels().swapRows(a + i, b + i, count - i);
}

/// Eight quotients and remainders that step along a row together.
struct GradientSteps {
  __m256i quotients;
  __m256i remainders;
  __m256i quotientStep;
  __m256i remainderStep;
  __m256i divisor;

  AVX2 void Advance() {
    remainders = _mm256_add_epi32(remainders, remainderStep);
    const __m256i below = _mm256_cmpgt_epi32(divisor, remainders);
    remainders = _mm256_sub_epi32(remainders, _mm256_andnot_si256(below, divisor));
    const __m256i carry = _mm256_andnot_si256(below, _mm256_set1_epi32(1));
    quotients = _mm256_add_epi32(_mm256_add_epi32(quotients, quotientStep), carry);
  }
};

AVX2 GradientSteps MakeSteps(std::int32_t quotient, std::int32_t remainder,
                             std::int32_t quotientStep, std::int32_t remainderStep,
                             std::int32_t divisor) {
  alignas(32) std::int32_t quotients[step], remainders[step];
  for (int k = 0; k < step; ++k) {
    const std::int64_t sum = remainder + static_cast<std::int64_t>(remainderStep) * k;
    quotients[k] = quotient + quotientStep * k + static_cast<std::int32_t>(sum / divisor);
    remainders[k] = static_cast<std::int32_t>(sum % divisor);
  }
  const std::int64_t wide = static_cast<std::int64_t>(remainderStep) * step;
  return {_mm256_load_si256(reinterpret_cast<const __m256i*>(quotients)),
          _mm256_load_si256(reinterpret_cast<const __m256i*>(remainders)),
          _mm256_set1_epi32(quotientStep * step + static_cast<std::int32_t>(wide / divisor)),
          _mm256_set1_epi32(static_cast<std::int32_t>(wide % divisor)), _mm256_set1_epi32(divisor)};
}

/// The colours of eight quotients. Neighbours that differ by one at most lie within eight words.
AVX2 inline __m256i LookUpNear(const std::uint32_t* colors, __m256i quotients, int lowest) {
  return _mm256_permutevar8x32_epi32(Load(colors + lowest),
                                     _mm256_sub_epi32(quotients, _mm256_set1_epi32(lowest)));
}

AVX2 void Gradient(std::uint32_t* target, const std::uint32_t* colors, std::int32_t quotient,
                   std::int32_t remainder, std::int32_t quotientStep, std::int32_t remainderStep,
                   std::int32_t divisor, int count) {
  GradientSteps steps = MakeSteps(quotient, remainder, quotientStep, remainderStep, divisor);
  int i = 0;
  if (quotientStep == 0) {
    for (; i + step <= count; i += step, steps.Advance()) {
      const int lowest = _mm256_cvtsi256_si32(steps.quotients);
      Store(target + i, LookUpNear(colors, steps.quotients, lowest));
    }
  } else if (quotientStep == -1) {
    for (; i + step <= count; i += step, steps.Advance()) {
      const int lowest = _mm256_extract_epi32(steps.quotients, 7);
      Store(target + i, LookUpNear(colors, steps.quotients, lowest));
    }
  } else {
    for (; i + step <= count; i += step, steps.Advance()) {
      Store(target + i, _mm256_i32gather_epi32(reinterpret_cast<const int*>(colors),
                                               steps.quotients, sizeof(std::uint32_t)));
    }
  }
  alignas(32) std::int32_t quotients[step];
  _mm256_store_si256(reinterpret_cast<__m256i*>(quotients), steps.quotients);
  for (int k = 0; i < count; ++i, ++k) target[i] = colors[quotients[k]];
}

constexpr RowKernels avx2Kernels{.fill = Fill,
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
                                 .transformPlain = avx2::TransformPlain,
                                 .transformSmooth = avx2::TransformSmooth,
                                 .transformPresent = avx2::TransformPresent,
                                 .gradient = Gradient};

}  // namespace

const RowKernels* Avx2Kernels() {
  return __builtin_cpu_supports("avx2") ? &avx2Kernels : nullptr;
}

}  // namespace quillmere

#else

namespace quillmere {
const RowKernels* Avx2Kernels() {
  return nullptr;
}
}  // namespace quillmere

#endif
