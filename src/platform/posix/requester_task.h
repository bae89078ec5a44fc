// The task on which requesters run, so that the main task goes on gathering events.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>

#include "platform/requesters.h"
#include "platform/task.h"

namespace quillmere {

/// The destructor asks a running requester to end and waits for it.
class RequesterTask final : public PlatformRequesters {
 public:
  /// Shows a request and blocks until it is answered or `stop` is requested.
  using Runner = std::function<RequesterAnswer(const RequesterCall& call, std::stop_token stop)>;

  /// `run` is called on the requester task, and `answered` there as soon as the answer is ready.
  [[nodiscard]] static Result<std::unique_ptr<RequesterTask>> Create(
      Runner run, std::function<void()> answered);

  void Start(RequesterCall call) override;
  std::optional<RequesterAnswer> TakeAnswer() override;
  /// Whether a requester runs whose answer is not ready.
  [[nodiscard]] bool IsRunning() const;

 private:
  RequesterTask(Runner run, std::function<void()> answered)
      : run_(std::move(run)), answered_(std::move(answered)) {}
  void Run(const std::stop_token& stop);

  Runner run_;
  std::function<void()> answered_;
  mutable std::mutex mutex_;
  std::condition_variable_any started_;
  std::optional<RequesterCall> call_;
  std::optional<RequesterAnswer> answer_;
  bool running_ = false;
  std::optional<PlatformTask> task_;
};

/// Cuts a text to the greatest length that the call allows.
void LimitAnswer(const RequesterCall& call, RequesterAnswer& answer);

}  // namespace quillmere
