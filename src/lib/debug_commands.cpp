// Commands that speak to the author of a script, and those about failures.
#include <string>

#include "lib/globals.h"
#include "lib/system_commands.h"

namespace quillmere::system_library {
namespace {

/// Appends the text that the script's own `ToString` gives for the argument at `index`.
Status AppendText(VmState& state, int index, std::string& line) {
  PushGlobal(state, "tostring");
  vmPushValue(state, index);
  const int code = vmCall(state, 1, 1);
  if (code != 0) return Fail(static_cast<Error>(code));
  line += vmToBytes(state, -1);
  vmPop(state, 1);
  return {};
}

}  // namespace

CommandResult DebugPrint(VmState& state) {
  vmCheckArgs(state, 1, 0);
  std::string line;
  const int count = vmGetTop(state);
  for (int i = 1; i <= count; ++i) {
    if (i > 1) line += ' ';
    TRY(AppendText(state, i, line));
  }
  line += '\n';
  vmHost(state).debug.Write(line);
  return 0;
}

CommandResult DebugOutputSwitch(VmState& state) {
  vmCheckArgs(state, 1, 1);
  vmHost(state).flags.traceCalls = vmArgInt(state, 1) != 0;
  return 0;
}

CommandResult ExitOnError(VmState& state) {
  vmCheckArgs(state, 1, 1);
  vmHost(state).flags.exitOnError = vmArgInt(state, 1) != 0;
  return 0;
}

CommandResult GetLastError(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmPushNumber(state, vmLastError(state));
  return 1;
}

CommandResult GetErrorName(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const std::int32_t code = vmArgInt(state, 1);
  const Host& host = vmHost(state);
  vmPushBytes(state, ComposeErrorMessage(host.messages, host.errors, code));
  return 1;
}

CommandResult RaiseScriptError(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return vmHost(state).errors.Fail(Error::ScriptError, std::string(vmArgString(state, 1)));
}

}  // namespace quillmere::system_library
