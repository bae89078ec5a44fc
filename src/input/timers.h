// Repeating and one-shot timers. A request runs on the clock; the record beside it says which
// script function it calls. A timer that runs out is noticed only by a sweep of the dispatcher.
#pragma once

#include <cstdint>
#include <list>
#include <optional>

#include "platform/time.h"
#include "vm/object_id.h"
#include "vm/object_list.h"
#include "vm/vm.h"

namespace quillmere {

struct InputState;

enum class TimerKind { Interval = 0, Timeout = 1 };

/// A running timer.
struct qmTimerRequest {
  TimerKind kind = TimerKind::Interval;
  ObjectId id;
  /// When it runs out next.
  SysTime due{};
  SysTime period{};
};

/// The running timers in the order of their start, and the place where a sweep stands among them.
class TimerRequests {
 public:
  /// Ends all timers.
  void Clear() {
    requests_.clear();
    cursor_ = requests_.end();
  }
  void Start(TimerKind kind, const ObjectId& id, std::int32_t milliseconds, SysTime now);
  /// Ends a timer; an unknown one is passed over. A sweep that stands on it moves on.
  void Cancel(TimerKind kind, const ObjectId& id);
  /// Gives an interval another period from its next expiry on.
  void Change(const ObjectId& id, std::int32_t milliseconds);

  /// Puts the sweep before the first timer.
  void StartSweep() { cursor_ = requests_.begin(); }
  [[nodiscard]] bool SweepEnded() const { return cursor_ == requests_.end(); }
  /// Looks at the timer that the sweep stands on and moves on. Gives it when it has run out: a
  /// timeout is gone then; an interval is armed again one period after it was due, or one period
  /// from now when that is past already.
  std::optional<qmTimerRequest> NextFired(SysTime now);

  /// When the first timer runs out; nothing when none runs.
  [[nodiscard]] std::optional<SysTime> EarliestDue() const;

 private:
  std::list<qmTimerRequest> requests_;
  std::list<qmTimerRequest>::iterator cursor_ = requests_.end();
};

/// What a timer calls.
struct qmIntervalRecord : ObjectRecord {
  int func = vmNoRef;
  std::int32_t milliseconds = 0;
  int userdata = vmNoRef;
};

/// Frees the function and the user data of a record.
void ReleaseTimerRecord(VmState& state, qmIntervalRecord& record);

// The commands `SetInterval`, `SetTimeout`, `ClearInterval`, `ClearTimeout`, `ChangeInterval`.
CommandResult SetIntervalCommand(VmState& state);
CommandResult SetTimeoutCommand(VmState& state);
CommandResult ClearIntervalCommand(VmState& state);
CommandResult ClearTimeoutCommand(VmState& state);
CommandResult ChangeIntervalCommand(VmState& state);

}  // namespace quillmere
