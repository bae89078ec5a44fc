// Numbers as scripts see them in text: "%.14g".
#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string_view>

#include "vm/table.h"

namespace quillmere {

/// The text of a number, with a short way for integers.
class NumberDigits {
 public:
  explicit NumberDigits(double number) {
    std::int32_t integer = 0;
    if (ToExactInt(number, integer) && (integer != 0 || !std::signbit(number))) {
      length_ = static_cast<std::size_t>(
          std::to_chars(text_.data(), text_.data() + text_.size(), integer).ptr - text_.data());
    } else if (std::isnan(number)) {
      length_ = static_cast<std::size_t>(std::snprintf(text_.data(), text_.size(), "nan"));
    } else {
      length_ =
          static_cast<std::size_t>(std::snprintf(text_.data(), text_.size(), "%.14g", number));
    }
  }

  [[nodiscard]] std::string_view View() const { return {text_.data(), length_}; }

 private:
  std::array<char, 32> text_;
  std::size_t length_ = 0;
};

}  // namespace quillmere
