// The one wait of the main task, and what can end it.
#pragma once

#include <chrono>
#include <optional>

#include "platform/time.h"

namespace quillmere {

/// A set of wake-up reasons.
enum class Wake : unsigned {
  Nothing = 0,
  Input = 1,      ///< a window or desktop message waits
  Timer = 2,      ///< a deadline that was asked for has passed
  Event = 4,      ///< another task has posted something (sound, clipboard)
  Requester = 8,  ///< a requester has its answer
  Break = 16,     ///< the break signal: the program shall end
  Pulse = 32,     ///< the wait task has slept for as long as it was told
};
[[nodiscard]] constexpr Wake operator|(Wake a, Wake b) {
  return static_cast<Wake>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr Wake& operator|=(Wake& a, Wake b) {
  return a = a | b;
}
[[nodiscard]] constexpr bool Has(Wake set, Wake reason) {
  return (static_cast<unsigned>(set) & static_cast<unsigned>(reason)) != 0;
}

class PlatformWaiting {
 public:
  virtual ~PlatformWaiting() = default;
  /// Sleeps until any source fires, or until `deadline` when there is one. On the virtual clock the
  /// time jumps there. Returns all reasons that hold and takes them, so that each is told once;
  /// only `Wake::Input` holds on until the messages are fetched. When nothing can ever end the
  /// wait, the answer holds `Wake::Break` on the virtual clock.
  virtual Wake WaitForSignals(std::optional<SysTime> deadline) = 0;
  /// Wakes the main task with `Wake::Event`; callable from any task.
  virtual void SignalEvent() = 0;
  /// Asks the wait task for one `Wake::Pulse` after that time. A pulse under way is replaced.
  virtual void StartPulse(std::chrono::milliseconds delay) = 0;
  /// Gives up the pulse under way, if there is one, and one that has not been told yet.
  virtual void AbortPulse() = 0;
  /// True once after a break signal that no wait has told of, without sleeping.
  [[nodiscard]] virtual bool TakeBreak() = 0;
  /// Says whether other programs can send this one something: with an open port a wait may last
  /// for ever also on the virtual clock.
  virtual void SetPortOpen(bool open) = 0;
};

}  // namespace quillmere
