// Numbers as people write them in scripts and on the command line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/error.h"

namespace quillmere {

/// A number that was read from the front of a text.
struct NumberText {
  double value = 0;
  /// How many characters belong to it.
  std::size_t length = 0;
};

/// Reads a number from the front of a text: an optional `-`, then `$` or `0x` and hexadecimal
/// digits, `%` and binary digits, or a decimal number with an optional fraction and exponent. A
/// prefixed value beyond 32 bits stays at 4294967295. A prefix without digits is
/// `Error::SyntaxError`, a text that starts otherwise `Error::ValueExpected`.
[[nodiscard]] Result<NumberText> ParseNumberText(std::string_view text);

/// Reads the digits of a base from 2 to 36 from the front of a text, no sign, blank or prefix. A
/// value beyond 32 bits stays at 4294967295. Nothing when there is no digit.
[[nodiscard]] std::optional<NumberText> ParseDigits(std::string_view text, int base);

/// Reads a decimal floating point number from the front of a text, without blanks, prefix, "inf" or
/// "nan"; one sign may stand in front. Nothing when there is none.
[[nodiscard]] std::optional<NumberText> ParseDecimal(std::string_view text);

}  // namespace quillmere
