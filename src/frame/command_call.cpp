#include "frame/command_call.h"

#include "base/fold.h"
#include "frame/preload.h"

namespace quillmere {

Status BeginCommand(VmState& state, const char* name, int line) {
  VmErrorPosition& position = vmErrorPosition(state);
  position.command = name;
  position.line = line;
  vmPushBytes(state, FoldLower(name));
  vmRawGet(state, vmGlobalsIndex);
  if (vmType(state, -1) == VmType::Function) return {};
  vmPop(state, 1);
  return vmHost(state).errors.Fail(Error::FunctionNotFound, std::string(name));
}

Status FinishCommand(VmState& state, int argumentCount) {
  const int code = vmPCall(state, argumentCount, 0);
  if (code != 0) return Fail(static_cast<Error>(code));
  vmErrorPosition(state).command = noCommand;
  return {};
}

}  // namespace quillmere
