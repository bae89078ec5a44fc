#include "qmc/lexer.h"

#include <array>
#include <charconv>

#include "base/fold.h"

namespace quillmere::qmc {
namespace {

constexpr std::size_t maxIncludeDepth = 32;

enum CharClass : std::uint8_t { blank = 1, digit = 2, nameStart = 4, nameRest = 8, hexDigit = 16 };

constexpr std::array<std::uint8_t, 256> MakeClasses() {
  std::array<std::uint8_t, 256> classes{};
  for (int c = 0; c < 256; ++c) {
    std::uint8_t mask = 0;
    const bool isDigit = c >= '0' && c <= '9';
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c >= 0x80;
    if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') mask |= blank;
    if (isDigit) mask |= digit;
    if (isDigit || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F')) mask |= hexDigit;
    if (isLetter || c == '_') mask |= nameStart;
    if (isLetter || isDigit || c == '_' || c == '$' || c == '!') mask |= nameRest;
    classes[static_cast<std::size_t>(c)] = mask;
  }
  return classes;
}

constexpr std::array<std::uint8_t, 256> classes = MakeClasses();

bool Is(char c, CharClass wanted) {
  return (classes[static_cast<unsigned char>(c)] & wanted) != 0;
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return (c | 0x20) - 'a' + 10;
}

}  // namespace

Lexer::Lexer(NameTable& names, Sources& sources, Diagnostics& diagnostics)
    : names_(names), sources_(sources), diagnostics_(diagnostics) {
  // Keywords come first in the table, so that a name is a keyword when its number is small.
  for (const std::string_view word : keywordTexts) names_.Intern(word);
  includeName_ = names_.Intern("include");
}

std::vector<Token> Lexer::Run(std::uint32_t file) {
  tokens_.reserve(sources_.File(file).text.size() / 4 + 16);
  ReadFile(file);
  Push(TokenKind::EndOfFile, cursor_.at);
  return std::move(tokens_);
}

void Lexer::ReadFile(std::uint32_t file) {
  cursor_ = {.file = file, .text = sources_.File(file).text};
  if (cursor_.text.starts_with("\xEF\xBB\xBF")) cursor_.at = 3;
  StartStretch();
  while (!AtEnd() && !diagnostics_.Full()) {
    const std::size_t before = tokens_.size();
    ReadToken();
    if (tokens_.size() != before) lastEnd_ = cursor_.at;
  }
  if (!AtLineStart()) Push(TokenKind::Newline, lastEnd_);
  EndStretch();
}

void Lexer::StartStretch() {
  cursor_.stretchFirst = line_;
  cursor_.stretchBase = cursor_.fileLine - 1;
}

void Lexer::EndStretch() {
  sources_.stretches.push_back({cursor_.stretchFirst, line_, cursor_.stretchBase, cursor_.file});
}

bool Lexer::AtLineStart() const {
  return tokens_.empty() || tokens_.back().kind == TokenKind::Newline;
}

bool Lexer::BehindValue() const {
  if (tokens_.empty()) return false;
  switch (tokens_.back().kind) {
    case TokenKind::Identifier:
    case TokenKind::Number:
    case TokenKind::String:
    case TokenKind::Constant:
    case TokenKind::CloseBracket:
    case TokenKind::CloseSquare:
    case TokenKind::CloseBrace:
    case TokenKind::Ellipsis:
    case TokenKind::True:
    case TokenKind::False:
    case TokenKind::Nil:
      return true;
    default:
      return false;
  }
}

Token& Lexer::Push(TokenKind kind, std::size_t start) {
  Token& token = tokens_.emplace_back();
  token.kind = kind;
  token.line = line_;
  token.position = At(start);
  return token;
}

void Lexer::PushNumber(std::size_t start, double value) {
  Push(TokenKind::Number, start).number = value;
}

void Lexer::NewLine() {
  if (!AtLineStart()) Push(TokenKind::Newline, lastEnd_);
  ++cursor_.at;
  ++cursor_.fileLine;
  ++line_;
}

void Lexer::SkipComment() {
  const std::size_t start = cursor_.at;
  cursor_.at += 2;
  while (!AtEnd()) {
    if (Peek() == '*' && Peek(1) == '/') {
      cursor_.at += 2;
      return;
    }
    if (Peek() == '\n') {
      NewLine();
    } else {
      ++cursor_.at;
    }
  }
  Report(start, Error::IncoherentCommentStructure);
}

void Lexer::ReadToken() {
  const std::size_t start = cursor_.at;
  const char c = Peek();
  if (Is(c, blank)) {
    ++cursor_.at;
  } else if (c == '\n') {
    NewLine();
  } else if (c == ';') {
    while (!AtEnd() && Peek() != '\n') ++cursor_.at;
  } else if (c == '/' && Peek(1) == '*') {
    SkipComment();
  } else if (Is(c, nameStart)) {
    ReadName(start);
  } else if (Is(c, digit) || (c == '.' && Is(Peek(1), digit) && !BehindValue())) {
    ReadNumber(start);
  } else if (c == '$') {
    ReadHexadecimal(start, start + 1);
  } else if (c == '%' && (Peek(1) == '0' || Peek(1) == '1') && !BehindValue()) {
    ReadBinary(start);
  } else if (c == '"') {
    ReadString(start);
  } else if (c == '\'') {
    ReadCharacter(start);
  } else if (c == '#') {
    ReadConstant(start);
  } else if (c == '@' && AtLineStart()) {
    ReadDirective(start);
  } else {
    ReadSign(c);
  }
}

void Lexer::ReadSign(char c) {
  const std::size_t start = cursor_.at++;
  const char next = Peek();
  const auto pair = [&](TokenKind kind) {
    ++cursor_.at;
    Push(kind, start);
  };
  switch (c) {
    case '+':
      Push(TokenKind::Plus, start);
      return;
    case '-':
      next == '>' ? pair(TokenKind::Arrow) : void(Push(TokenKind::Minus, start));
      return;
    case '*':
      Push(TokenKind::Star, start);
      return;
    case '/':
      Push(TokenKind::Slash, start);
      return;
    case '\\':
      Push(TokenKind::Backslash, start);
      return;
    case '%':
      Push(TokenKind::Percent, start);
      return;
    case '^':
      Push(TokenKind::Caret, start);
      return;
    case '&':
      Push(TokenKind::Ampersand, start);
      return;
    case '|':
      Push(TokenKind::Bar, start);
      return;
    case '~':
      Push(TokenKind::Tilde, start);
      return;
    case ',':
      Push(TokenKind::Comma, start);
      return;
    case ':':
      Push(TokenKind::Colon, start);
      return;
    case '(':
      Push(TokenKind::OpenBracket, start);
      return;
    case ')':
      Push(TokenKind::CloseBracket, start);
      return;
    case '[':
      Push(TokenKind::OpenSquare, start);
      return;
    case ']':
      Push(TokenKind::CloseSquare, start);
      return;
    case '{':
      Push(TokenKind::OpenBrace, start);
      return;
    case '}':
      Push(TokenKind::CloseBrace, start);
      return;
    case '=':
      // One sign or two: both compare.
      next == '=' ? pair(TokenKind::Equal) : void(Push(TokenKind::Equal, start));
      return;
    case '<':
      if (next == '>') return pair(TokenKind::NotEqual);
      if (next == '=') return pair(TokenKind::LessEqual);
      if (next == '<') return pair(TokenKind::ShiftLeft);
      Push(TokenKind::Less, start);
      return;
    case '>':
      if (next == '=') return pair(TokenKind::GreaterEqual);
      if (next == '>') return pair(TokenKind::ShiftRight);
      Push(TokenKind::Greater, start);
      return;
    case '.':
      if (next == '.' && Peek(1) == '.') {
        cursor_.at += 2;
        Push(TokenKind::Ellipsis, start);
      } else if (next == '.') {
        pair(TokenKind::Concat);
      } else {
        Push(TokenKind::Dot, start);
      }
      return;
    default:
      Report(start, Error::UnexpectedSymbol);
      return;
  }
}

Name Lexer::TakeName(std::size_t from) {
  const std::string_view text = cursor_.text;
  std::size_t end = from;
  while (end < text.size() && Is(text[end], nameRest)) ++end;
  cursor_.at = end;
  if (end - from > maxNameLength) Report(from, Error::VariableLengthLimited64Characters);
  scratch_.assign(text.substr(from, end - from));
  for (char& c : scratch_) c = static_cast<char>(FoldLower(static_cast<unsigned char>(c)));
  return names_.Intern(scratch_);
}

void Lexer::ReadName(std::size_t start) {
  const Name name = TakeName(start);
  const bool isKeyword = name < keywordTexts.size();
  Push(isKeyword ? static_cast<TokenKind>(name) : TokenKind::Identifier, start).name = name;
}

void Lexer::ReadConstant(std::size_t start) {
  if (!Is(Peek(1), nameStart)) {
    ++cursor_.at;
    Report(start, Error::SyntaxErrorVariableName);
    PushNumber(start, 0);
    return;
  }
  const Name name = TakeName(start + 1);
  Push(TokenKind::Constant, start).name = name;
}

void Lexer::ReadDirective(std::size_t start) {
  if (!Is(Peek(1), nameStart)) {
    ++cursor_.at;
    Report(start, Error::UnknownPreprocessorCommand);
    return;
  }
  const Name name = TakeName(start + 1);
  if (name == includeName_) {
    ReadInclude(start);
  } else {
    Push(TokenKind::Directive, start).name = name;
  }
}

void Lexer::ReadInclude(std::size_t start) {
  while (Is(Peek(), blank)) ++cursor_.at;
  const std::size_t quote = cursor_.at;
  if (Peek() != '"') {
    Report(quote, Error::StringConstantExpected);
    return;
  }
  const std::optional<std::string> name = ReadQuoted('"', quote);
  if (!name) return;
  if (includeDepth_ >= maxIncludeDepth) {
    Report(start, Error::TooManySyntaxLevels);
    return;
  }
  const std::filesystem::path path = sources_.File(cursor_.file).path.parent_path() / *name;
  Result<std::string> text = ReadWholeFile(path);
  if (!text) {
    Report(quote, text.error(), *name);
    return;
  }
  // The line of the directive belongs to this file; what follows it begins a new stretch.
  EndStretch();
  const Cursor outer = cursor_;
  ++line_;
  ++includeDepth_;
  ReadFile(sources_.Add(*name, path, *std::move(text)));
  --includeDepth_;
  cursor_ = outer;
  ++line_;
  while (!AtEnd() && (Is(Peek(), blank) || Peek() == ';')) {
    if (Peek() == ';') {
      while (!AtEnd() && Peek() != '\n') ++cursor_.at;
    } else {
      ++cursor_.at;
    }
  }
  if (Peek() == '\n') {
    ++cursor_.at;
    ++cursor_.fileLine;
  }
  StartStretch();
}

void Lexer::ReadNumber(std::size_t start) {
  const std::string_view text = cursor_.text;
  if (Peek() == '0' && (Peek(1) == 'x' || Peek(1) == 'X')) {
    ReadHexadecimal(start, start + 2);
    return;
  }
  std::size_t end = start;
  const auto digits = [&] {
    while (end < text.size() && Is(text[end], digit)) ++end;
  };
  const auto at = [&](std::size_t place) { return place < text.size() ? text[place] : '\0'; };
  digits();
  if (at(end) == '.' && at(end + 1) == '.') {
    Report(end, Error::SpaceNecessaryBetweenNumberConcatenations);
  } else if (at(end) == '.') {
    ++end;
    digits();
  }
  if (at(end) == 'e' || at(end) == 'E') {
    const std::size_t sign = at(end + 1) == '+' || at(end + 1) == '-' ? 2 : 1;
    if (Is(at(end + sign), digit)) {
      end += sign;
      digits();
    }
  }
  double value = 0;
  std::from_chars(text.data() + start, text.data() + end, value);
  const bool isBroken = Is(at(end), nameRest);
  while (end < text.size() && Is(text[end], nameRest)) ++end;
  cursor_.at = end;
  if (isBroken) Report(start, Error::IllegalNumber);
  PushNumber(start, value);
}

void Lexer::ReadHexadecimal(std::size_t start, std::size_t digits) {
  const std::string_view text = cursor_.text;
  std::size_t end = digits;
  double value = 0;
  for (; end < text.size() && Is(text[end], hexDigit); ++end)
    value = value * 16 + HexValue(text[end]);
  const bool isBroken = end == digits || (end < text.size() && Is(text[end], nameRest));
  if (isBroken) {
    Report(start, Error::InvalidHexadecimalSpecification);
  } else if (end + 1 < text.size() && text[end] == '.' && Is(text[end + 1], digit)) {
    Report(end, Error::DecimalPointUsedHexadecimalValue);
    ++end;
  }
  while (end < text.size() && Is(text[end], nameRest)) ++end;
  cursor_.at = end;
  PushNumber(start, value);
}

void Lexer::ReadBinary(std::size_t start) {
  double value = 0;
  ++cursor_.at;
  for (; Peek() == '0' || Peek() == '1'; ++cursor_.at) value = value * 2 + (Peek() - '0');
  if (Is(Peek(), nameRest)) {
    Report(start, Error::IllegalNumber);
    while (Is(Peek(), nameRest)) ++cursor_.at;
  }
  PushNumber(start, value);
}

std::optional<std::string> Lexer::ReadQuoted(char quote, std::size_t start) {
  std::string text;
  ++cursor_.at;
  while (!AtEnd() && Peek() != '\n') {
    const char c = Peek();
    if (c == quote) {
      ++cursor_.at;
      return text;
    }
    if (c == '\\') {
      ReadEscape(text);
    } else {
      text += c;
      ++cursor_.at;
    }
  }
  Report(start, Error::UnterminatedString);
  return std::nullopt;
}

void Lexer::ReadEscape(std::string& text) {
  const std::size_t start = cursor_.at++;
  const char c = Peek();
  if (Is(c, digit)) {
    int code = 0;
    for (int i = 0; i < 3 && Is(Peek(), digit); ++i)
      code = code * 10 + (cursor_.text[cursor_.at++] - '0');
    if (code > 255) Report(start, Error::CharacterCodeOutOfRange);
    text += static_cast<char>(code);
    return;
  }
  if (c == 'x' && Is(Peek(1), hexDigit) && Is(Peek(2), hexDigit)) {
    text += static_cast<char>(HexValue(Peek(1)) * 16 + HexValue(Peek(2)));
    cursor_.at += 3;
    return;
  }
  switch (c) {
    case 'n':
      text += '\n';
      break;
    case 'r':
      text += '\r';
      break;
    case 't':
      text += '\t';
      break;
    case '\\':
    case '"':
    case '\'':
      text += c;
      break;
    default:
      Report(start, Error::UnknownSequenceCharacterAfterBackslash);
      break;
  }
  if (c != '\n' && !AtEnd()) ++cursor_.at;
}

void Lexer::ReadString(std::size_t start) {
  const std::optional<std::string> text = ReadQuoted('"', start);
  Push(TokenKind::String, start).name = names_.Intern(text.value_or(""));
}

void Lexer::ReadCharacter(std::size_t start) {
  const std::optional<std::string> text = ReadQuoted('\'', start);
  if (text && text->empty()) Report(start, Error::EmptyCharacterConstantNotAllowed);
  if (text && text->size() > 1) Report(start, Error::CharacterConstantTooLong);
  PushNumber(start, text && !text->empty() ? static_cast<unsigned char>(text->front()) : 0);
}

}  // namespace quillmere::qmc
