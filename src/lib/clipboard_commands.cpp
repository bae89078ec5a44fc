// What the script leaves for other programs to paste, and what they left.
#include "lib/system_commands.h"
#include "platform/platform.h"

namespace quillmere::system_library {
namespace {

constexpr std::int32_t CLIPBOARD_TEXT = 1;

PlatformClipboard& Clipboard(VmState& state) {
  return vmHost(state).Of<Platform>().clipboard();
}

/// The number by which scripts know a kind of content.
double TypeOf(const ClipboardContent& content) {
  switch (content.kind) {
    case ClipboardContent::Kind::Empty:
      return 0;
    case ClipboardContent::Kind::Text:
      return CLIPBOARD_TEXT;
    case ClipboardContent::Kind::Image:
      return 2;
    case ClipboardContent::Kind::Unknown:
      break;
  }
  return 4;
}

}  // namespace

CommandResult SetClipboard(VmState& state) {
  vmCheckArgs(state, 2, 2);
  if (vmArgInt(state, 1) != CLIPBOARD_TEXT) return Error::WrongUsage;
  return Clipboard(state).WriteText(vmArgString(state, 2));
}

CommandResult GetClipboard(VmState& state) {
  vmCheckArgs(state, 0, 0);
  const ClipboardContent content = TRY(Clipboard(state).Read());
  vmPushNumber(state, TypeOf(content));
  if (content.kind != ClipboardContent::Kind::Text) return 1;
  vmPushBytes(state, content.text);
  return 2;
}

CommandResult PeekClipboard(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmPushNumber(state, TypeOf(TRY(Clipboard(state).Read())));
  return 1;
}

CommandResult ClearClipboard(VmState& state) {
  vmCheckArgs(state, 0, 0);
  return Clipboard(state).WriteText(" ");
}

}  // namespace quillmere::system_library
