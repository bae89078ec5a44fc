#include "platform/posix/signal_box.h"

namespace quillmere {

void SignalBox::SetNotify(std::function<void()> notify) {
  const std::lock_guard lock(mutex_);
  notify_ = std::move(notify);
}

void SignalBox::Raise(Wake reason) {
  const std::lock_guard lock(mutex_);
  pending_.fetch_or(static_cast<unsigned>(reason), std::memory_order_acq_rel);
  raised_.notify_all();
  if (notify_) notify_();
}

Wake SignalBox::Take(Wake wanted) {
  const auto bits = static_cast<unsigned>(wanted);
  if ((pending_.load(std::memory_order_acquire) & bits) == 0) return Wake::Nothing;
  return static_cast<Wake>(pending_.fetch_and(~bits, std::memory_order_acq_rel) & bits);
}

void SignalBox::WaitUntil(std::optional<std::chrono::steady_clock::time_point> deadline) {
  std::unique_lock lock(mutex_);
  const auto any = [this] { return pending_.load(std::memory_order_acquire) != 0; };
  if (deadline) {
    raised_.wait_until(lock, *deadline, any);
  } else {
    raised_.wait(lock, any);
  }
}

}  // namespace quillmere
