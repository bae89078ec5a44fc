// The pump: what the platform has to say becomes input state and raw events. It runs on the main
// task, from every command that waits and at each new source line, and never calls the script.
#pragma once

#include <cstdint>

#include "platform/waiting.h"
#include "vm/vm.h"

namespace quillmere {

struct InputState;

/// Drains the platform's messages and carries out what they ask of the displays. True when the
/// program must quit; the quit flag is set then.
bool PumpPlatformEvents(VmState& state);

/// Sleeps until something happens: a message, a timer, another task. A break sets the quit flag.
Wake WaitForSignals(VmState& state);

/// Sleeps for that time while events are gathered; script functions do not run. True when the
/// program must quit. A time below 1 is over at once.
bool SleepPumping(VmState& state, std::int32_t milliseconds);

/// The line hook of the machine: pumps.
void ScriptLineHook(VmState& state, VmHookEvent event, int line);

}  // namespace quillmere
