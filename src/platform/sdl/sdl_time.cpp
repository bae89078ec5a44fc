#include "platform/sdl/sdl_time.h"

#include <algorithm>

#include "platform/posix/calendar.h"

namespace quillmere {
namespace {

constexpr SysTime::rep microsecondsPerSecond = 1'000'000;
/// The longest single sleep; a wait goes round again after it.
constexpr SysTime longestSleep = std::chrono::minutes(1);

}  // namespace

bool SdlTime::StartWaitTask() {
  auto task = WaitTask::Create([this] { signals_.Raise(Wake::Pulse); });
  if (!task) return false;
  waitTask_ = std::move(*task);
  return true;
}

bool SdlTime::StartWakeEvent() {
  const Uint32 type = SDL_RegisterEvents(1);
  if (type == static_cast<Uint32>(-1)) return false;
  signals_.SetNotify([type] {
    SDL_Event event{};
    event.type = type;
    SDL_PushEvent(&event);
  });
  return true;
}

SysTime SdlTime::GetSysTime() {
  return std::chrono::duration_cast<SysTime>(std::chrono::steady_clock::now() - start_);
}

LocalTime SdlTime::Now() {
  return LocalTimeOf(std::time(nullptr));
}

void SdlTime::WaitVerticalBlank() {
  const SysTime::rep rate = std::max(windows_.GetDesktopInfo().refreshRate, 1);
  const SysTime::rep passed = GetSysTime().count() * rate / microsecondsPerSecond;
  SleepUntil(SysTime(((passed + 1) * microsecondsPerSecond + rate - 1) / rate));
}

void SdlTime::SleepUntil(SysTime time) {
  windows_.Show();
  std::this_thread::sleep_until(start_ + time);
}

Wake SdlTime::WaitForSignals(std::optional<SysTime> deadline) {
  for (;;) {
    windows_.Pump();
    Wake reasons = signals_.TakeAll();
    if (windows_.HasMessages()) reasons |= Wake::Input;
    const SysTime now = GetSysTime();
    if (deadline && now >= *deadline) reasons |= Wake::Timer;
    if (reasons != Wake::Nothing) return reasons;
    const SysTime sleep = deadline ? std::min(*deadline - now, longestSleep) : longestSleep;
    // Rounded up, so that the deadline has come at the end.
    SDL_WaitEventTimeout(
        nullptr, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(sleep).count()));
  }
}

void SdlTime::StartPulse(std::chrono::milliseconds delay) {
  AbortPulse();
  waitTask_->Start(delay);
}

void SdlTime::AbortPulse() {
  waitTask_->Abort();
  signals_.Take(Wake::Pulse);
}

}  // namespace quillmere
