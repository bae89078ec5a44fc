#include "input/device_commands.h"
#include "input/event_commands.h"
#include "input/input_state.h"
#include "input/label_events.h"
#include "input/libraries.h"
#include "input/timers.h"

namespace quillmere {
namespace {

constexpr VmCommandEntry commands[] = {
    {"WaitEvent", WaitEventCommand},
    {"CheckEvent", CheckEventCommand},
    {"InstallEventHandler", InstallEventHandlerCommand},
    {"SetEventTimeout", SetEventTimeoutCommand},
    {"ClearEvents", ClearEventsCommand},
    {"FreeEventCache", FreeEventCacheCommand},
    {"EnableEvent", EnableEventCommand},
    {"DisableEvent", DisableEventCommand},
    {"GetEventCode", GetEventCodeCommand},
    {"CtrlCQuit", CtrlCQuitCommand},
    {"EscapeQuit", EscapeQuitCommand},
    {"LeftMouseQuit", LeftMouseQuitCommand},
    {"IsLeftMouse", IsLeftMouseCommand},
    {"IsRightMouse", IsRightMouseCommand},
    {"IsMidMouse", IsMidMouseCommand},
    {"WaitLeftMouse", WaitLeftMouseCommand},
    {"WaitRightMouse", WaitRightMouseCommand},
    {"WaitMidMouse", WaitMidMouseCommand},
    {"WhileMouseDown", WhileMouseDownCommand},
    {"WhileRightMouseDown", WhileRightMouseDownCommand},
    {"WaitKeyDown", WaitKeyDownCommand},
    {"IsKeyDown", IsKeyDownCommand},
    {"WhileKeyDown", WhileKeyDownCommand},
    {"ResetKeyStates", ResetKeyStatesCommand},
    {"MouseX", MouseXCommand},
    {"MouseY", MouseYCommand},
    {"CountJoysticks", CountJoysticksCommand},
    {"JoyDir", JoyDirCommand},
    {"JoyFire", JoyFireCommand},
    {"CreateButton", CreateButtonCommand},
    {"ModifyButton", ModifyButtonCommand},
    {"RemoveButton", RemoveButtonCommand},
    {"CreateKeyDown", CreateKeyDownCommand},
    {"ModifyKeyDown", ModifyKeyDownCommand},
    {"RemoveKeyDown", RemoveKeyDownCommand},
    {"WhileMouseOn", WhileMouseOnCommand},
    {"BreakWhileMouseOn", BreakWhileMouseOnCommand},
    {"SetInterval", SetIntervalCommand},
    {"SetTimeout", SetTimeoutCommand},
    {"ClearInterval", ClearIntervalCommand},
    {"ClearTimeout", ClearTimeoutCommand},
    {"ChangeInterval", ChangeIntervalCommand},
};

constexpr VmConstantEntry constants[] = {
    {"MOVEWINDOW", nullptr, 6},
    {"SIZEWINDOW", nullptr, 7},
    {"INACTIVEWINDOW", nullptr, 8},
    {"ACTIVEWINDOW", nullptr, 9},
    {"CLOSEWINDOW", nullptr, 10},
    {"ONBUTTONCLICKALL", nullptr, 11},
    {"ONBUTTONRIGHTCLICKALL", nullptr, 12},
    {"ONBUTTONOVERALL", nullptr, 13},
    {"ONKEYDOWNALL", nullptr, 14},
    {"JOYUP", nullptr, 0},
    {"JOYUPRIGHT", nullptr, 1},
    {"JOYRIGHT", nullptr, 2},
    {"JOYDOWNRIGHT", nullptr, 3},
    {"JOYDOWN", nullptr, 4},
    {"JOYDOWNLEFT", nullptr, 5},
    {"JOYLEFT", nullptr, 6},
    {"JOYUPLEFT", nullptr, 7},
    {"JOYNODIR", nullptr, 8},
    {"ONBUTTONCLICK", nullptr, 2},
    {"ONBUTTONOVER", nullptr, 1},
    {"ONKEYDOWN", nullptr, 3},
    {"ONBUTTONRIGHTCLICK", nullptr, 5},
    {"SIMPLEBUTTON", nullptr, 0},
    {"LAYERBUTTON", nullptr, 1},
};

}  // namespace

Status OpenEventLibrary(VmState& state) {
  vmRoom<InputState>(state).machine = &state;
  vmOpenLibrary(state, "event", commands, constants);
  return {};
}

void CloseEventLibrary(VmState& state) {
  InputState& input = vmRoom<InputState>(state);
  for (auto* records : {&input.intervals, &input.timeouts}) {
    for (qmIntervalRecord& record : records->All()) ReleaseTimerRecord(state, record);
    records->Clear();
  }
  for (EventHandler& handler : input.globalHandlers) ReleaseHandler(state, handler);
  input.timers.Clear();
  input.labels.Clear();
  input.queue.Clear();
  input.machine = nullptr;
}

}  // namespace quillmere
