// Arithmetic on constants at compile time, with the results that the machine would give.
#pragma once

#include <optional>
#include <string>

#include "qmc/ast.h"

namespace quillmere::qmc {

/// The result, or nothing where only the machine may decide: a division by zero, a result that is
/// no finite number. `Concat` is not for numbers.
[[nodiscard]] std::optional<double> FoldBinary(BinaryOp op, double a, double b);
[[nodiscard]] double FoldUnary(UnaryOp op, double a);
[[nodiscard]] bool FoldCompare(CompareOp op, double a, double b);
/// A number as text, as joining it to a text gives it.
[[nodiscard]] std::string NumberText(double value);

}  // namespace quillmere::qmc
