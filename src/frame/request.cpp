#include "frame/request.h"

#include "platform/platform.h"

namespace quillmere {

int ShowRequest(Host& host, std::string body, std::vector<std::string> buttons) {
  auto& platform = host.Of<Platform>();
  RequesterCall call;
  call.kind = RequesterCall::Kind::Choice;
  call.title = requestTitle;
  call.body = std::move(body);
  call.buttons = std::move(buttons);
  platform.requesters().Start(std::move(call));
  for (;;) {
    if (const auto answer = platform.requesters().TakeAnswer()) {
      return answer->cancelled ? 0 : answer->choice;
    }
    if (Has(platform.waiting().WaitForSignals(std::nullopt), Wake::Break)) {
      const auto answer = platform.requesters().TakeAnswer();
      return answer && !answer->cancelled ? answer->choice : 0;
    }
  }
}

}  // namespace quillmere
