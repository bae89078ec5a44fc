// The stop-watches of a script.
#include <algorithm>

#include "input/pump.h"
#include "lib/lib_state.h"
#include "lib/system_commands.h"

namespace quillmere::system_library {
namespace {

SysTime Now(VmState& state) {
  return vmHost(state).Of<Platform>().time().GetSysTime();
}

/// The timer that the first argument names.
Result<qmTimer*> FindTimer(VmState& state) {
  return vmRoom<LibState>(state).timers.Find(vmArgId(state, 1));
}

void Restart(VmState& state, qmTimer& timer, SysTime elapsed) {
  timer.elapsed = elapsed;
  timer.paused = false;
  timer.startTime = Now(state);
}

SysTime Elapsed(VmState& state, const qmTimer& timer) {
  return timer.paused ? timer.elapsed : timer.elapsed + (Now(state) - timer.startTime);
}

/// Sleeps while events are gathered; there is nothing to do for a time that has passed.
void Sleep(VmState& state, std::int64_t milliseconds) {
  SleepPumping(state,
               static_cast<std::int32_t>(std::clamp<std::int64_t>(milliseconds, 0, INT32_MAX)));
}

}  // namespace

CommandResult StartTimer(VmState& state) {
  vmCheckArgs(state, 1, 2);
  const ObjectId id = vmArgNewId(state, 1);
  ObjectList<qmTimer>& timers = vmRoom<LibState>(state).timers;
  if (!id.AsksForHandle()) {
    qmTimer* timer = timers.Lookup(id);
    if (timer == nullptr) timer = &timers.Append(std::make_unique<qmTimer>(), id);
    Restart(state, *timer, SysTime(0));
    return 0;
  }
  qmTimer& timer = timers.Append(std::make_unique<qmTimer>(), id);
  Restart(state, timer, SysTime(0));
  vmPushId(state, timer.Id());
  return 1;
}

CommandResult StopTimer(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmTimer* timer = TRY(FindTimer(state));
  vmRoom<LibState>(state).timers.Remove(*timer);
  return 0;
}

CommandResult GetTimer(VmState& state) {
  vmCheckArgs(state, 1, 2);
  const qmTimer* timer = TRY(FindTimer(state));
  const auto elapsed = duration_cast<std::chrono::milliseconds>(Elapsed(state, *timer));
  vmPushNumber(state, static_cast<double>(elapsed.count()));
  return 1;
}

CommandResult PauseTimer(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmTimer* timer = TRY(FindTimer(state));
  timer->elapsed = Elapsed(state, *timer);
  timer->paused = true;
  return 0;
}

CommandResult ResumeTimer(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmTimer* timer = TRY(FindTimer(state));
  if (timer->paused) Restart(state, *timer, timer->elapsed);
  return 0;
}

CommandResult ResetTimer(VmState& state) {
  vmCheckArgs(state, 1, 2);
  qmTimer* timer = TRY(FindTimer(state));
  Restart(state, *timer, std::chrono::milliseconds(vmArgOptInt(state, 2, 0)));
  return 0;
}

CommandResult Wait(VmState& state) {
  constexpr std::int32_t seconds = 0;
  constexpr std::int32_t ticks = 2;
  constexpr std::int64_t millisecondsPerTick = 20;
  vmCheckArgs(state, 1, 2);
  std::int64_t duration = vmArgInt(state, 1);
  const std::int32_t unit = vmArgOptInt(state, 2, ticks);
  if (unit == ticks) duration *= millisecondsPerTick;
  if (unit == seconds) duration *= 1000;
  Sleep(state, duration);
  return 0;
}

CommandResult WaitTimer(VmState& state) {
  vmCheckArgs(state, 2, 3);
  qmTimer* timer = TRY(FindTimer(state));
  const std::chrono::milliseconds target(vmArgInt(state, 2));
  const bool resets = vmArgOptInt(state, 3, 1) != 0;
  if (timer->paused) return Error::WrongUsage;
  const auto missing = ceil<std::chrono::milliseconds>(target - Elapsed(state, *timer));
  Sleep(state, missing.count());
  if (resets) Restart(state, *timer, SysTime(0));
  return 0;
}

}  // namespace quillmere::system_library
