// The transform's rows for processors with AVX2: the positions of four columns at a time, and the
// four bytes of a pixel mixed at once. The sums are those of the plain form, in its order.
#if defined(__x86_64__)

#include "pixels/avx2.h"
#include "pixels/transform_sample.h"

namespace quillmere {
namespace {

/// The four bytes of a pixel as doubles.
AVX2 inline __m256d PixelAsDoubles(std::uint32_t pixel) {
  return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<int>(pixel))));
}

AVX2 inline __m256d MixPair(__m256d a, __m256d b, __m256d rest, __m256d share) {
  return _mm256_add_pd(_mm256_mul_pd(a, rest), _mm256_mul_pd(b, share));
}

AVX2 inline std::uint32_t MixSquare(const SampleSquare& square) {
  const __m256d shareX = _mm256_set1_pd(square.fx);
  const __m256d restX = _mm256_set1_pd(1 - square.fx);
  const __m256d upper =
      MixPair(PixelAsDoubles(square.topLeft), PixelAsDoubles(square.topRight), restX, shareX);
  const __m256d lower =
      MixPair(PixelAsDoubles(square.bottomLeft), PixelAsDoubles(square.bottomRight), restX, shareX);
  const __m256d mixed =
      _mm256_add_pd(MixPair(upper, lower, _mm256_set1_pd(1 - square.fy), _mm256_set1_pd(square.fy)),
                    _mm256_set1_pd(0.5));
  const __m128i bytes =
      _mm_shuffle_epi8(_mm256_cvttpd_epi32(mixed),
                       _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(bytes));
}

/// Positions of four columns along one axis.
AVX2 inline __m256d PositionsOf(__m256d columns, double slope, double row, double offset) {
  return _mm256_add_pd(
      _mm256_add_pd(_mm256_mul_pd(columns, _mm256_set1_pd(slope)), _mm256_set1_pd(row)),
      _mm256_set1_pd(offset));
}

AVX2 inline __m256d FractionsOf(__m256d positions) {
  return _mm256_sub_pd(positions, _mm256_floor_pd(positions));
}

AVX2 inline __m128i CutIndices(__m128i indices, int size) {
  return _mm_min_epi32(_mm_max_epi32(indices, _mm_setzero_si128()), _mm_set1_epi32(size - 1));
}

/// The whole parts of four positions and the ones after them, as indices cut to 0 to size - 1.
struct Neighbours {
  __m128i near;
  __m128i far;
};

AVX2 inline Neighbours NeighboursOf(__m256d positions, int size) {
  const __m256d cut = _mm256_min_pd(_mm256_max_pd(positions, _mm256_set1_pd(-farPosition)),
                                    _mm256_set1_pd(farPosition));
  const __m128i whole = _mm256_cvttpd_epi32(cut);
  return {CutIndices(whole, size), CutIndices(_mm_add_epi32(whole, _mm_set1_epi32(1)), size)};
}

/// The four pixels around a position, by their places in the picture.
struct SquarePlaces {
  std::int32_t topLeft, topRight, bottomLeft, bottomRight;
};

/// The places of four squares, one square after the other.
AVX2 inline void StoreSquares(const Neighbours& x, const Neighbours& y, int pixelsPerRow,
                              SquarePlaces (&squares)[4]) {
  const __m128i stride = _mm_set1_epi32(pixelsPerRow);
  const __m128i top = _mm_mullo_epi32(y.near, stride);
  const __m128i bottom = _mm_mullo_epi32(y.far, stride);
  const __m128i topLeft = _mm_add_epi32(top, x.near), topRight = _mm_add_epi32(top, x.far);
  const __m128i bottomLeft = _mm_add_epi32(bottom, x.near);
  const __m128i bottomRight = _mm_add_epi32(bottom, x.far);
  const __m128i top01 = _mm_unpacklo_epi32(topLeft, topRight);
  const __m128i top23 = _mm_unpackhi_epi32(topLeft, topRight);
  const __m128i bottom01 = _mm_unpacklo_epi32(bottomLeft, bottomRight);
  const __m128i bottom23 = _mm_unpackhi_epi32(bottomLeft, bottomRight);
  auto* out = reinterpret_cast<__m128i*>(squares);
  _mm_store_si128(out, _mm_unpacklo_epi64(top01, bottom01));
  _mm_store_si128(out + 1, _mm_unpackhi_epi64(top01, bottom01));
  _mm_store_si128(out + 2, _mm_unpacklo_epi64(top23, bottom23));
  _mm_store_si128(out + 3, _mm_unpackhi_epi64(top23, bottom23));
}

/// Calls `mix` with the squares of `count` pixels, four at a time, and gives back how many pixels
/// were drawn.
template <class Mix>
AVX2 inline int MixSquares(std::uint32_t* target, const TransformRow& row, int first, int count,
                           Mix mix) {
  int i = 0;
  __m256d columns = _mm256_add_pd(_mm256_set1_pd(first), _mm256_setr_pd(0, 1, 2, 3));
  for (; i + 4 <= count; i += 4) {
    const __m256d atX = PositionsOf(columns, row.stepX, row.rowX, row.offsetX);
    const __m256d atY = PositionsOf(columns, row.stepY, row.rowY, row.offsetY);
    columns = _mm256_add_pd(columns, _mm256_set1_pd(4));
    alignas(16) SquarePlaces places[4];
    StoreSquares(NeighboursOf(atX, row.width), NeighboursOf(atY, row.height), row.pixelsPerRow,
                 places);
    alignas(32) double fx[4], fy[4];
    _mm256_store_pd(fx, FractionsOf(atX));
    _mm256_store_pd(fy, FractionsOf(atY));
    for (int k = 0; k < 4; ++k) {
      target[i + k] = mix(SampleSquare{
          row.pixels[places[k].topLeft], row.pixels[places[k].topRight],
          row.pixels[places[k].bottomLeft], row.pixels[places[k].bottomRight], fx[k], fy[k]});
    }
  }
  return i;
}

/// Most squares are present as a whole, or absent.
AVX2 inline std::uint32_t MixPresentSquare(SampleSquare square) {
  const std::uint32_t nearest = square.topLeft;
  if (!IsPresent(square.topLeft & square.topRight & square.bottomLeft & square.bottomRight)) {
    if (!IsPresent(square.topLeft | square.topRight | square.bottomLeft | square.bottomRight)) {
      return 0;
    }
    FillAbsent(square);
  }
  return WithPresence(MixSquare(square), nearest);
}

}  // namespace

AVX2 void avx2::TransformPlain(std::uint32_t* target, const TransformRow& row, int first,
                               int count) {
  const __m128i stride = _mm_set1_epi32(row.pixelsPerRow);
  int i = 0;
  __m256d columns = _mm256_add_pd(_mm256_set1_pd(first), _mm256_setr_pd(0, 1, 2, 3));
  for (; i + 4 <= count; i += 4) {
    const Neighbours x =
        NeighboursOf(PositionsOf(columns, row.stepX, row.rowX, row.offsetX), row.width);
    const Neighbours y =
        NeighboursOf(PositionsOf(columns, row.stepY, row.rowY, row.offsetY), row.height);
    columns = _mm256_add_pd(columns, _mm256_set1_pd(4));
    alignas(16) std::int32_t places[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(places),
                    _mm_add_epi32(_mm_mullo_epi32(y.near, stride), x.near));
    for (int k = 0; k < 4; ++k) target[i + k] = row.pixels[places[k]];
  }
  PlainKernels().transformPlain(target + i, row, first + i, count - i);
}

AVX2 void avx2::TransformSmooth(std::uint32_t* target, const TransformRow& row, int first,
                                int count) {
  const int drawn = MixSquares(target, row, first, count, MixSquare);
  PlainKernels().transformSmooth(target + drawn, row, first + drawn, count - drawn);
}

AVX2 void avx2::TransformPresent(std::uint32_t* target, const TransformRow& row, int first,
                                 int count) {
  const int drawn = MixSquares(target, row, first, count, MixPresentSquare);
  PlainKernels().transformPresent(target + drawn, row, first + drawn, count - drawn);
}

}  // namespace quillmere

#endif
