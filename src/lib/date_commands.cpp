// The calendar and the time of day.
#include "lib/dates.h"
#include "lib/system_commands.h"

namespace quillmere::system_library {
namespace {

/// What `GetDateNum` is asked for.
enum DatePart { DATEYEAR, DATEMONTH, DATEDAY, DATETIME };

LocalTime Now(VmState& state) {
  return vmHost(state).Of<Platform>().time().Now();
}

CommandResult PushText(VmState& state, std::string_view text) {
  vmPushBytes(state, text);
  return 1;
}

int DateNumber(const LocalTime& time, int part) {
  switch (part) {
    case DATEYEAR:
      return 2000 + time.year % 100;
    case DATEMONTH:
      return time.month;
    case DATEDAY:
      return time.day;
    case DATETIME:
      return (time.hour * 100 + time.minute) * 100 + time.second;
    default:
      return 0;
  }
}

}  // namespace

CommandResult GetDate(VmState& state) {
  vmCheckArgs(state, 0, 1);
  const bool isLong = vmArgOptInt(state, 1, 0) != 0;
  const LocalTime now = Now(state);
  return PushText(state, isLong ? LongDateText(now) : FormatDate(DateForm::ShortDate, now));
}

CommandResult GetTime(VmState& state) {
  vmCheckArgs(state, 0, 1);
  const bool withSeconds = vmArgOptInt(state, 1, 0) != 0;
  const std::string time = FormatDate(DateForm::Time, Now(state));
  return PushText(state, withSeconds ? time : time.substr(0, 5));
}

CommandResult GetWeekday(VmState& state) {
  vmCheckArgs(state, 0, 0);
  return PushText(state, FormatDate(DateForm::DayName, Now(state)));
}

CommandResult GetDateNum(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const std::int32_t part = vmArgInt(state, 1);
  vmPushNumber(state, DateNumber(Now(state), part));
  return 1;
}

CommandResult CompareDates(VmState& state) {
  vmCheckArgs(state, 2, 3);
  const std::string_view a = vmArgString(state, 1);
  const std::string_view b = vmArgString(state, 2);
  const bool dateOnly = vmArgOptInt(state, 3, 0) != 0;
  vmPushNumber(state, TRY(CompareDateTexts(a, b, dateOnly)));
  return 1;
}

}  // namespace quillmere::system_library
