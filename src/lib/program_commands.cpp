// The program itself, its surroundings, and its end.
#include "files/files_state.h"
#include "lib/lib_state.h"
#include "lib/system_commands.h"
#include "vm/constants.h"

namespace quillmere::system_library {
namespace {

enum ProgramType { PRGTYPE_SCRIPT, PRGTYPE_APPLET, PRGTYPE_PROGRAM };
enum MemoryKind { CHIPMEMORY, FASTMEMORY };

}  // namespace

CommandResult End(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmSetQuitFlag(state, true);
  return 0;
}

CommandResult GetVersion(VmState& state) {
  vmCheckArgs(state, 0, 1);
  vmNewTable(state);
  vmSetFieldString(state, "application", "QuillmerePlayer");
  vmSetFieldString(state, "version", "4.8");
  vmSetFieldString(state, "version_date", "21.04.11");
  vmSetFieldString(state, "kernel", "4.8");
  vmSetFieldString(state, "kernel_date", "21.04.11");
  vmSetFieldInt(state, "beta", 0);
  vmSetFieldString(state, "platform", "AmigaOS4");
  return 1;
}

CommandResult GetProgramInfo(VmState& state) {
  vmCheckArgs(state, 0, 0);
  const qmCLArgs& arguments = vmRoom<FilesState>(state).clargs;
  if (vmRoom<LibState>(state).isAppended) {
    vmPushNumber(state, PRGTYPE_PROGRAM);
    vmPushBytes(state, arguments.selfPath);
    return 2;
  }
  vmPushNumber(state, arguments.isApplet ? PRGTYPE_APPLET : PRGTYPE_SCRIPT);
  vmPushBytes(state, arguments.scriptPath);
  vmPushBytes(state, arguments.selfPath);
  return 3;
}

CommandResult GetCommandLine(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmNewTable(state);
  int count = 0;
  for (const UserArgument& argument : vmRoom<FilesState>(state).clargs.userArgs) {
    vmNewTable(state);
    vmSetFieldString(state, "arg", argument.name);
    vmSetFieldString(state, "param", argument.value.value_or(""));
    vmRawSetInt(state, -2, count++);
  }
  vmPushNumber(state, count);
  vmPushNumber(state, vmRoom<LibState>(state).startedFromShell ? 1 : 0);
  return 3;
}

CommandResult GetMemoryInfo(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const std::int32_t kind = vmArgInt(state, 1);
  if (kind != CHIPMEMORY && kind != FASTMEMORY) return Error::WrongUsage;
  const std::int64_t bytes = vmHost(state).Of<Platform>().files().AvailMem(kind);
  vmPushNumber(state, static_cast<double>(bytes));
  return 1;
}

CommandResult OpenURL(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return vmHost(state).Of<Platform>().locale().OpenUrl(vmArgString(state, 1));
}

CommandResult GetConstant(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const VmConstant constant = TRY(ParseConstantName(state, vmArgString(state, 1))).constant;
  if (constant.text) {
    vmPushBytes(state, *constant.text);
  } else {
    vmPushNumber(state, constant.number);
  }
  return 1;
}

}  // namespace quillmere::system_library
