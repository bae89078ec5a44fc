#include "qmc/folding.h"

#include <cmath>
#include <cstdio>

#include "base/numbers.h"

namespace quillmere::qmc {
namespace {

/// Only finite numbers are folded, so the ends of the range are all that truncation must settle.
std::uint32_t ToUnsigned(double value) {
  if (value >= 2147483648.0) {
    return static_cast<std::uint32_t>(ToInt32(value - 2147483648.0)) + 0x80000000u;
  }
  return static_cast<std::uint32_t>(ToInt32(value));
}

std::optional<double> DivideInteger(double a, double b, bool wantsRemainder) {
  const std::int64_t divisor = ToInt32(b);
  if (divisor == 0) return std::nullopt;
  const std::int64_t quotient = ToInt32(a) / divisor;
  // The lowest number divided by -1 has no quotient of its width.
  if (quotient > 2147483647) return std::nullopt;
  if (!wantsRemainder) return static_cast<double>(quotient);
  return static_cast<double>(ToInt32(a) - quotient * divisor);
}

double Shift(double a, double b, bool left) {
  const std::uint32_t count = static_cast<std::uint32_t>(ToInt32(b)) & 63;
  if (count > 31) return 0;
  return left ? ToUnsigned(a) << count : ToUnsigned(a) >> count;
}

std::optional<double> Compute(BinaryOp op, double a, double b) {
  switch (op) {
    case BinaryOp::Add:
      return a + b;
    case BinaryOp::Subtract:
      return a - b;
    case BinaryOp::Multiply:
      return a * b;
    case BinaryOp::Divide:
      if (b == 0) return std::nullopt;
      return a / b;
    case BinaryOp::DivideInteger:
      return DivideInteger(a, b, false);
    case BinaryOp::Modulo:
      return DivideInteger(a, b, true);
    case BinaryOp::ShiftLeft:
      return Shift(a, b, true);
    case BinaryOp::ShiftRight:
      return Shift(a, b, false);
    case BinaryOp::BitOr:
      return ToUnsigned(a) | ToUnsigned(b);
    case BinaryOp::BitAnd:
      return ToUnsigned(a) & ToUnsigned(b);
    case BinaryOp::BitXor:
      return ToUnsigned(a) ^ ToUnsigned(b);
    case BinaryOp::Power:
      return std::pow(a, b);
    case BinaryOp::Concat:
      break;
  }
  return std::nullopt;
}

}  // namespace

std::optional<double> FoldBinary(BinaryOp op, double a, double b) {
  if (!std::isfinite(a) || !std::isfinite(b)) return std::nullopt;
  const std::optional<double> result = Compute(op, a, b);
  if (result && !std::isfinite(*result)) return std::nullopt;
  return result;
}

double FoldUnary(UnaryOp op, double a) {
  return op == UnaryOp::Negate ? -a : static_cast<double>(~ToUnsigned(a));
}

bool FoldCompare(CompareOp op, double a, double b) {
  switch (op) {
    case CompareOp::Equal:
      return a == b;
    case CompareOp::NotEqual:
      return a != b;
    case CompareOp::Less:
      return a < b;
    case CompareOp::LessEqual:
      return a <= b;
    case CompareOp::Greater:
      return a > b;
    case CompareOp::GreaterEqual:
      return a >= b;
  }
  return false;
}

std::string NumberText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.14g", value);
  return text;
}

}  // namespace quillmere::qmc
