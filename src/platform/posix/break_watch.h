// Gathers the signals that ask the program to end.
#pragma once

#include <signal.h>

#include <functional>
#include <memory>
#include <optional>

#include "base/error.h"
#include "platform/task.h"

namespace quillmere {

/// While it lives, SIGINT, SIGTERM and SIGHUP do not end the process but call a function, on a task
/// of its own. A second signal that comes while `isPending` tells that the first was not seen yet
/// ends the process at once: the program is stuck and the user means it. SIGPIPE is ignored: a
/// write fails instead.
class BreakWatch {
 public:
  [[nodiscard]] static Result<std::unique_ptr<BreakWatch>> Create(std::function<void()> onBreak,
                                                                  std::function<bool()> isPending);
  ~BreakWatch();

 private:
  BreakWatch() = default;
  void Run();

  std::function<void()> onBreak_;
  std::function<bool()> isPending_;
  sigset_t oldMask_{};
  struct sigaction oldPipeAction_ {};
  int signals_ = -1;
  int stop_ = -1;
  bool maskChanged_ = false;
  std::optional<PlatformTask> task_;
};

}  // namespace quillmere
