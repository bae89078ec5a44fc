// The command line as text: from the process's arguments to named values.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "files/run_info.h"
#include "frame/option_table.h"

namespace quillmere {

/// The longest command line, in bytes.
inline constexpr std::size_t argumentLineLimit = 4096;

/// What a command line says, not yet weighed.
struct ArgumentLine {
  std::optional<std::string> fileName;
  std::array<std::optional<std::string>, static_cast<std::size_t>(Slot::count)> slots;
  std::vector<UserArgument> userArgs;

  [[nodiscard]] const std::optional<std::string>& operator[](Slot slot) const {
    return slots[static_cast<std::size_t>(slot)];
  }
  [[nodiscard]] std::optional<std::string>& operator[](Slot slot) {
    return slots[static_cast<std::size_t>(slot)];
  }
  [[nodiscard]] bool Has(Slot slot) const { return (*this)[slot].has_value(); }
};

/// Joins the arguments behind the program's name into one line: those that do not begin with "-"
/// stand in double quotes. A line that is too long is `Error::WrongArguments`.
[[nodiscard]] Result<std::string> JoinArguments(std::span<const char* const> arguments);

/// Reads a line of switches, values and one file name. A switch that takes no argument gets the
/// value "1". Errors, a line that is too long among them, are `Error::WrongArguments`.
[[nodiscard]] Result<ArgumentLine> ParseArgumentLine(std::string_view line);

/// A number at the begin of an option's value.
struct NumberArgument {
  std::int32_t value = 0;
  /// What stands behind the number.
  std::string_view rest;
};

/// Reads a number: an optional "-", then "$" or "0x" with hexadecimal digits, "%" with binary
/// digits, or a decimal number, cut to an integer. A prefix without digits is `Error::SyntaxError`,
/// anything else `Error::ValueExpected`.
[[nodiscard]] Result<NumberArgument> ParseNumberArgument(std::string_view text);

}  // namespace quillmere
