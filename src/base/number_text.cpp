#include "base/number_text.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string>

namespace quillmere {
namespace {

constexpr std::uint64_t largestUnsigned = 0xFFFFFFFFu;

int DigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'z') return c - 'a' + 10;
  if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
  return 36;
}

bool IsDecimalDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The digits behind a prefix of `prefixLength` characters.
Result<NumberText> ParsePrefixed(std::string_view text, std::size_t prefixLength, int base) {
  const std::optional<NumberText> digits = ParseDigits(text.substr(prefixLength), base);
  if (!digits) return Fail(Error::SyntaxError);
  return NumberText{digits->value, digits->length + prefixLength};
}

Result<NumberText> ParseUnsignedText(std::string_view text) {
  if (text.starts_with('$')) return ParsePrefixed(text, 1, 16);
  if (text.starts_with('%')) return ParsePrefixed(text, 1, 2);
  if (text.starts_with("0x")) return ParsePrefixed(text, 2, 16);
  if (text.starts_with('-') || text.starts_with('+')) return Fail(Error::ValueExpected);
  const std::optional<NumberText> decimal = ParseDecimal(text);
  if (!decimal) return Fail(Error::ValueExpected);
  return *decimal;
}

}  // namespace

std::optional<NumberText> ParseDigits(std::string_view text, int base) {
  std::uint64_t value = 0;
  std::size_t length = 0;
  for (; length < text.size() && DigitValue(text[length]) < base; ++length) {
    value = std::min(
        value * static_cast<unsigned>(base) + static_cast<unsigned>(DigitValue(text[length])),
        largestUnsigned);
  }
  if (length == 0) return std::nullopt;
  return NumberText{static_cast<double>(value), length};
}

std::optional<NumberText> ParseDecimal(std::string_view text) {
  const std::size_t sign = text.starts_with('-') || text.starts_with('+') ? 1 : 0;
  const std::string_view digits = text.substr(sign);
  const std::size_t first = digits.starts_with('.') ? 1 : 0;
  if (digits.size() <= first || !IsDecimalDigit(digits[first])) return std::nullopt;
  double value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  const auto length = static_cast<std::size_t>(end - digits.data());
  if (error == std::errc::result_out_of_range) {
    value = std::strtod(std::string(digits.substr(0, length)).c_str(), nullptr);
  }
  return NumberText{text.starts_with('-') ? -value : value, length + sign};
}

Result<NumberText> ParseNumberText(std::string_view text) {
  const bool isNegative = text.starts_with('-');
  const NumberText number = TRY(ParseUnsignedText(text.substr(isNegative ? 1 : 0)));
  if (!isNegative) return number;
  return NumberText{-number.value, number.length + 1};
}

}  // namespace quillmere
