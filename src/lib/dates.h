// Dates as texts: `dd-mmm-yyyy`, with ` hh:mm:ss` behind it when the time counts. `mmm` is one of
// twelve English names.
#pragma once

#include <string>
#include <string_view>

#include "base/error.h"
#include "platform/platform.h"

namespace quillmere {

/// The fixed form of a date and time, 20 characters. Every year is written as one of 2000 to 2099.
[[nodiscard]] std::string LongDateText(const LocalTime& time);

/// Compares two dates in the fixed form, with `dateOnly` without their times: 1 when `a` is later,
/// 2 when it is earlier, 0 when they are the same. The case of the month does not count. A text of
/// another form is `Error::InvalidDateFormat`.
[[nodiscard]] Result<int> CompareDateTexts(std::string_view a, std::string_view b, bool dateOnly);

}  // namespace quillmere
