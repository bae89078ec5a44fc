#include "input/label_events.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/fold.h"
#include "input/dispatcher.h"
#include "input/event_message.h"
#include "input/input_state.h"
#include "input/pump.h"

namespace quillmere {
namespace {

/// Types of `EnableEvent` and `DisableEvent` that set a switch instead of a record.
constexpr std::int32_t closeWindowType = 10;
constexpr std::int32_t firstAllType = 11;

bool IsAreaKind(const qmLabelEvent& record) {
  return record.kind != LabelEventKind::Key;
}

/// The name of the label of a record, and the id that `GetEventCode` tells when it is a common one.
std::string LabelName(LabelEvents& labels, const qmLabelEvent& record, bool all,
                      std::string_view name) {
  if (!all) return std::string(name) + std::to_string(record.id);
  labels.lastId = record.id;
  return std::string(name) + "ALL";
}

/// The label that a record asks for when an event happens, or nothing when it is not its event.
std::optional<std::string> LabelFor(LabelEvents& labels, const qmLabelEvent& record,
                                    const qmRawEvent& event) {
  const auto clicked = [&](RawEventKind kind) {
    return event.kind == kind && event.c != 0 &&
           record.Contains(ToScriptPoint(*event.display, event.a, event.b));
  };
  switch (record.kind) {
    case LabelEventKind::Click:
      if (!clicked(RawEventKind::LeftMouse)) return std::nullopt;
      return LabelName(labels, record, labels.allClicks, "ONBUTTONCLICK");
    case LabelEventKind::RightClick:
      if (!clicked(RawEventKind::RightMouse)) return std::nullopt;
      return LabelName(labels, record, labels.allRightClicks, "ONBUTTONRIGHTCLICK");
    case LabelEventKind::Key:
      if (event.kind != RawEventKind::Key || event.a == 0) return std::nullopt;
      if (!EqualsFolded(record.key, KeyNameText(event.c))) return std::nullopt;
      labels.lastKey = event.c;
      return LabelName(labels, record, labels.allKeys, "ONKEYDOWN");
    case LabelEventKind::Over:
      break;
  }
  return std::nullopt;
}

bool JumpTo(VmState& state, std::string_view label) {
  const int instruction = vmFindLabel(state, label);
  if (instruction < 0) return false;
  vmSetPendingJump(state, instruction);
  return true;
}

/// The first record's label is looked up; when it is not there, the event counts as looked at.
bool JumpForEvent(VmState& state, LabelEvents& labels, const qmRawEvent& event) {
  for (const qmLabelEvent& record : labels.records) {
    if (!record.enabled) continue;
    if (const auto label = LabelFor(labels, record, event)) return JumpTo(state, *label);
  }
  return false;
}

LabelEvents& LabelsOf(VmState& state) {
  return vmRoom<InputState>(state).labels;
}

struct AreaArguments {
  std::int32_t id, x1, y1, x2, y2;
};

AreaArguments ReadArea(VmState& state) {
  vmCheckArgs(state, 5, 5);
  return {vmArgInt(state, 1), vmArgInt(state, 2), vmArgInt(state, 3), vmArgInt(state, 4),
          vmArgInt(state, 5)};
}

void SetArea(qmLabelEvent& record, const AreaArguments& area) {
  record.x1 = area.x1;
  record.y1 = area.y1;
  record.x2 = area.x2;
  record.y2 = area.y2;
}

auto FindKeyRecord(LabelEvents& labels, std::int32_t id) {
  return std::ranges::find_if(labels.records, [id](const qmLabelEvent& record) {
    return record.kind == LabelEventKind::Key && record.id == id;
  });
}

void SwitchEvent(VmState& state, std::int32_t type, std::int32_t id, bool on) {
  InputState& input = vmRoom<InputState>(state);
  LabelEvents& labels = input.labels;
  if (type == closeWindowType) input.scene().currentDisplay->input.closeHandled = on;
  bool* const switches[] = {&labels.allClicks, &labels.allRightClicks, &labels.allOver,
                            &labels.allKeys};
  if (type >= firstAllType && type < firstAllType + std::ssize(switches)) {
    *switches[type - firstAllType] = on;
  }
  const auto found = std::ranges::find_if(labels.records, [&](const qmLabelEvent& record) {
    return static_cast<std::int32_t>(record.kind) == type && record.id == id;
  });
  if (found != labels.records.end()) found->enabled = on;
}

CommandResult SwitchEventCommand(VmState& state, bool on) {
  vmCheckArgs(state, 2, 2);
  const std::int32_t type = vmArgInt(state, 1);
  SwitchEvent(state, type, vmArgInt(state, 2), on);
  return 0;
}

}  // namespace

void LabelEvents::Remove(std::list<qmLabelEvent>::iterator record) {
  if (whileMouse == &*record) whileMouse = nullptr;
  records.erase(record);
}

void LabelEvents::Clear() {
  whileMouse = nullptr;
  records.clear();
}

bool ScanForLabels(VmState& state, InputState& input) {
  if (input.labels.records.empty()) return false;
  return input.queue.DropThrough([&](const qmRawEvent& event) {
    return event.display != nullptr && JumpForEvent(state, input.labels, event);
  });
}

bool ScanForOverLabels(VmState& state, InputState& input) {
  LabelEvents& labels = input.labels;
  if (labels.records.empty()) return false;
  const ScriptPoint pointer = PointerInDisplay(*input.scene().currentDisplay);
  for (const qmLabelEvent& record : labels.records) {
    if (record.kind != LabelEventKind::Over || !record.enabled || !record.Contains(pointer)) {
      continue;
    }
    const std::string label = LabelName(labels, record, labels.allOver, "ONBUTTONOVER");
    labels.whileMouse = &record;
    if (JumpTo(state, label)) return true;
  }
  return false;
}

CommandResult CreateButtonCommand(VmState& state) {
  const AreaArguments area = ReadArea(state);
  for (const LabelEventKind kind :
       {LabelEventKind::Over, LabelEventKind::Click, LabelEventKind::RightClick}) {
    qmLabelEvent& record = LabelsOf(state).records.emplace_back();
    record.kind = kind;
    record.id = area.id;
    SetArea(record, area);
  }
  return 0;
}

CommandResult ModifyButtonCommand(VmState& state) {
  const AreaArguments area = ReadArea(state);
  for (qmLabelEvent& record : LabelsOf(state).records) {
    if (!IsAreaKind(record) || record.id != area.id) continue;
    SetArea(record, area);
  }
  return 0;
}

CommandResult RemoveButtonCommand(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const std::int32_t id = vmArgInt(state, 1);
  LabelEvents& labels = LabelsOf(state);
  for (auto record = labels.records.begin(); record != labels.records.end();) {
    const auto visited = record++;
    if (IsAreaKind(*visited) && visited->id == id) labels.Remove(visited);
  }
  return 0;
}

CommandResult CreateKeyDownCommand(VmState& state) {
  vmCheckArgs(state, 2, 2);
  qmLabelEvent record;
  record.kind = LabelEventKind::Key;
  record.id = vmArgInt(state, 1);
  record.key = vmArgString(state, 2);
  LabelsOf(state).records.push_back(std::move(record));
  return 0;
}

CommandResult ModifyKeyDownCommand(VmState& state) {
  vmCheckArgs(state, 2, 2);
  LabelEvents& labels = LabelsOf(state);
  const auto record = FindKeyRecord(labels, vmArgInt(state, 1));
  const std::string_view key = vmArgString(state, 2);
  if (record != labels.records.end()) record->key = key;
  return 0;
}

CommandResult RemoveKeyDownCommand(VmState& state) {
  vmCheckArgs(state, 1, 1);
  LabelEvents& labels = LabelsOf(state);
  const auto record = FindKeyRecord(labels, vmArgInt(state, 1));
  if (record != labels.records.end()) labels.Remove(record);
  return 0;
}

CommandResult ClearEventsCommand(VmState& state) {
  vmCheckArgs(state, 0, 0);
  LabelsOf(state).Clear();
  return 0;
}

CommandResult EnableEventCommand(VmState& state) {
  return SwitchEventCommand(state, true);
}

CommandResult DisableEventCommand(VmState& state) {
  return SwitchEventCommand(state, false);
}

CommandResult GetEventCodeCommand(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmPushNumber(state, LabelsOf(state).lastId);
  return 1;
}

CommandResult WhileKeyDownCommand(VmState& state) {
  vmCheckArgs(state, 0, 0);
  const auto key = static_cast<std::size_t>(LabelsOf(state).lastKey);
  const SceneState& scene = vmRoom<SceneState>(state);
  while (key < keyStateCount && scene.currentDisplay->input.keyState[key]) {
    WaitForSignals(state);
    if (PumpPlatformEvents(state)) break;
  }
  return 0;
}

CommandResult WhileMouseOnCommand(VmState& state) {
  vmCheckArgs(state, 0, 0);
  InputState& input = vmRoom<InputState>(state);
  const auto pointerStays = [&] {
    const qmLabelEvent* watched = input.labels.whileMouse;
    return watched != nullptr && watched->Contains(PointerInDisplay(*input.scene().currentDisplay));
  };
  constexpr int jumpAndRunAgain = -2;
  while (pointerStays()) {
    const Dispatched done = TRY(Dispatch(state, DispatchCaller::WhileMouseOn));
    if (done.jumps) return jumpAndRunAgain;
    if (done.ranHandler) break;
    WaitForSignals(state);
    if (PumpPlatformEvents(state)) break;
  }
  return 0;
}

CommandResult BreakWhileMouseOnCommand(VmState& state) {
  vmCheckArgs(state, 0, 0);
  LabelsOf(state).whileMouse = nullptr;
  return 0;
}

}  // namespace quillmere
