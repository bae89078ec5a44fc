// Requesters without a user at the screen: each takes the next reply of the input script.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/requesters.h"

namespace quillmere {

class HeadlessRequests {
 public:
  HeadlessRequests(std::vector<RequesterAnswer> replies,
                   std::function<void(std::string_view)> report)
      : replies_(replies.begin(), replies.end()), report_(std::move(report)) {}

  /// Answers a request and reports it in one line. A reply of another kind than the request asks
  /// for cancels it. Called on the requester task.
  RequesterAnswer Answer(const RequesterCall& call);

 private:
  std::deque<RequesterAnswer> replies_;
  std::function<void(std::string_view)> report_;
};

/// The line that tells of a request and its answer, its line feed included.
[[nodiscard]] std::string DescribeRequest(const RequesterCall& call, const RequesterAnswer& answer);

}  // namespace quillmere
