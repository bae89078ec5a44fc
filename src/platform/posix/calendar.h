// Between the system's seconds and local dates.
#pragma once

#include <ctime>

#include "platform/time.h"

namespace quillmere {

[[nodiscard]] LocalTime LocalTimeOf(std::time_t seconds);
[[nodiscard]] std::time_t SecondsOf(const LocalTime& time);

/// The date that many seconds after `start`, on a calendar without summer time.
[[nodiscard]] LocalTime CalendarAfter(const LocalTime& start, std::chrono::seconds elapsed);

}  // namespace quillmere
