// The arithmetic, trigonometric and bit commands, and the script's random numbers.
#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <functional>
#include <numbers>

#include "base/numbers.h"
#include "base/random.h"
#include "lib/libraries.h"
#include "lib/type_codes.h"
#include "platform/platform.h"

namespace quillmere {
namespace {

constexpr double radiansPerDegree = 0.017453292519943295;
/// Counts of shifts are cut to six bits; counts of 32 and more shift everything out.
constexpr std::uint32_t shiftCountMask = 63;

CommandResult PushNumber(VmState& state, double number) {
  vmPushNumber(state, number);
  return 1;
}

/// A command that is a function of one number.
template <double (*function)(double)>
CommandResult Unary(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return PushNumber(state, function(vmArgNumber(state, 1)));
}

/// A command that is a function of two numbers.
template <double (*function)(double, double)>
CommandResult Binary(VmState& state) {
  vmCheckArgs(state, 2, 2);
  return PushNumber(state, function(vmArgNumber(state, 1), vmArgNumber(state, 2)));
}

/// Two numbers, the second of which divides.
template <double (*function)(double, double)>
CommandResult Division(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const double dividend = vmArgNumber(state, 1);
  const double divisor = vmArgNumber(state, 2);
  if (divisor == 0) return Error::DivisionByZero;
  return PushNumber(state, function(dividend, divisor));
}

double Sign(double x) {
  return (x > 0) - (x < 0);
}
double Fraction(double x) {
  double whole;
  return std::modf(x, &whole);
}
double Truncate(double x) {
  return ToInt32(x);
}
double RoundToInt(double x) {
  return ToInt32(std::round(x));
}
double BinaryLogarithm(double x) {
  return std::log(x) / std::numbers::ln2;
}
double Logarithm(double x, double base) {
  return std::log(x) / std::log(base);
}
double ToRadians(double x) {
  return x * radiansPerDegree;
}
double ToDegrees(double x) {
  return x / radiansPerDegree;
}
double Sum(double a, double b) {
  return a + b;
}
double Difference(double a, double b) {
  return a - b;
}
double Product(double a, double b) {
  return a * b;
}
double Quotient(double a, double b) {
  return a / b;
}

CommandResult FrExp(VmState& state) {
  vmCheckArgs(state, 1, 1);
  int exponent = 0;
  const double mantissa = std::frexp(vmArgNumber(state, 1), &exponent);
  vmPushNumber(state, mantissa);
  vmPushNumber(state, exponent);
  return 2;
}

CommandResult LdExp(VmState& state) {
  vmCheckArgs(state, 2, 2);
  return PushNumber(state, std::ldexp(vmArgNumber(state, 1), vmArgInt(state, 2)));
}

/// The first argument that no other is better than.
template <class Better>
CommandResult Extreme(VmState& state) {
  vmCheckArgs(state, 2, 0);
  double best = vmArgNumber(state, 1);
  for (int i = 2; i <= vmGetTop(state); ++i) {
    const double value = vmArgNumber(state, i);
    if (Better()(value, best)) best = value;
  }
  return PushNumber(state, best);
}

CommandResult Rnd(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const std::int32_t count = vmArgInt(state, 1);
  if (count == 0) return Error::DivisionByZero;
  if (count < 0) return Error::WrongUsage;
  return PushNumber(state, qmRandomBelow(vmHost(state).random, count));
}

CommandResult RndF(VmState& state) {
  vmCheckArgs(state, 0, 0);
  return PushNumber(state, qmRandomDouble(vmHost(state).random));
}

CommandResult Rt(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const double x = vmArgNumber(state, 1);
  const double n = vmArgNumber(state, 2);
  if (ToInt32(n) == 0) return Error::DivisionByZero;
  if (ToInt32(n) < 0) return Error::WrongUsage;
  return PushNumber(state, std::pow(x, 1 / n));
}

CommandResult Wrap(VmState& state) {
  vmCheckArgs(state, 3, 3);
  const double x = vmArgNumber(state, 1);
  const double low = vmArgNumber(state, 2);
  const double high = vmArgNumber(state, 3);
  if (x < low) return PushNumber(state, high + (x - low));
  if (x >= high) return PushNumber(state, low + (x - high));
  return PushNumber(state, x);
}

CommandResult Limit(VmState& state) {
  vmCheckArgs(state, 3, 3);
  const double x = vmArgNumber(state, 1);
  const double low = vmArgNumber(state, 2);
  const double high = vmArgNumber(state, 3);
  if (x < low) return PushNumber(state, low);
  return PushNumber(state, x > high ? high : x);
}

CommandResult BitXor(VmState& state) {
  vmCheckArgs(state, 2, 2);
  return PushNumber(state, vmArgUnsigned(state, 1) ^ vmArgUnsigned(state, 2));
}

CommandResult BitComplement(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return PushNumber(state, ~vmArgUnsigned(state, 1));
}

/// A command on one bit of a number: `change` takes the number and the bit's mask.
template <std::uint32_t (*change)(std::uint32_t, std::uint32_t)>
CommandResult OneBit(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::uint32_t number = vmArgUnsigned(state, 1);
  const std::uint32_t bit = vmArgUnsigned(state, 2);
  if (bit > 31) return Error::WrongUsage;
  return PushNumber(state, change(number, 1u << bit));
}

std::uint32_t SetBit(std::uint32_t number, std::uint32_t mask) {
  return number | mask;
}
std::uint32_t ClearBit(std::uint32_t number, std::uint32_t mask) {
  return number & ~mask;
}
std::uint32_t TestBit(std::uint32_t number, std::uint32_t mask) {
  return (number & mask) != 0 ? 1 : 0;
}

/// A logical shift; `shift` gets a count below 32.
template <std::uint32_t (*shift)(std::uint32_t, std::uint32_t)>
CommandResult LogicalShift(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::uint32_t number = vmArgUnsigned(state, 1);
  const std::uint32_t count = static_cast<std::uint32_t>(vmArgInt(state, 2)) & shiftCountMask;
  return PushNumber(state, count > 31 ? 0 : shift(number, count));
}

std::uint32_t ShiftLeft(std::uint32_t number, std::uint32_t count) {
  return number << count;
}
std::uint32_t ShiftRight(std::uint32_t number, std::uint32_t count) {
  return number >> count;
}

CommandResult Sar(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::int32_t number = vmArgInt(state, 1);
  const std::uint32_t count = static_cast<std::uint32_t>(vmArgInt(state, 2)) & shiftCountMask;
  return PushNumber(state, number >> std::min(count, 31u));
}

/// Turns the bits of a number in its width; a negative count turns right.
Result<std::uint32_t> Rotate(std::uint32_t number, int count, std::int32_t type) {
  switch (type) {
    case type_code::Integer:
      return std::rotl(number, count);
    case type_code::Short:
      return std::rotl(static_cast<std::uint16_t>(number), count);
    case type_code::Byte:
      return std::rotl(static_cast<std::uint8_t>(number), count);
    default:
      return Fail(Error::WrongUsage);
  }
}

template <int direction>
CommandResult Rotation(VmState& state) {
  vmCheckArgs(state, 2, 3);
  const std::uint32_t number = vmArgUnsigned(state, 1);
  // Every width divides 32, so that a count beyond the width goes round.
  const int count = static_cast<int>(static_cast<std::uint32_t>(vmArgInt(state, 2)) & 31);
  const std::int32_t type = vmArgOptInt(state, 3, type_code::Integer);
  return PushNumber(state, TRY(Rotate(number, direction * count, type)));
}

CommandResult Cast(VmState& state) {
  vmCheckArgs(state, 3, 3);
  const std::uint32_t number = vmArgUnsigned(state, 1);
  const bool isSigned = vmArgInt(state, 2) != 0;
  switch (vmArgInt(state, 3)) {
    case type_code::Byte:
      return PushNumber(
          state, isSigned ? static_cast<std::int8_t>(number) : static_cast<std::uint8_t>(number));
    case type_code::Short:
      return PushNumber(
          state, isSigned ? static_cast<std::int16_t>(number) : static_cast<std::uint16_t>(number));
    case type_code::Integer:
      if (isSigned) return PushNumber(state, static_cast<std::int32_t>(number));
      return PushNumber(state, number);
    default:
      return Error::WrongUsage;
  }
}

/// The current time in seconds, 0 without a platform.
std::uint32_t SecondsNow(Host& host) {
  if (!host.Has(Room::platform)) return 0;
  using namespace std::chrono;
  const LocalTime now = host.Of<Platform>().time().Now();
  const sys_days day =
      year(now.year) / month(static_cast<unsigned>(now.month)) / static_cast<unsigned>(now.day);
  const sys_seconds time = day + hours(now.hour) + minutes(now.minute) + seconds(now.second);
  return static_cast<std::uint32_t>(time.time_since_epoch().count());
}

constexpr VmCommandEntry commands[] = {
    {"Abs", Unary<std::fabs>},
    {"Sin", Unary<std::sin>},
    {"Cos", Unary<std::cos>},
    {"Tan", Unary<std::tan>},
    {"ASin", Unary<std::asin>},
    {"ACos", Unary<std::acos>},
    {"ATan", Unary<std::atan>},
    {"ATan2", Binary<std::atan2>},
    {"Ceil", Unary<std::ceil>},
    {"Floor", Unary<std::floor>},
    {"Mod", Division<std::fmod>},
    {"FrExp", FrExp},
    {"LdExp", LdExp},
    {"Sqrt", Unary<std::sqrt>},
    {"Min", Extreme<std::less<double>>},
    {"Max", Extreme<std::greater<double>>},
    {"Log", Binary<Logarithm>},
    {"Ld", Unary<BinaryLogarithm>},
    {"Ln", Unary<std::log>},
    {"Exp", Unary<std::exp>},
    {"Deg", Unary<ToDegrees>},
    {"Pow", Binary<std::pow>},
    {"Rad", Unary<ToRadians>},
    {"Rnd", Rnd},
    {"RndF", RndF},
    {"Add", Binary<Sum>},
    {"Sub", Binary<Difference>},
    {"Div", Division<Quotient>},
    {"Mul", Binary<Product>},
    {"Round", Unary<RoundToInt>},
    {"Int", Unary<Truncate>},
    {"Frac", Unary<Fraction>},
    {"Shr", LogicalShift<ShiftRight>},
    {"Shl", LogicalShift<ShiftLeft>},
    {"Rt", Rt},
    {"Wrap", Wrap},
    {"Limit", Limit},
    {"BitSet", OneBit<SetBit>},
    {"BitTest", OneBit<TestBit>},
    {"BitClear", OneBit<ClearBit>},
    {"BitXor", BitXor},
    {"BitComplement", BitComplement},
    {"Sgn", Unary<Sign>},
    {"Sar", Sar},
    {"Ror", Rotation<-1>},
    {"Rol", Rotation<1>},
    {"Cast", Cast},
};

constexpr VmConstantEntry constants[] = {{"PI", nullptr, 3.141592653589793}};

}  // namespace

Status OpenMathLibrary(VmState& state) {
  vmOpenLibrary(state, "math", commands, constants);
  qmRandomSeed(vmHost(state).random, SecondsNow(vmHost(state)));
  return {};
}

}  // namespace quillmere
