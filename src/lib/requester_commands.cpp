// Questions to the user.
#include <algorithm>
#include <charconv>
#include <string>

#include "base/names.h"
#include "base/number_text.h"
#include "base/numbers.h"
#include "input/input_state.h"
#include "input/pump.h"
#include "lib/file_pattern.h"
#include "lib/lib_state.h"
#include "lib/system_commands.h"

namespace quillmere::system_library {
namespace {

/// What a string requester takes.
constexpr std::int32_t ALL = 0;
constexpr std::int32_t NUMERICAL = 3;
constexpr std::int32_t longestAnswer = 1024;

enum RequesterMode { REQ_NORMAL, REQ_MULTISELECT, REQ_SAVEMODE };

constexpr std::int32_t lastRequesterIcon = 4;

/// Says that a request stands before the user for as long as it lives. The keys that are held when
/// it ends went to the request.
class RequesterScope {
 public:
  explicit RequesterScope(qmDisplay* display) : display_(display) {
    if (display_ != nullptr) display_->input.requesterActive = true;
  }
  ~RequesterScope() {
    if (display_ == nullptr) return;
    display_->input.requesterActive = false;
    display_->input.keyState.fill(false);
  }
  RequesterScope(const RequesterScope&) = delete;
  RequesterScope& operator=(const RequesterScope&) = delete;

 private:
  qmDisplay* display_;
};

/// Shows a request to the user and gathers events until it is answered. It must be answered before
/// another may start, also when the program is about to end.
RequesterAnswer AskUser(VmState& state, RequesterCall call) {
  const InputState& input = vmRoom<InputState>(state);
  const RequesterScope scope(input.scene().currentDisplay);
  PlatformRequesters& requesters = input.platform().requesters();
  requesters.Start(std::move(call));
  while (true) {
    if (std::optional<RequesterAnswer> answer = requesters.TakeAnswer()) return std::move(*answer);
    WaitForSignals(state);
    PumpPlatformEvents(state);
  }
}

std::string ArgText(VmState& state, int index) {
  return std::string(vmArgString(state, index));
}

std::vector<std::string> SplitButtons(std::string_view text) {
  std::vector<std::string> buttons;
  while (true) {
    const std::size_t end = text.find('|');
    buttons.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return buttons;
    text.remove_prefix(end + 1);
  }
}

/// The integer at the front of a text as a text again; "0" when there is none.
std::string IntegerText(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  const NumberText number = ParseDecimal(text).value_or(NumberText{});
  return std::to_string(ToInt32(number.value));
}

/// Pushes the paths as the entries 0, 1, ... of a new table, closed by an empty text.
void PushPaths(VmState& state, const std::vector<std::string>& paths) {
  vmNewTable(state);
  int index = 0;
  for (const std::string& path : paths) {
    vmPushBytes(state, path);
    vmRawSetInt(state, -2, index++);
  }
  vmPushBytes(state, "");
  vmRawSetInt(state, -2, index);
}

}  // namespace

CommandResult SystemRequest(VmState& state) {
  vmCheckArgs(state, 3, 4);
  const Messages& messages = vmHost(state).messages;
  RequesterCall call;
  call.kind = RequesterCall::Kind::Choice;
  call.title = ArgText(state, 1);
  call.body = ArgText(state, 2);
  call.buttons = SplitButtons(vmArgString(state, 3));
  const std::int32_t icon = vmArgOptInt(state, 4, 0);
  if (icon >= 0 && icon <= lastRequesterIcon) call.icon = icon;
  if (call.title.empty()) call.title = messages.Get(MessageId::Ok);
  if (call.buttons.size() == 1 && call.buttons[0].empty()) {
    call.buttons[0] = messages.Get(MessageId::Ok);
  }
  vmPushNumber(state, AskUser(state, std::move(call)).choice);
  return 1;
}

CommandResult StringRequest(VmState& state) {
  vmCheckArgs(state, 2, 6);
  RequesterCall call;
  call.kind = RequesterCall::Kind::String;
  call.title = ArgText(state, 1);
  call.body = ArgText(state, 2);
  call.defaultText = vmArgOptString(state, 3, "");
  call.type = vmArgOptInt(state, 4, ALL);
  const std::int32_t maxLength = vmArgOptInt(state, 5, 0);
  const bool hides = vmArgOptInt(state, 6, 0) != 0;
  if (call.type != ALL && call.type != NUMERICAL) return Error::WrongUsage;
  const bool isNumber = call.type == NUMERICAL;
  call.maxLength = maxLength >= 1 && maxLength <= longestAnswer ? maxLength : longestAnswer;
  call.password = hides && !isNumber;
  if (isNumber) call.defaultText = IntegerText(call.defaultText);
  const auto limit = static_cast<std::size_t>(call.maxLength);
  call.defaultText = call.defaultText.substr(0, limit);
  const RequesterAnswer answer = AskUser(state, std::move(call));
  std::string text;
  if (!answer.cancelled)
    text = (isNumber ? IntegerText(answer.text) : answer.text).substr(0, limit);
  vmPushBytes(state, text);
  vmPushNumber(state, answer.cancelled ? 0 : 1);
  return 2;
}

CommandResult FileRequest(VmState& state) {
  vmCheckArgs(state, 2, 5);
  LibState& lib = vmRoom<LibState>(state);
  RequesterCall call;
  call.kind = RequesterCall::Kind::File;
  call.title = ArgText(state, 1);
  call.pattern = PlatformFilePattern(vmArgString(state, 2));
  const std::uint32_t mode = vmArgOptUnsigned(state, 3, REQ_NORMAL);
  call.defaultText = vmArgOptString(state, 4, lib.requestDirectory);
  call.fileName = vmArgOptString(state, 5, lib.requestFile);
  if (mode > REQ_SAVEMODE) return Error::WrongUsage;
  call.multiSelect = mode == REQ_MULTISELECT;
  call.saveMode = mode == REQ_SAVEMODE;
  RequesterAnswer answer = AskUser(state, std::move(call));
  if (answer.cancelled) answer.paths.clear();
  if (!answer.paths.empty()) {
    const std::string_view path = answer.paths.front();
    lib.requestDirectory = PathPart(path);
    lib.requestFile = mode == REQ_MULTISELECT ? std::string_view() : NamePart(path);
  }
  if (mode == REQ_MULTISELECT) {
    PushPaths(state, answer.paths);
  } else {
    vmPushBytes(state, answer.paths.empty() ? std::string_view() : answer.paths.front());
  }
  return 1;
}

CommandResult PathRequest(VmState& state) {
  vmCheckArgs(state, 1, 3);
  LibState& lib = vmRoom<LibState>(state);
  RequesterCall call;
  call.kind = RequesterCall::Kind::Path;
  call.title = ArgText(state, 1);
  const std::int32_t mode = vmArgOptInt(state, 2, REQ_NORMAL);
  call.defaultText = vmArgOptString(state, 3, lib.requestDirectory);
  if (mode != REQ_NORMAL && mode != REQ_SAVEMODE) return Error::WrongUsage;
  call.saveMode = mode == REQ_SAVEMODE;
  call.drawersOnly = true;
  const RequesterAnswer answer = AskUser(state, std::move(call));
  const bool isConfirmed = !answer.cancelled && !answer.paths.empty();
  if (isConfirmed) lib.requestDirectory = answer.paths.front();
  vmPushBytes(state, isConfirmed ? lib.requestDirectory : std::string_view());
  return 1;
}

}  // namespace quillmere::system_library
