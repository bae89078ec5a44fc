#include "platform/time.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace quillmere {
namespace {

constexpr std::array<const char*, 12> monthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<const char*, 7> dayNames = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                 "Thursday", "Friday", "Saturday"};

template <class... Arguments>
std::string Format(const char* format, Arguments... arguments) {
  char text[64];
  std::snprintf(text, sizeof(text), format, arguments...);
  return text;
}

/// The entry at an index that is cut to the table.
template <std::size_t N>
const char* Name(const std::array<const char*, N>& names, int index) {
  return names[static_cast<std::size_t>(index < 0 ? 0 : index) % N];
}

}  // namespace

std::string FormatDate(DateForm form, const LocalTime& time) {
  const int shortYear = time.year % 100;
  switch (form) {
    case DateForm::ShortDate:
      return Format("%02d-%s-%02d", time.day, Name(monthNames, time.month - 1), shortYear);
    case DateForm::DateAndTime:
      return Format("%02d-%02d-%02d %02d:%02d:%02d", time.month, time.day, shortYear, time.hour,
                    time.minute, time.second);
    case DateForm::Time:
      return Format("%02d:%02d:%02d", time.hour, time.minute, time.second);
    case DateForm::DayName:
      return Name(dayNames, time.weekday);
  }
  return {};
}

}  // namespace quillmere
