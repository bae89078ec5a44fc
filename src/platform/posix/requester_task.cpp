#include "platform/posix/requester_task.h"

#include <utility>

namespace quillmere {

Result<std::unique_ptr<RequesterTask>> RequesterTask::Create(Runner run,
                                                             std::function<void()> answered) {
  std::unique_ptr<RequesterTask> task(new RequesterTask(std::move(run), std::move(answered)));
  task->task_ = TRY(
      PlatformTask::Create("Quillmere requester task", 0,
                           [self = task.get()](const std::stop_token& stop) { self->Run(stop); }));
  return task;
}

void RequesterTask::Start(RequesterCall call) {
  {
    const std::lock_guard lock(mutex_);
    call_ = std::move(call);
    answer_.reset();
    running_ = true;
  }
  started_.notify_one();
}

std::optional<RequesterAnswer> RequesterTask::TakeAnswer() {
  const std::lock_guard lock(mutex_);
  return std::exchange(answer_, std::nullopt);
}

bool RequesterTask::IsRunning() const {
  const std::lock_guard lock(mutex_);
  return running_;
}

void RequesterTask::Run(const std::stop_token& stop) {
  std::unique_lock lock(mutex_);
  while (started_.wait(lock, stop, [this] { return call_.has_value(); })) {
    const RequesterCall call = std::move(*call_);
    call_.reset();
    lock.unlock();
    RequesterAnswer answer = run_(call, stop);
    LimitAnswer(call, answer);
    lock.lock();
    answer_ = std::move(answer);
    running_ = false;
    lock.unlock();
    answered_();
    lock.lock();
  }
}

void LimitAnswer(const RequesterCall& call, RequesterAnswer& answer) {
  const auto limit = static_cast<std::size_t>(call.maxLength > 0 ? call.maxLength : 0);
  if (limit > 0 && answer.text.size() > limit) answer.text.resize(limit);
}

}  // namespace quillmere
