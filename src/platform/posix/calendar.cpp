#include "platform/posix/calendar.h"

namespace quillmere {

LocalTime LocalTimeOf(std::time_t seconds) {
  std::tm parts{};
  localtime_r(&seconds, &parts);
  return {.year = parts.tm_year + 1900,
          .month = parts.tm_mon + 1,
          .day = parts.tm_mday,
          .hour = parts.tm_hour,
          .minute = parts.tm_min,
          .second = parts.tm_sec,
          .weekday = parts.tm_wday};
}

std::time_t SecondsOf(const LocalTime& time) {
  std::tm parts{};
  parts.tm_year = time.year - 1900;
  parts.tm_mon = time.month - 1;
  parts.tm_mday = time.day;
  parts.tm_hour = time.hour;
  parts.tm_min = time.minute;
  parts.tm_sec = time.second;
  parts.tm_isdst = -1;
  return std::mktime(&parts);
}

LocalTime CalendarAfter(const LocalTime& start, std::chrono::seconds elapsed) {
  using namespace std::chrono;
  const auto startDay = sys_days(year(start.year) / month(static_cast<unsigned>(start.month)) /
                                 day(static_cast<unsigned>(start.day)));
  const sys_seconds moment =
      startDay + hours(start.hour) + minutes(start.minute) + seconds(start.second) + elapsed;
  const auto today = floor<days>(moment);
  const year_month_day date(today);
  const hh_mm_ss clock(moment - today);
  return {.year = static_cast<int>(date.year()),
          .month = static_cast<int>(static_cast<unsigned>(date.month())),
          .day = static_cast<int>(static_cast<unsigned>(date.day())),
          .hour = static_cast<int>(clock.hours().count()),
          .minute = static_cast<int>(clock.minutes().count()),
          .second = static_cast<int>(clock.seconds().count()),
          .weekday = static_cast<int>(weekday(today).c_encoding())};
}

}  // namespace quillmere
