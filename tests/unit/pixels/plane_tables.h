// What each operation on planes does to one pixel, one bit or one byte, in the plainest form: the
// fast loops are compared with these.
#pragma once

#include <cstdint>

#include "pixels/mask_ops.h"

namespace quillmere::test {

/// d + (((s - d) * a) >> 8) in each byte.
inline std::uint32_t MixBytes(std::uint32_t d, std::uint32_t s, int a) {
  std::uint32_t out = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    const int from = static_cast<int>(d >> shift & 255), to = static_cast<int>(s >> shift & 255);
    out |= static_cast<std::uint32_t>((from + (((to - from) * a) >> 8)) & 255) << shift;
  }
  return out;
}

inline std::uint32_t Blended(std::uint32_t d, std::uint32_t s, int a) {
  if (a == 0) return d;
  return a == 255 ? s : MixBytes(d, s, a);
}

/// The table of `CopyMask`, bit by bit.
inline bool CopiedBit(MaskMode mode, bool d, bool s) {
  switch (mode) {
    case MASKVISIBLE:
      return s ? true : d;
    case MASKINVISIBLE:
      return s ? false : d;
    case MASKVANILLACOPY:
      return s;
    case MASKXOR:
      return d != s;
    case MASKAND:
      return d && s;
    case MASKOR:
      return d || s;
  }
  return d;
}

/// The table of `FillMask`.
inline bool FilledBit(MaskMode mode, bool d) {
  if (mode == MASKINVISIBLE) return false;
  if (mode == MASKXOR) return !d;
  return mode == MASKAND ? d : true;
}

/// The table of `AlphaToMask`.
inline bool BitOfAlpha(MaskMode mode, bool d, std::uint8_t s) {
  const bool set = s == 255;
  switch (mode) {
    case MASKVISIBLE:
    case MASKVANILLACOPY:
      return set;
    case MASKINVISIBLE:
      return !set;
    case MASKXOR:
      return set ? !d : d;
    case MASKAND:
      return d;
    case MASKOR:
      return d || set;
  }
  return d;
}

/// The table of `CopyAlpha`.
inline int CopiedByte(AlphaCopyMode mode, int d, int s, int value) {
  switch (mode) {
    case AlphaCopyMode::Copy:
      return s;
    case AlphaCopyMode::CopyVisible:
      return s != 0 ? s : d;
    case AlphaCopyMode::Invert:
      return s != 0 ? 255 - s : d;
    case AlphaCopyMode::Opaque:
      return s != 0 ? 255 : d;
    case AlphaCopyMode::Scale:
      return s != 0 ? s * value / 255 : d;
    case AlphaCopyMode::InvertInside:
      return s != 0 && d != 0 ? 255 - s : d;
    case AlphaCopyMode::Value:
      return s != 0 ? value : d;
    case AlphaCopyMode::CopyInside:
      return s != 0 && d != 0 ? s : 0;
  }
  return d;
}

}  // namespace quillmere::test
