#include "input/device_commands.h"

#include <functional>
#include <optional>

#include "input/input_state.h"
#include "input/pump.h"
#include "platform/keys.h"
#include "scene/display.h"

namespace quillmere {
namespace {

using ButtonFlag = bool DisplayInput::*;

DisplayInput& CurrentInput(VmState& state) {
  return vmRoom<SceneState>(state).currentDisplay->input;
}

int PushFlag(VmState& state, bool flag) {
  vmPushNumber(state, flag ? 1 : 0);
  return 1;
}

/// Called by the commands that look at the input as it is. A script that asks is likely to ask
/// again: what comes meanwhile shall be known by then, and the clock has to go on for it to come.
void NotePoll(VmState& state) {
  (void)vmRoom<InputState>(state).platform().time().GetSysTime();
  vmRequestLineHook(state);
}

int PushPolled(VmState& state, bool flag) {
  NotePoll(state);
  return PushFlag(state, flag);
}

CommandResult IsButtonDown(VmState& state, ButtonFlag button) {
  vmCheckArgs(state, 0, 0);
  return PushPolled(state, CurrentInput(state).*button);
}

/// Gathers events while a condition holds. False when the program is to quit.
bool WaitWhile(VmState& state, const std::function<bool()>& condition) {
  while (condition()) {
    WaitForSignals(state);
    if (PumpPlatformEvents(state)) return false;
  }
  return true;
}

/// Waits for a press and its release; what the queue holds by then is dropped, so that the click
/// does not reach the handlers. A window that closes meanwhile ends the wait.
CommandResult WaitForPress(VmState& state, const std::function<bool()>& isDown) {
  InputState& input = vmRoom<InputState>(state);
  TRY(RequireWindow(input));
  const auto isUp = [&] { return !isDown() && RequireWindow(input).has_value(); };
  if (WaitWhile(state, isUp)) WaitWhile(state, isDown);
  input.queue.Clear();
  return RequireWindow(input);
}

CommandResult WaitForButton(VmState& state, ButtonFlag button) {
  vmCheckArgs(state, 0, 0);
  return WaitForPress(state, [&state, button] { return CurrentInput(state).*button; });
}

CommandResult WhileButtonDown(VmState& state, ButtonFlag button) {
  vmCheckArgs(state, 0, 0);
  WaitWhile(state, [&state, button] { return CurrentInput(state).*button; });
  return 0;
}

/// The value of a key by the text that a script names it with: a single character that prints, or a
/// name. Nothing when there is no such key.
std::optional<std::uint32_t> KeyOfText(VmState& state, std::string_view text) {
  if (text.size() != 1) return FindKeyName(text);
  const int character = static_cast<unsigned char>(text.front());
  if (!vmRoom<InputState>(state).platform().locale().IsPrint(character)) return std::nullopt;
  return static_cast<std::uint32_t>(character);
}

bool IsQualifier(std::uint32_t key) {
  return key >= 0x80000000;
}

bool IsHeld(VmState& state, std::uint32_t key) {
  if (IsQualifier(key)) {
    return (vmRoom<InputState>(state).platform().windows().GetQualifiers() & key) == key;
  }
  return CurrentInput(state).keyState[key];
}

CommandResult MouseCoordinate(VmState& state, std::int32_t ScriptPoint::*coordinate) {
  vmCheckArgs(state, 0, 0);
  const ScriptPoint point = PointerInDisplay(*vmRoom<SceneState>(state).currentDisplay);
  NotePoll(state);
  vmPushNumber(state, point.*coordinate);
  return 1;
}

Result<JoystickState> ReadPort(VmState& state) {
  constexpr std::int32_t highestPort = 32;
  const std::int32_t port = vmArgInt(state, 1);
  if (port < 0 || port > highestPort) return Fail(Error::WrongUsage);
  NotePoll(state);
  return vmRoom<InputState>(state).platform().input().ReadJoystick(port);
}

}  // namespace

CommandResult IsLeftMouseCommand(VmState& state) {
  return IsButtonDown(state, &DisplayInput::leftMouseDown);
}

CommandResult IsRightMouseCommand(VmState& state) {
  return IsButtonDown(state, &DisplayInput::rightMouseDown);
}

CommandResult IsMidMouseCommand(VmState& state) {
  return IsButtonDown(state, &DisplayInput::midMouseDown);
}

CommandResult WaitLeftMouseCommand(VmState& state) {
  return WaitForButton(state, &DisplayInput::leftMouseDown);
}

CommandResult WaitRightMouseCommand(VmState& state) {
  return WaitForButton(state, &DisplayInput::rightMouseDown);
}

CommandResult WaitMidMouseCommand(VmState& state) {
  return WaitForButton(state, &DisplayInput::midMouseDown);
}

CommandResult WhileMouseDownCommand(VmState& state) {
  return WhileButtonDown(state, &DisplayInput::leftMouseDown);
}

CommandResult WhileRightMouseDownCommand(VmState& state) {
  return WhileButtonDown(state, &DisplayInput::rightMouseDown);
}

CommandResult WaitKeyDownCommand(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const auto key = KeyOfText(state, vmArgString(state, 1));
  if (!key || IsQualifier(*key)) return Error::WrongUsage;
  return WaitForPress(state, [&state, key] { return IsHeld(state, *key); });
}

CommandResult IsKeyDownCommand(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const auto key = KeyOfText(state, vmArgString(state, 1));
  if (!key) return Error::WrongUsage;
  return PushPolled(state, IsHeld(state, *key));
}

CommandResult ResetKeyStatesCommand(VmState& state) {
  vmCheckArgs(state, 0, 0);
  CurrentInput(state).keyState.fill(false);
  return 0;
}

CommandResult MouseXCommand(VmState& state) {
  return MouseCoordinate(state, &ScriptPoint::x);
}

CommandResult MouseYCommand(VmState& state) {
  return MouseCoordinate(state, &ScriptPoint::y);
}

CommandResult CountJoysticksCommand(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmPushNumber(state, vmRoom<InputState>(state).platform().input().CountJoysticks());
  return 1;
}

CommandResult JoyDirCommand(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const JoystickState joystick = TRY(ReadPort(state));
  vmPushNumber(state, joystick.direction);
  return 1;
}

CommandResult JoyFireCommand(VmState& state) {
  vmCheckArgs(state, 1, 2);
  const std::uint32_t button = vmArgOptUnsigned(state, 2, 1);
  const JoystickState joystick = TRY(ReadPort(state));
  constexpr std::uint32_t buttonBits = 32;
  if (button == 0) {
    vmPushNumber(state, joystick.buttons);
    return 1;
  }
  return PushFlag(state, button <= buttonBits && (joystick.buttons >> (button - 1) & 1) != 0);
}

}  // namespace quillmere
