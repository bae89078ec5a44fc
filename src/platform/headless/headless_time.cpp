#include "platform/headless/headless_time.h"

#include <algorithm>

#include "platform/posix/calendar.h"

namespace quillmere {
namespace {

constexpr LocalTime virtualStart{.year = 2020, .month = 1, .day = 1, .weekday = 3};
constexpr SysTime::rep microsecondsPerSecond = 1'000'000;
constexpr SysTime::rep blanksPerSecond = 60;

void TakeEarlier(std::optional<SysTime>& earliest, std::optional<SysTime> other) {
  if (other && (!earliest || *other < *earliest)) earliest = other;
}

/// The first vertical blank after a moment.
SysTime NextBlank(SysTime now) {
  const auto passed = now.count() * blanksPerSecond / microsecondsPerSecond;
  const auto start = [](SysTime::rep blank) {
    return SysTime((blank * microsecondsPerSecond + blanksPerSecond - 1) / blanksPerSecond);
  };
  const SysTime next = start(passed + 1);
  return next > now ? next : start(passed + 2);
}

}  // namespace

HeadlessTime::HeadlessTime(bool isVirtual, SignalBox& signals)
    : isVirtual_(isVirtual), signals_(signals) {}

bool HeadlessTime::StartWaitTask() {
  auto task = WaitTask::Create([this] { signals_.Raise(Wake::Pulse); });
  if (!task) return false;
  waitTask_ = std::move(*task);
  return true;
}

SysTime HeadlessTime::Current() const {
  if (isVirtual_) return virtualNow_;
  return std::chrono::duration_cast<SysTime>(std::chrono::steady_clock::now() - start_);
}

SysTime HeadlessTime::GetSysTime() {
  if (isVirtual_) ++virtualNow_;
  return Current();
}

LocalTime HeadlessTime::Now() {
  const SysTime now = GetSysTime();
  if (!isVirtual_) return LocalTimeOf(std::time(nullptr));
  return CalendarAfter(virtualStart, std::chrono::floor<std::chrono::seconds>(now));
}

std::optional<SysTime> HeadlessTime::NextOfSources() const {
  std::optional<SysTime> next;
  for (TimedSource* source : sources_) TakeEarlier(next, source->NextDue());
  return next;
}

void HeadlessTime::RunSources() {
  const auto next = NextOfSources();
  if (!next) return;
  const SysTime now = Current();
  if (*next > now) return;
  for (TimedSource* source : sources_) source->RunTo(now);
}

bool HeadlessTime::MoveTo(std::optional<SysTime> time) {
  if (!isVirtual_) {
    signals_.WaitUntil(time ? std::optional(start_ + *time) : std::nullopt);
    return true;
  }
  if ((isBusy_ && isBusy_()) || (!time && portOpen_)) {
    signals_.WaitUntil(std::nullopt);
    return true;
  }
  if (!time) return false;
  virtualNow_ = std::max(virtualNow_, *time);
  return true;
}

void HeadlessTime::WaitVerticalBlank() {
  SleepUntil(NextBlank(Current()));
}

void HeadlessTime::SleepUntil(SysTime time) {
  while (Current() < time) {
    std::optional<SysTime> next = time;
    TakeEarlier(next, NextOfSources());
    if (isVirtual_) {
      virtualNow_ = std::max(virtualNow_, *next);
    } else {
      std::this_thread::sleep_until(start_ + *next);
    }
    RunSources();
  }
}

Wake HeadlessTime::Reasons(std::optional<SysTime> deadline) {
  Wake reasons = signals_.TakeAll();
  if (hasInput_ && hasInput_()) reasons |= Wake::Input;
  const SysTime now = Current();
  if (deadline && now >= *deadline) reasons |= Wake::Timer;
  if (pulseDue_ && now >= *pulseDue_) {
    pulseDue_.reset();
    reasons |= Wake::Pulse;
  }
  return reasons;
}

Wake HeadlessTime::WaitForSignals(std::optional<SysTime> deadline) {
  for (;;) {
    RunSources();
    if (const Wake reasons = Reasons(deadline); reasons != Wake::Nothing) return reasons;
    std::optional<SysTime> next = deadline;
    TakeEarlier(next, pulseDue_);
    TakeEarlier(next, NextOfSources());
    if (!MoveTo(next)) return Wake::Break;
  }
}

void HeadlessTime::StartPulse(std::chrono::milliseconds delay) {
  AbortPulse();
  if (isVirtual_) {
    pulseDue_ = Current() + delay;
  } else {
    waitTask_->Start(delay);
  }
}

void HeadlessTime::AbortPulse() {
  pulseDue_.reset();
  if (waitTask_) waitTask_->Abort();
  signals_.Take(Wake::Pulse);
}

}  // namespace quillmere
