// What the files of the AVX2 kernels share. Only they include it, on processors of that family.
#pragma once

#include <immintrin.h>

#include "pixels/kernels.h"

/// Marks a function that may use AVX2, whatever the rest of the program is compiled for.
#define AVX2 __attribute__((target("avx2")))

namespace quillmere::avx2 {

/// The row kernels of the same names.
void TransformPlain(std::uint32_t* target, const TransformRow& row, int first, int count);
void TransformSmooth(std::uint32_t* target, const TransformRow& row, int first, int count);
void TransformPresent(std::uint32_t* target, const TransformRow& row, int first, int count);

}  // namespace quillmere::avx2
