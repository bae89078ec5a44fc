#include "input/event_message.h"

#include <span>

#include "platform/keys.h"

namespace quillmere {
namespace {

/// Counts a running script callback for the error path.
class CallbackDepth {
 public:
  explicit CallbackDepth(Host& host) : depth_(host.flags.callbackDepth) { ++depth_; }
  ~CallbackDepth() { --depth_; }
  CallbackDepth(const CallbackDepth&) = delete;
  CallbackDepth& operator=(const CallbackDepth&) = delete;

 private:
  int& depth_;
};

void PushMessageTable(VmState& state, const EventMessage& message) {
  vmNewTable(state);
  vmSetFieldString(state, "action", message.action);
  if (message.fill) message.fill(state);
  if (message.handler.userdata == vmNoRef) return;
  vmPushStringFast(state, "userdata");
  vmRawGetInt(state, vmRegistryIndex, message.handler.userdata);
  vmRawSet(state, -3);
}

}  // namespace

Result<Dispatched> CallHandler(VmState& state, const EventMessage& message) {
  constexpr int slotsForCall = 24;
  if (!vmCheckStack(state, slotsForCall)) return Fail(Error::StackOverflow);
  const int stackTop = vmGetTop(state);
  PushMessageTable(state, message);
  vmRawGetInt(state, vmRegistryIndex, message.handler.func);
  vmPushValue(state, stackTop + 1);

  int code = 0;
  {
    const CallbackDepth depth(vmHost(state));
    code = vmPCall(state, 1, vmMultipleResults);
  }
  if (code == 0 && vmQuitFlag(state)) code = static_cast<int>(Error::UserAbort);
  if (code != 0) {
    vmSetTop(state, stackTop);
    return Fail(static_cast<Error>(code));
  }
  return Dispatched{true, stackTop + 1};
}

std::string KeyText(std::int32_t code) {
  switch (static_cast<Key>(code)) {
    case Key::Return:
    case Key::Enter:
      return "\n";
    case Key::Space:
      return " ";
    case Key::Tab:
      return std::string(8, ' ');
    default:
      break;
  }
  return KeyNameText(code);
}

std::string KeyNameText(std::int32_t code) {
  constexpr std::int32_t firstNamedKey = 0x100;
  if (code < firstNamedKey) return std::string(1, static_cast<char>(code));
  for (const KeyName& name : KeyNames()) {
    if (name.value == static_cast<std::uint32_t>(code)) return name.name;
  }
  return {};
}

}  // namespace quillmere
