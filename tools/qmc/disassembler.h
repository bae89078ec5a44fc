// Bytecode as text: every function with its instructions, lines, constants and names.
#pragma once

#include <string>

#include "vm/image.h"

namespace quillmere::qmc {

/// Lists a function and the functions inside it.
[[nodiscard]] std::string Disassemble(const ImageFunction& function);

}  // namespace quillmere::qmc
