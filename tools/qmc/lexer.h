// From the bytes of a script to its words, included files taken in where they are named.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "qmc/diagnostics.h"
#include "qmc/names.h"
#include "qmc/source.h"
#include "qmc/token.h"

namespace quillmere::qmc {

/// The longest name of a variable, function, label or constant.
inline constexpr std::size_t maxNameLength = 64;

/// Reads a script, and the files it includes, into one list of tokens. Newlines are tokens, one for
/// each run of them. Names of every kind come folded to lower case.
class Lexer {
 public:
  Lexer(NameTable& names, Sources& sources, Diagnostics& diagnostics);

  /// All tokens of a file that `sources` holds, closed by `EndOfFile`. Enters the stretches of
  /// lines into `sources`. What can't be read is reported and passed over.
  std::vector<Token> Run(std::uint32_t file);

 private:
  struct Cursor {
    std::uint32_t file = 0;
    std::string_view text;
    std::size_t at = 0;
    /// The line in the file, from 1.
    std::uint32_t fileLine = 1;
    /// Where the running stretch began.
    std::uint32_t stretchFirst = 0;
    std::uint32_t stretchBase = 0;
  };

  void ReadFile(std::uint32_t file);
  void ReadToken();
  void ReadSign(char c);
  void ReadName(std::size_t start);
  void ReadConstant(std::size_t start);
  void ReadDirective(std::size_t start);
  void ReadInclude(std::size_t start);
  void ReadNumber(std::size_t start);
  void ReadHexadecimal(std::size_t start, std::size_t digits);
  void ReadBinary(std::size_t start);
  void ReadString(std::size_t start);
  void ReadCharacter(std::size_t start);
  void SkipComment();
  void NewLine();
  void StartStretch();
  void EndStretch();

  /// The characters up to `quote` with escapes resolved; nothing when the line ends before it.
  std::optional<std::string> ReadQuoted(char quote, std::size_t start);
  void ReadEscape(std::string& text);

  [[nodiscard]] char Peek(std::size_t ahead = 0) const {
    const std::size_t at = cursor_.at + ahead;
    return at < cursor_.text.size() ? cursor_.text[at] : '\0';
  }
  [[nodiscard]] bool AtEnd() const { return cursor_.at >= cursor_.text.size(); }
  [[nodiscard]] Position At(std::size_t offset) const {
    return {cursor_.file, static_cast<std::uint32_t>(offset)};
  }
  [[nodiscard]] bool AtLineStart() const;
  /// Whether the last token can end a value, so that a sign behind it is an operator.
  [[nodiscard]] bool BehindValue() const;

  /// The folded name that begins at `from`, which moves the cursor behind it.
  Name TakeName(std::size_t from);
  Token& Push(TokenKind kind, std::size_t start);
  void PushNumber(std::size_t start, double value);
  void Report(std::size_t offset, Error code, std::string argument = {}) {
    diagnostics_.Report(At(offset), code, std::move(argument));
  }

  NameTable& names_;
  Sources& sources_;
  Diagnostics& diagnostics_;
  Cursor cursor_;
  std::vector<Token> tokens_;
  /// The line in the numbering of the compiled script.
  std::uint32_t line_ = 1;
  /// Where the last token ends: the place of the line end behind it.
  std::size_t lastEnd_ = 0;
  std::size_t includeDepth_ = 0;
  Name includeName_;
  std::string scratch_;
};

}  // namespace quillmere::qmc
