// How failures travel: every failure is a number with one text, an operation that can fail
// returns Result or Status, and TRY passes a failure up. This room owns the list of codes.
#pragma once

#include <expected>
#include <string>

namespace quillmere {

/// Every failure of the program. The values are part of the language: scripts read them with
/// `GetLastError`.
enum class Error : int {
  None = 0,
#define X(name, code, text) name = code,
#define FREE(name, code) name = code,
#include "base/error_codes.def"
#undef FREE
#undef X
};

inline constexpr int firstErrorCode = 1000;
/// Codes from here on have no row of their own.
inline constexpr int endOfErrorCodes = 1431;

template <class T>
using Result = std::expected<T, Error>;
using Status = std::expected<void, Error>;

/// Wraps a failure for return from a function whose result is `Result` or `Status`.
inline std::unexpected<Error> Fail(Error error) {
  return std::unexpected(error);
}

/// The words that go with a failure into its message: they are set just before a code is returned
/// and hold until the next failure overwrites them.
struct ErrorContext {
  /// Stands for `%s` in the message.
  std::string argument;
  /// Stands for `%ld` and `%d` in the message.
  int index = 0;

  /// Notes the text for `%s` and wraps the code for return.
  std::unexpected<Error> Fail(Error error, std::string text) {
    argument = std::move(text);
    return std::unexpected(error);
  }

  /// Notes the number for `%ld` and wraps the code for return.
  std::unexpected<Error> Fail(Error error, int number) {
    index = number;
    return std::unexpected(error);
  }
};

}  // namespace quillmere

/// Evaluates an expression of type Result or Status; on failure returns its error from the
/// enclosing function, else yields the value. The function may return Result, Status or anything
/// that is made from `std::unexpected<Error>`.
#define TRY(expression)                            \
  __extension__({                                  \
    auto&& tryResult = (expression);               \
    if (!tryResult) [[unlikely]]                   \
      return std::unexpected(tryResult.error());   \
    *std::forward<decltype(tryResult)>(tryResult); \
  })
