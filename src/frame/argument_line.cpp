#include "frame/argument_line.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "base/numbers.h"

namespace quillmere {
namespace {

bool IsNameCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

/// Takes a line apart, token by token.
class LineReader {
 public:
  explicit LineReader(std::string_view line) : rest_(line) {}

  Result<ArgumentLine> Run() {
    for (;;) {
      rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
      if (rest_.empty()) break;
      if (rest_.front() == '-') {
        TRY(Switch());
      } else {
        std::string token = TRY(Token());
        TRY(Give(std::move(token)));
      }
    }
    if (waitingOption_) return Fail(Error::WrongArguments);
    return std::move(line_);
  }

 private:
  Status Switch() {
    if (waitingOption_) return Fail(Error::WrongArguments);
    rest_.remove_prefix(1);
    std::size_t length = 0;
    while (length < rest_.size() && IsNameCharacter(rest_[length])) ++length;
    const std::string_view name = rest_.substr(0, length);
    // The character behind the name is used up, whatever it is.
    rest_.remove_prefix(std::min(length + 1, rest_.size()));
    const OptionRow* option = FindOption(name);
    if (option == nullptr) {
      line_.userArgs.push_back({std::string(name), std::nullopt});
      userArgumentWaits_ = true;
    } else if (option->takesArgument) {
      waitingOption_ = option;
    } else {
      line_[option->slot] = "1";
    }
    return {};
  }

  Result<std::string> Token() {
    const bool quoted = rest_.front() == '"';
    if (quoted) rest_.remove_prefix(1);
    std::size_t end = rest_.find(quoted ? '"' : ' ');
    if (end == std::string_view::npos) {
      if (quoted) return Fail(Error::WrongArguments);
      end = rest_.size();
    }
    std::string token(rest_.substr(0, end));
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    return token;
  }

  Status Give(std::string token) {
    if (waitingOption_ != nullptr) {
      line_[waitingOption_->slot] = std::move(token);
      waitingOption_ = nullptr;
    } else if (userArgumentWaits_) {
      line_.userArgs.back().value = std::move(token);
      userArgumentWaits_ = false;
    } else if (!line_.fileName) {
      line_.fileName = std::move(token);
    } else {
      return Fail(Error::WrongArguments);
    }
    return {};
  }

  std::string_view rest_;
  ArgumentLine line_;
  const OptionRow* waitingOption_ = nullptr;
  bool userArgumentWaits_ = false;
};

Result<NumberArgument> ParseWhole(std::string_view digits, int base, bool negative) {
  std::uint64_t value = 0;
  const char* end = digits.data() + digits.size();
  const auto [rest, error] = std::from_chars(digits.data(), end, value, base);
  if (rest == digits.data()) return Fail(Error::SyntaxError);
  const double magnitude =
      error == std::errc() ? static_cast<double>(value) : static_cast<double>(UINT64_MAX);
  // Colours with their top bit set keep their bits.
  const auto number =
      negative ? ToInt32(-magnitude) : static_cast<std::int32_t>(ToUInt32(magnitude));
  return NumberArgument{number, {rest, static_cast<std::size_t>(end - rest)}};
}

Result<NumberArgument> ParseDecimal(std::string_view text, bool negative) {
  const bool startsFraction =
      text.size() > 1 && text[0] == '.' && std::isdigit(static_cast<unsigned char>(text[1])) != 0;
  if (text.empty() ||
      (std::isdigit(static_cast<unsigned char>(text.front())) == 0 && !startsFraction)) {
    return Fail(Error::ValueExpected);
  }
  double value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
  if (error != std::errc()) value = 1e300;
  return NumberArgument{ToInt32(negative ? -value : value),
                        {rest, static_cast<std::size_t>(end - rest)}};
}

}  // namespace

Result<std::string> JoinArguments(std::span<const char* const> arguments) {
  std::string line;
  for (const char* argument : arguments) {
    const std::string_view text = argument;
    if (!line.empty()) line += ' ';
    if (text.starts_with('-')) {
      line += text;
    } else {
      line += '"';
      line += text;
      line += '"';
    }
    if (line.size() > argumentLineLimit) return Fail(Error::WrongArguments);
  }
  return line;
}

Result<ArgumentLine> ParseArgumentLine(std::string_view line) {
  return LineReader(line).Run();
}

Result<NumberArgument> ParseNumberArgument(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  if (text.starts_with('$')) return ParseWhole(text.substr(1), 16, negative);
  if (text.starts_with('%')) return ParseWhole(text.substr(1), 2, negative);
  if (text.starts_with("0x") || text.starts_with("0X")) {
    return ParseWhole(text.substr(2), 16, negative);
  }
  return ParseDecimal(text, negative);
}

}  // namespace quillmere
