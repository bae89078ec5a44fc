// The handlers of the system library, by the file that holds them. Each follows the contract of
// `VmNative`.
#pragma once

#include "vm/vm.h"

namespace quillmere::system_library {

// catalog_commands.cpp
CommandResult OpenCatalog(VmState& state);
CommandResult CloseCatalog(VmState& state);
CommandResult GetCatalogString(VmState& state);

// clipboard_commands.cpp
CommandResult SetClipboard(VmState& state);
CommandResult GetClipboard(VmState& state);
CommandResult PeekClipboard(VmState& state);
CommandResult ClearClipboard(VmState& state);

// date_commands.cpp
CommandResult GetDate(VmState& state);
CommandResult GetTime(VmState& state);
CommandResult GetWeekday(VmState& state);
CommandResult GetDateNum(VmState& state);
CommandResult CompareDates(VmState& state);

// debug_commands.cpp
CommandResult DebugPrint(VmState& state);
CommandResult DebugOutputSwitch(VmState& state);
CommandResult ExitOnError(VmState& state);
CommandResult GetLastError(VmState& state);
CommandResult GetErrorName(VmState& state);
CommandResult RaiseScriptError(VmState& state);

// icon_commands.cpp
CommandResult GetIconProperties(VmState& state);
CommandResult SetIconProperties(VmState& state);
CommandResult SetWBIcon(VmState& state);

// program_commands.cpp
CommandResult End(VmState& state);
CommandResult GetVersion(VmState& state);
CommandResult GetProgramInfo(VmState& state);
CommandResult GetCommandLine(VmState& state);
CommandResult GetMemoryInfo(VmState& state);
CommandResult OpenURL(VmState& state);
CommandResult GetConstant(VmState& state);

// requester_commands.cpp
CommandResult SystemRequest(VmState& state);
CommandResult StringRequest(VmState& state);
CommandResult FileRequest(VmState& state);
CommandResult PathRequest(VmState& state);

// sort_command.cpp
CommandResult Sort(VmState& state);

// table_commands.cpp
CommandResult ListItems(VmState& state);
CommandResult InsertItem(VmState& state);
CommandResult RemoveItem(VmState& state);
CommandResult Unpack(VmState& state);
CommandResult CopyTable(VmState& state);
CommandResult NextItem(VmState& state);
CommandResult Pairs(VmState& state);
CommandResult IPairs(VmState& state);

// timer_commands.cpp
CommandResult StartTimer(VmState& state);
CommandResult StopTimer(VmState& state);
CommandResult GetTimer(VmState& state);
CommandResult PauseTimer(VmState& state);
CommandResult ResumeTimer(VmState& state);
CommandResult ResetTimer(VmState& state);
CommandResult Wait(VmState& state);
CommandResult WaitTimer(VmState& state);

// value_commands.cpp
CommandResult GetType(VmState& state);
CommandResult IIf(VmState& state);
CommandResult RawGet(VmState& state);
CommandResult RawSet(VmState& state);
CommandResult RawEqual(VmState& state);
CommandResult GetMetaTable(VmState& state);
CommandResult SetMetaTable(VmState& state);
CommandResult GCInfo(VmState& state);
CommandResult CollectGarbage(VmState& state);

}  // namespace quillmere::system_library
