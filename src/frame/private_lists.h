// The lists of commands and constants that the tools of the language are made with.
#pragma once

#include <string>

#include "base/error.h"
#include "vm/vm.h"

namespace quillmere {

/// Writes the commands of all open libraries: for each library "::NAME", the count and the names,
/// one a line, and "::end" at the end. `Error::CannotWriteFile` with the path.
[[nodiscard]] Status WriteCommandList(VmState& state, const std::string& path);

/// Writes the names of all constants, sorted, one a line.
[[nodiscard]] Status WriteConstantList(VmState& state, const std::string& path);

}  // namespace quillmere
