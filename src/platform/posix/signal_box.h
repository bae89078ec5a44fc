// The wake-ups that tasks send to the main task.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>

#include "platform/waiting.h"

namespace quillmere {

/// Gathers reasons to wake up until somebody takes them. Every operation may be called from any
/// task.
class SignalBox {
 public:
  /// Called on the raising task after each `Raise`, so that a wait of another kind ends too.
  void SetNotify(std::function<void()> notify);

  void Raise(Wake reason);
  /// Takes the reasons that are there out of `wanted`.
  Wake Take(Wake wanted);
  Wake TakeAll() { return Take(static_cast<Wake>(~0U)); }
  [[nodiscard]] bool Holds(Wake reason) const {
    return (pending_.load(std::memory_order_acquire) & static_cast<unsigned>(reason)) != 0;
  }

  /// Sleeps until there is a reason, or until `deadline`.
  void WaitUntil(std::optional<std::chrono::steady_clock::time_point> deadline);

 private:
  std::atomic<unsigned> pending_ = 0;
  std::mutex mutex_;
  std::condition_variable raised_;
  std::function<void()> notify_;
};

}  // namespace quillmere
