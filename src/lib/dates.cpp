#include "lib/dates.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "base/fold.h"

namespace quillmere {
namespace {

constexpr std::array<std::string_view, 12> monthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

constexpr std::size_t dateLength = 11;
constexpr std::size_t dateAndTimeLength = 20;

/// Year, month, day, hour, minute, second: the order in which dates are compared.
using DateFields = std::array<int, 6>;

Result<int> ReadNumber(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < 0) {
    return Fail(Error::InvalidDateFormat);
  }
  return value;
}

Result<int> ReadMonth(std::string_view text) {
  const auto* month = std::ranges::find_if(
      monthNames, [text](std::string_view name) { return EqualsFolded(name, text); });
  if (month == monthNames.end()) return Fail(Error::InvalidDateFormat);
  return static_cast<int>(month - monthNames.begin()) + 1;
}

Result<DateFields> ReadDate(std::string_view text, bool dateOnly) {
  if (text.size() != (dateOnly ? dateLength : dateAndTimeLength)) {
    return Fail(Error::InvalidDateFormat);
  }
  DateFields fields{};
  fields[0] = TRY(ReadNumber(text.substr(7, 4)));
  fields[1] = TRY(ReadMonth(text.substr(3, 3)));
  fields[2] = TRY(ReadNumber(text.substr(0, 2)));
  if (dateOnly) return fields;
  fields[3] = TRY(ReadNumber(text.substr(12, 2)));
  fields[4] = TRY(ReadNumber(text.substr(15, 2)));
  fields[5] = TRY(ReadNumber(text.substr(18, 2)));
  return fields;
}

}  // namespace

std::string LongDateText(const LocalTime& time) {
  std::array<char, 64> text;
  const auto month = static_cast<std::size_t>(std::clamp(time.month, 1, 12) - 1);
  std::snprintf(text.data(), text.size(), "%.2d-%s-20%.2d %.2d:%.2d:%.2d", time.day,
                monthNames[month].data(), time.year % 100, time.hour, time.minute, time.second);
  return text.data();
}

Result<int> CompareDateTexts(std::string_view a, std::string_view b, bool dateOnly) {
  const DateFields first = TRY(ReadDate(a, dateOnly));
  const DateFields second = TRY(ReadDate(b, dateOnly));
  if (first == second) return 0;
  return first > second ? 1 : 2;
}

}  // namespace quillmere
