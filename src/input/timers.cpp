#include "input/timers.h"

#include <algorithm>
#include <memory>

#include "input/input_state.h"

namespace quillmere {
namespace {

SysTime Period(std::int32_t milliseconds) {
  return std::chrono::milliseconds(milliseconds);
}

ObjectList<qmIntervalRecord>& RecordsOf(InputState& input, TimerKind kind) {
  return kind == TimerKind::Interval ? input.intervals : input.timeouts;
}

/// Takes a record away with all that belongs to it.
Status ClearTimer(VmState& state, TimerKind kind, const ObjectId& id) {
  InputState& input = vmRoom<InputState>(state);
  auto& records = RecordsOf(input, kind);
  qmIntervalRecord* record = TRY(records.Find(id));
  const std::unique_ptr<qmIntervalRecord> taken = records.Remove(*record);
  ReleaseTimerRecord(state, *taken);
  input.timers.Cancel(kind, id);
  return {};
}

CommandResult SetTimer(VmState& state, TimerKind kind) {
  vmCheckArgs(state, 3, 4);
  const ObjectId id = vmArgNewId(state, 1);
  vmArgFunction(state, 2);
  const std::int32_t milliseconds = vmArgInt(state, 3);
  if (milliseconds < 1) return Error::WrongUsage;

  InputState& input = vmRoom<InputState>(state);
  auto& records = RecordsOf(input, kind);
  if (!id.AsksForHandle() && records.Lookup(id) != nullptr) TRY(ClearTimer(state, kind, id));

  auto record = std::make_unique<qmIntervalRecord>();
  record->milliseconds = milliseconds;
  if (vmGetTop(state) >= 4) {
    vmPushValue(state, 4);
    record->userdata = vmRef(state, vmRegistryIndex);
  }
  vmPushValue(state, 2);
  record->func = vmRef(state, vmRegistryIndex);
  const qmIntervalRecord& added = records.Append(std::move(record), id);
  input.timers.Start(kind, added.Id(), milliseconds, input.platform().time().GetSysTime());
  if (!id.AsksForHandle()) return 0;
  vmPushId(state, added.Id());
  return 1;
}

CommandResult ClearTimerCommand(VmState& state, TimerKind kind) {
  vmCheckArgs(state, 1, 1);
  return ClearTimer(state, kind, vmArgId(state, 1));
}

}  // namespace

void TimerRequests::Start(TimerKind kind, const ObjectId& id, std::int32_t milliseconds,
                          SysTime now) {
  const SysTime period = Period(milliseconds);
  requests_.push_back({kind, id, now + period, period});
}

void TimerRequests::Cancel(TimerKind kind, const ObjectId& id) {
  const auto found = std::ranges::find_if(requests_, [&](const qmTimerRequest& request) {
    return request.kind == kind && request.id == id;
  });
  if (found == requests_.end()) return;
  if (cursor_ == found) ++cursor_;
  requests_.erase(found);
}

void TimerRequests::Change(const ObjectId& id, std::int32_t milliseconds) {
  for (qmTimerRequest& request : requests_) {
    if (request.kind == TimerKind::Interval && request.id == id) {
      request.period = Period(milliseconds);
      return;
    }
  }
}

std::optional<qmTimerRequest> TimerRequests::NextFired(SysTime now) {
  const auto visited = cursor_++;
  if (visited->due > now) return std::nullopt;
  const qmTimerRequest fired = *visited;
  if (fired.kind == TimerKind::Timeout) {
    requests_.erase(visited);
  } else {
    visited->due += visited->period;
    if (visited->due < now) visited->due = now + visited->period;
  }
  return fired;
}

std::optional<SysTime> TimerRequests::EarliestDue() const {
  const auto first = std::ranges::min_element(requests_, {}, &qmTimerRequest::due);
  if (first == requests_.end()) return std::nullopt;
  return first->due;
}

void ReleaseTimerRecord(VmState& state, qmIntervalRecord& record) {
  vmUnref(state, vmRegistryIndex, record.func);
  vmUnref(state, vmRegistryIndex, record.userdata);
  record.func = vmNoRef;
  record.userdata = vmNoRef;
}

CommandResult SetIntervalCommand(VmState& state) {
  return SetTimer(state, TimerKind::Interval);
}

CommandResult SetTimeoutCommand(VmState& state) {
  return SetTimer(state, TimerKind::Timeout);
}

CommandResult ClearIntervalCommand(VmState& state) {
  return ClearTimerCommand(state, TimerKind::Interval);
}

CommandResult ClearTimeoutCommand(VmState& state) {
  return ClearTimerCommand(state, TimerKind::Timeout);
}

CommandResult ChangeIntervalCommand(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const ObjectId id = vmArgId(state, 1);
  const std::int32_t milliseconds = vmArgInt(state, 2);
  InputState& input = vmRoom<InputState>(state);
  TRY(input.intervals.Find(id));
  input.timers.Change(id, milliseconds);
  return 0;
}

}  // namespace quillmere
