#include "input/event_commands.h"

#include <algorithm>
#include <array>
#include <utility>

#include "input/dispatcher.h"
#include "input/input_state.h"
#include "input/pump.h"
#include "scene/display.h"

namespace quillmere {
namespace {

/// The keys of the table that installs handlers: those of a display in the order of its slots, then
/// those that belong to no display.
constexpr std::array<const char*, eventHandlerCount> displayKeys = {
    "onkeydown",        "onkeyup",        "onmousemove", "closewindow", "movewindow",  "sizewindow",
    "activewindow",     "inactivewindow", "hidewindow",  "showwindow",  "onmousedown", "onmouseup",
    "onrightmousedown", "onrightmouseup", "onwheeldown", "onwheelup",   "modeswitch",  "ondropfile",
    "clipboardchange",  "onmidmousedown", "onmidmouseup"};
constexpr std::array<const char*, globalHandlerCount> globalKeys = {"onsampleloop", "onsampleend",
                                                                    "onmusicend", "onarexx"};
constexpr int noUserdata = 0;
/// The argument that holds the table of handlers.
constexpr int tableArgument = 1;

/// Leaves the table of a handler that ran as the one result, with the handler's results in it.
int FinishMessage(VmState& state, int tableIndex) {
  const int count = vmGetTop(state) - tableIndex;
  if (count > 0) {
    vmPushStringFast(state, "results");
    vmNewTable(state);
    for (int i = 0; i < count; ++i) {
      vmPushValue(state, tableIndex + 1 + i);
      vmRawSetInt(state, -2, i);
    }
    vmRawSet(state, tableIndex);
  }
  vmSetTop(state, tableIndex);
  vmSetFieldInt(state, "nresults", count);
  vmSetFieldInt(state, "triggered", 1);
  return 1;
}

/// Refuses to begin inside a handler.
Status RequireNoCallback(VmState& state) {
  if (vmHost(state).flags.callbackDepth > 0) return Fail(Error::WrongUsage);
  return {};
}

/// What both commands give: a label to jump to, or the one result on the stack.
CommandResult FinishEvent(VmState& state, const Dispatched& done) {
  constexpr int jumpToLabel = -1;
  if (done.jumps) return jumpToLabel;
  if (done.ranHandler) return FinishMessage(state, done.tableIndex);
  vmNewTable(state);
  vmSetFieldInt(state, "nresults", 0);
  vmSetFieldInt(state, "triggered", 0);
  return 1;
}

/// Releases a reference and forgets it.
void Release(VmState& state, int& reference) {
  vmUnref(state, vmRegistryIndex, std::exchange(reference, vmNoRef));
}

/// Reads one key of the table of handlers into its slot. True when the field was there.
bool ReadHandler(VmState& state, const char* key, int userdataIndex, EventHandler& handler) {
  if (!vmPushField(state, tableArgument, key)) return false;
  const bool removes = vmType(state, -1) == VmType::Number;
  if (!removes && vmType(state, -1) != VmType::Function) {
    vmRaise(state, Error::FunctionExpected, tableArgument);
  }
  Release(state, handler.func);
  if (removes) {
    vmPop(state, 1);
  } else {
    handler.func = vmRef(state, vmRegistryIndex);
  }
  const bool hasUserdata = userdataIndex != noUserdata;
  if (hasUserdata || removes) Release(state, handler.userdata);
  if (hasUserdata) {
    vmPushValue(state, userdataIndex);
    handler.userdata = vmRef(state, vmRegistryIndex);
  }
  return true;
}

bool WatchesClipboard(qmDisplay& display) {
  return HandlerOf(display, HandlerSlot::ClipboardChange).func != vmNoRef;
}

/// Watches the clipboard as long as any display has a handler for its changes.
Status WatchClipboard(InputState& input) {
  PlatformClipboard& clipboard = input.platform().clipboard();
  const auto displays = [&input] { return input.scene().displays.All(); };
  if (std::ranges::none_of(displays(), WatchesClipboard)) return clipboard.Watch({});
  return clipboard.Watch([&input, displays] {
    for (qmDisplay& display : displays()) {
      if (WatchesClipboard(display)) {
        PostRawEvent(input, display, RawEventKind::ClipboardChanged);
      }
    }
  });
}

void TellSoundHandlers(InputState& input) {
  if (!input.soundHandlersChanged) return;
  const auto isSet = [&](GlobalSlot slot) { return input.Global(slot).func != vmNoRef; };
  input.soundHandlersChanged(isSet(GlobalSlot::SampleLoop), isSet(GlobalSlot::SampleEnd),
                             isSet(GlobalSlot::MusicEnd));
}

CommandResult SetSwitch(VmState& state, bool InputState::*field) {
  vmCheckArgs(state, 1, 1);
  vmRoom<InputState>(state).*field = vmArgNumber(state, 1) != 0;
  return 0;
}

}  // namespace

CommandResult WaitEventCommand(VmState& state) {
  vmCheckArgs(state, 0, 0);
  TRY(RequireNoCallback(state));
  InputState& input = vmRoom<InputState>(state);
  TRY(RequireWindow(input));
  // What is left of a sweep does not see all that has come meanwhile, and what has come may not
  // signal again: only a whole sweep may be followed by sleep.
  bool sawAll = input.sweep.stage == SweepStage::Start;
  for (;;) {
    const Dispatched done = TRY(Dispatch(state));
    if (done.ranHandler || done.jumps) return FinishEvent(state, done);
    if (!std::exchange(sawAll, true)) continue;
    WaitForSignals(state);
    if (PumpPlatformEvents(state)) return 0;
    TRY(RequireWindow(input));
  }
}

CommandResult CheckEventCommand(VmState& state) {
  vmCheckArgs(state, 0, 0);
  TRY(RequireNoCallback(state));
  vmRequestLineHook(state);
  return FinishEvent(state, TRY(Dispatch(state)));
}

CommandResult InstallEventHandlerCommand(VmState& state) {
  vmCheckArgs(state, 1, 2);
  vmArgTable(state, tableArgument);
  const int userdataIndex = vmGetTop(state) >= 2 ? 2 : noUserdata;
  InputState& input = vmRoom<InputState>(state);
  qmDisplay& display = *input.scene().currentDisplay;

  std::array<bool, eventHandlerCount> changed{};
  for (std::size_t i = 0; i < displayKeys.size(); ++i) {
    changed[i] = ReadHandler(state, displayKeys[i], userdataIndex, display.input.eventHandlers[i]);
  }
  for (std::size_t i = 0; i < globalKeys.size(); ++i) {
    ReadHandler(state, globalKeys[i], userdataIndex, input.globalHandlers[i]);
  }

  display.input.closeHandled = HandlerOf(display, HandlerSlot::CloseWindow).func != vmNoRef;
  if (changed[static_cast<std::size_t>(HandlerSlot::DropFile)]) SetDropZone(display);
  if (changed[static_cast<std::size_t>(HandlerSlot::ClipboardChange)]) TRY(WatchClipboard(input));
  TellSoundHandlers(input);
  return 0;
}

CommandResult SetEventTimeoutCommand(VmState& state) {
  vmCheckArgs(state, 1, 1);
  vmRoom<InputState>(state).eventTimeout = vmArgInt(state, 1);
  return 0;
}

CommandResult FreeEventCacheCommand(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmRoom<InputState>(state).queue.Clear();
  return 0;
}

CommandResult CtrlCQuitCommand(VmState& state) {
  return SetSwitch(state, &InputState::ctrlCQuit);
}

CommandResult EscapeQuitCommand(VmState& state) {
  return SetSwitch(state, &InputState::escapeQuit);
}

CommandResult LeftMouseQuitCommand(VmState& state) {
  return SetSwitch(state, &InputState::leftMouseQuit);
}

}  // namespace quillmere
