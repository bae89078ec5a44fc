// The task that sleeps for the main task, so that the main task can go on waiting for input.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "base/error.h"
#include "platform/task.h"

namespace quillmere {

/// The destructor ends the task, a sleep under way included.
class WaitTask {
 public:
  /// `pulse` is called on the wait task at the end of each sleep.
  [[nodiscard]] static Result<std::unique_ptr<WaitTask>> Create(std::function<void()> pulse);
  ~WaitTask();

  /// Starts a sleep; one under way is given up.
  void Start(std::chrono::milliseconds delay);
  /// Gives up the sleep under way. After it no pulse of that sleep comes.
  void Abort();

 private:
  explicit WaitTask(std::function<void()> pulse) : pulse_(std::move(pulse)) {}
  void Run();

  std::function<void()> pulse_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<std::chrono::steady_clock::time_point> due_;
  bool ending_ = false;
  std::optional<PlatformTask> task_;
};

}  // namespace quillmere
