#include "platform/posix/wait_task.h"

namespace quillmere {

Result<std::unique_ptr<WaitTask>> WaitTask::Create(std::function<void()> pulse) {
  std::unique_ptr<WaitTask> task(new WaitTask(std::move(pulse)));
  task->task_ = TRY(PlatformTask::Create("Quillmere wait task", 0,
                                         [self = task.get()](std::stop_token) { self->Run(); }));
  return task;
}

WaitTask::~WaitTask() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_one();
  task_.reset();
}

void WaitTask::Start(std::chrono::milliseconds delay) {
  {
    const std::lock_guard lock(mutex_);
    due_ = std::chrono::steady_clock::now() + delay;
  }
  changed_.notify_one();
}

void WaitTask::Abort() {
  const std::lock_guard lock(mutex_);
  due_.reset();
}

void WaitTask::Run() {
  std::unique_lock lock(mutex_);
  while (!ending_) {
    if (!due_) {
      changed_.wait(lock);
    } else if (std::chrono::steady_clock::now() < *due_) {
      changed_.wait_until(lock, *due_);
    } else {
      due_.reset();
      pulse_();
    }
  }
}

}  // namespace quillmere
