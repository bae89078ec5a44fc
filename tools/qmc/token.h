// The words that a script is made of.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "qmc/names.h"
#include "qmc/source.h"

namespace quillmere::qmc {

enum class TokenKind : std::uint8_t {
#define K(name, text) name,
#include "qmc/keywords.def"
#undef K
  // Words with a text or a value.
  Identifier,
  Number,
  String,
  /// `#NAME`
  Constant,
  /// `@NAME`, at the start of a line
  Directive,
  // Signs.
  Plus,
  Minus,
  Star,
  Slash,
  Backslash,
  Percent,
  Caret,
  ShiftLeft,
  ShiftRight,
  Ampersand,
  Bar,
  Tilde,
  Concat,
  Ellipsis,
  Equal,
  NotEqual,
  Less,
  LessEqual,
  Greater,
  GreaterEqual,
  Comma,
  Dot,
  Arrow,
  OpenBracket,
  CloseBracket,
  OpenSquare,
  CloseSquare,
  OpenBrace,
  CloseBrace,
  // What separates commands.
  Colon,
  Newline,
  EndOfFile
};

inline constexpr std::array keywordTexts = {
#define K(name, text) std::string_view(text),
#include "qmc/keywords.def"
#undef K
};

[[nodiscard]] constexpr bool IsKeyword(TokenKind kind) {
  return kind < TokenKind::Identifier;
}

struct Token {
  TokenKind kind = TokenKind::EndOfFile;
  /// The line in the numbering of the compiled script.
  std::uint32_t line = 0;
  Position position;
  union {
    /// Of a name, constant or directive in lower case, of a keyword, or of a string literal.
    Name name = 0;
    double number;
  };
};

}  // namespace quillmere::qmc
