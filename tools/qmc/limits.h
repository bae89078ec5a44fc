// The limits of the compiler, each with its reason.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vm/limits.h"

namespace quillmere::qmc {

/// Blocks, brackets and functions inside one another: they are walked on the native stack, and the
/// image reader takes no more functions than this.
inline constexpr int maxSyntaxLevels = 190;
/// Levels of the tree of a value: they are walked on the native stack too.
inline constexpr std::uint32_t maxDepth = 1000;
/// Texts that one instruction joins: they stand in registers side by side.
inline constexpr std::size_t maxJoin = 40;
/// Locals of a function at one place; what is left of the registers serves expressions.
inline constexpr int maxLocals = 200;
/// A closure counts its upvalues in one byte.
inline constexpr std::size_t maxUpvalues = 255;
/// A function counts its parameters in one byte, and they are locals.
inline constexpr std::size_t maxParameters = 100;
/// Entries of a list that one constructor can fill: the field that counts them has 18 bits.
inline constexpr std::size_t maxListItems = (1u << 18) - vmListBatch;

/// Registers that a `For In` loop takes beside its variables: the function and what it walks, and,
/// behind the variables, room for the call that steps it.
[[nodiscard]] constexpr int HiddenRegistersOfForIn(std::size_t variables) {
  return 2 + (variables > 3 ? static_cast<int>(variables) : 3);
}

}  // namespace quillmere::qmc
