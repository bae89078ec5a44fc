// Label events, the older form of interactive areas and keys: they make the script jump to a label
// that is named after the event, as a subroutine.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>

#include "input/event_queue.h"
#include "scene/display.h"
#include "vm/vm.h"

namespace quillmere {

struct InputState;

enum class LabelEventKind : std::int32_t { Over = 1, Click = 2, Key = 3, RightClick = 5 };

struct qmLabelEvent {
  LabelEventKind kind = LabelEventKind::Over;
  std::int32_t id = 0;
  /// Inclusive, in the coordinates of the script.
  std::int32_t x1 = 0;
  std::int32_t y1 = 0;
  std::int32_t x2 = 0;
  std::int32_t y2 = 0;
  std::string key;
  bool enabled = true;

  [[nodiscard]] bool Contains(const ScriptPoint& point) const {
    return x1 <= point.x && point.x <= x2 && y1 <= point.y && point.y <= y2;
  }
};

/// All label events in the order of their making, and what the last one left.
struct LabelEvents {
  std::list<qmLabelEvent> records;
  /// One label for all events of a kind instead of one for each.
  bool allClicks = false;
  bool allRightClicks = false;
  bool allOver = false;
  bool allKeys = false;
  /// The event that jumped to the last common label.
  std::int32_t lastId = 0;
  /// The key of the last key label.
  std::int32_t lastKey = 0;
  /// The record that `WhileMouseOn` watches.
  const qmLabelEvent* whileMouse = nullptr;

  void Remove(std::list<qmLabelEvent>::iterator record);
  void Clear();
};

/// Walks the raw queue for the first event that has a label. On a match the event and all before it
/// leave the queue and the jump is set; true then.
bool ScanForLabels(VmState& state, InputState& input);

/// Tests the areas under the pointer. True when one has a label, to which the jump is set then.
bool ScanForOverLabels(VmState& state, InputState& input);

CommandResult CreateButtonCommand(VmState& state);
CommandResult ModifyButtonCommand(VmState& state);
CommandResult RemoveButtonCommand(VmState& state);
CommandResult CreateKeyDownCommand(VmState& state);
CommandResult ModifyKeyDownCommand(VmState& state);
CommandResult RemoveKeyDownCommand(VmState& state);
CommandResult ClearEventsCommand(VmState& state);
CommandResult EnableEventCommand(VmState& state);
CommandResult DisableEventCommand(VmState& state);
CommandResult GetEventCodeCommand(VmState& state);
CommandResult WhileKeyDownCommand(VmState& state);
CommandResult WhileMouseOnCommand(VmState& state);
CommandResult BreakWhileMouseOnCommand(VmState& state);

}  // namespace quillmere
