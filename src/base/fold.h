// Case in Latin-1: every comparison of names that ignores case goes through this table.
#pragma once

#include <string>
#include <string_view>

namespace quillmere {

/// The lower-case form of a Latin-1 character; the letters are A to Z, and 0xC0 to 0xDD without
/// 0xD7.
[[nodiscard]] constexpr unsigned char FoldLower(unsigned char c) {
  const bool ascii = c >= 'A' && c <= 'Z';
  const bool latin = c >= 0xC0 && c <= 0xDD && c != 0xD7;
  return ascii || latin ? static_cast<unsigned char>(c + 0x20) : c;
}

/// The upper-case form of a Latin-1 character.
[[nodiscard]] constexpr unsigned char FoldUpper(unsigned char c) {
  const bool ascii = c >= 'a' && c <= 'z';
  const bool latin = c >= 0xE0 && c <= 0xFD && c != 0xF7;
  return ascii || latin ? static_cast<unsigned char>(c - 0x20) : c;
}

[[nodiscard]] std::string FoldLower(std::string_view text);
[[nodiscard]] std::string FoldUpper(std::string_view text);

/// Compares without case.
[[nodiscard]] bool EqualsFolded(std::string_view a, std::string_view b);

}  // namespace quillmere
