#include "frame/argument_line.h"

#include <algorithm>
#include <cctype>

#include "base/number_text.h"
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
      line_[option->slot].emplace("1");
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
  if (line.size() > argumentLineLimit) return Fail(Error::WrongArguments);
  return LineReader(line).Run();
}

Result<NumberArgument> ParseNumberArgument(std::string_view text) {
  const NumberText number = TRY(ParseNumberText(text));
  // A positive number in hexadecimal or binary digits may be a colour whose top bit is set.
  const bool isPattern = text.starts_with('$') || text.starts_with('%') || text.starts_with("0x");
  const std::int32_t value =
      isPattern ? static_cast<std::int32_t>(ToUInt32(number.value)) : ToInt32(number.value);
  return NumberArgument{value, text.substr(number.length)};
}

}  // namespace quillmere
