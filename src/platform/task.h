// Further flows of control in the same address space.
#pragma once

#include <functional>
#include <stop_token>
#include <string>
#include <thread>

#include "base/error.h"

namespace quillmere {

/// A task that runs beside the main task. The destructor asks it to stop and waits for its end;
/// `RequestStop` alone asks. A task must not touch what belongs to the main task.
class PlatformTask {
 public:
  using Entry = std::function<void(std::stop_token)>;

  /// Starts a task. The system shows the first 15 characters of the name. A priority above 0 asks
  /// the system to prefer it, which the system may refuse. Failing is `Error::NoTask`.
  [[nodiscard]] static Result<PlatformTask> Create(const std::string& name, int priority,
                                                   Entry entry);

  void RequestStop() { thread_.request_stop(); }
  /// Waits for the end of the task.
  void Join() {
    if (thread_.joinable()) thread_.join();
  }

 private:
  explicit PlatformTask(std::jthread thread) : thread_(std::move(thread)) {}

  std::jthread thread_;
};

}  // namespace quillmere
