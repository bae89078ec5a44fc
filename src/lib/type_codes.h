// The numbers by which scripts name kinds of values.
#pragma once

#include <cstdint>

namespace quillmere::type_code {

inline constexpr std::int32_t Nil = 0;
/// Also the width of a bit command: 32 bits.
inline constexpr std::int32_t Integer = 1;
inline constexpr std::int32_t Number = 2;
inline constexpr std::int32_t String = 3;
inline constexpr std::int32_t Table = 4;
inline constexpr std::int32_t Function = 5;
/// 16 bits.
inline constexpr std::int32_t Short = 6;
/// 8 bits.
inline constexpr std::int32_t Byte = 7;
inline constexpr std::int32_t Userdata = 8;
inline constexpr std::int32_t LightUserdata = 9;
inline constexpr std::int32_t Thread = 10;

}  // namespace quillmere::type_code
