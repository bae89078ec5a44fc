// The work behind the string commands, on plain texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"

namespace quillmere {

/// Looks for one text in others, with or without regard to case. The case is that of Latin-1.
class TextFinder {
 public:
  /// Both texts must outlive the finder. With `caseSensitive` false it keeps folded copies.
  TextFinder(std::string_view text, std::string_view sought, bool caseSensitive);

  TextFinder(const TextFinder&) = delete;
  TextFinder& operator=(const TextFinder&) = delete;

  /// The position of the first match at or behind `start`, `std::string_view::npos` when there is
  /// none. An empty text is never found, and nothing is found in one.
  [[nodiscard]] std::size_t Find(std::size_t start) const;

  /// How many matches lie at or behind `start`, none overlapping another.
  [[nodiscard]] std::size_t Count(std::size_t start) const;

 private:
  std::string foldedText_;
  std::string foldedSought_;
  std::string_view text_;
  std::string_view sought_;
};

/// Replaces each match of `sought` at or behind `start`, none overlapping another. A result that no
/// string can hold is `Error::OutOfMemory`.
[[nodiscard]] Result<std::string> ReplaceText(std::string_view text, std::string_view sought,
                                              std::string_view replacement, bool caseSensitive,
                                              std::size_t start);

/// Reads a whole text as an unsigned number in a base from 2 to 36: white space, an optional sign,
/// for base 16 an optional `0x`, digits, white space. A negative value counts as its 32 bits, one
/// beyond 32 bits stays at 4294967295. Anything else gives 0.
[[nodiscard]] double NumberInBase(std::string_view text, int base);

/// A number as binary digits, highest bit first, `width` of them.
[[nodiscard]] std::string BinaryText(std::uint32_t number, int width);

/// Cuts the text of a number behind its point: `decimals` above 0 keeps that many characters, 0
/// takes the point away too, below 0 keeps the point alone.
[[nodiscard]] std::string_view CutDecimals(std::string_view number, std::int32_t decimals);

}  // namespace quillmere
