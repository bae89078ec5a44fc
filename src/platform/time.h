// The clock and the calendar.
#pragma once

#include <chrono>
#include <string>

namespace quillmere {

/// System time: microseconds since the clock's own start, never going back.
using SysTime = std::chrono::microseconds;

/// A calendar date and time of day in local time.
struct LocalTime {
  int year = 2020;
  int month = 1;  ///< 1 to 12
  int day = 1;    ///< 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;
  int weekday = 0;  ///< 0 is Sunday
};

/// The shapes in which a date is written.
enum class DateForm {
  ShortDate = 0,    ///< `dd-mmm-yy`, with the English name of the month
  DateAndTime = 1,  ///< `mm-dd-yy hh:mm:ss`
  Time = 2,         ///< `hh:mm:ss`
  DayName = 3       ///< the English name of the day
};
[[nodiscard]] std::string FormatDate(DateForm form, const LocalTime& time);

class PlatformTime {
 public:
  virtual ~PlatformTime() = default;
  /// The time since the clock's start. On the virtual clock each reading moves it on by a
  /// microsecond.
  virtual SysTime GetSysTime() = 0;
  /// The date and time of day; a reading like `GetSysTime`.
  virtual LocalTime Now() = 0;
  /// Sleeps until the next vertical blank of the screen.
  virtual void WaitVerticalBlank() = 0;
  /// Sleeps until that time; nothing ends it early, and no wake-up reason is lost.
  virtual void SleepUntil(SysTime time) = 0;
};

}  // namespace quillmere
