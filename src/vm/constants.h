// The constants that scripts write with a leading "#", looked up by name at run time.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"
#include "vm/vm.h"

namespace quillmere {

/// The value of a constant: a text, or a number when there is no text.
struct VmConstant {
  std::optional<std::string> text;
  double number = 0;
};

/// Finds a constant by its name in any case, without "#": first among those of the libraries, then
/// among those of the applet.
[[nodiscard]] std::optional<VmConstant> vmFindConstant(VmState& state, std::string_view name);

/// A constant at the front of a text.
struct VmConstantText {
  VmConstant constant;
  /// The length of its name, "#" included.
  std::size_t length = 0;
};

/// Reads "#" and a name of at most 64 letters, digits, `_`, `$` and `!` from the front of a text.
/// `Error::WrongUsage` without a "#", `Error::SyntaxError` when the name does not begin with a
/// letter or `_`, `Error::ConstantNotFound` for an unknown name.
[[nodiscard]] Result<VmConstantText> ParseConstantName(VmState& state, std::string_view text);

}  // namespace quillmere
