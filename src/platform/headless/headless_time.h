// The clock of the headless platform and the wait that moves it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/posix/signal_box.h"
#include "platform/posix/wait_task.h"
#include "platform/time.h"
#include "platform/waiting.h"

namespace quillmere {

/// Something that happens by itself as time passes: the user, the sound card.
class TimedSource {
 public:
  virtual ~TimedSource() = default;
  /// When it wants to run next; nothing when it never will. A time in the past means now.
  [[nodiscard]] virtual std::optional<SysTime> NextDue() = 0;
  /// Does all that is due at `now`.
  virtual void RunTo(SysTime now) = 0;
};

class HeadlessTime final : public PlatformTime, public PlatformWaiting {
 public:
  HeadlessTime(bool isVirtual, SignalBox& signals);

  /// A source takes part from now on; it must outlive this.
  void AddSource(TimedSource& source) { sources_.push_back(&source); }
  /// Whether messages of windows wait to be fetched.
  void SetInputTest(std::function<bool()> hasInput) { hasInput_ = std::move(hasInput); }
  /// Whether another task works on an answer, for which the virtual clock has to wait.
  void SetBusyTest(std::function<bool()> isBusy) { isBusy_ = std::move(isBusy); }
  /// False when the wait task cannot be started.
  [[nodiscard]] bool StartWaitTask();
  /// Lets the sources do what is due, without moving the clock.
  void RunSources();

  SysTime GetSysTime() override;
  LocalTime Now() override;
  void WaitVerticalBlank() override;
  void SleepUntil(SysTime time) override;

  Wake WaitForSignals(std::optional<SysTime> deadline) override;
  void SignalEvent() override { signals_.Raise(Wake::Event); }
  void StartPulse(std::chrono::milliseconds delay) override;
  void AbortPulse() override;
  bool TakeBreak() override { return Has(signals_.Take(Wake::Break), Wake::Break); }
  void SetPortOpen(bool open) override { portOpen_ = open; }

 private:
  /// The time as it stands.
  [[nodiscard]] SysTime Current() const;
  [[nodiscard]] std::optional<SysTime> NextOfSources() const;
  /// Everything that holds now.
  Wake Reasons(std::optional<SysTime> deadline);
  /// Sleeps or moves the clock up to that time; false when nothing can ever happen.
  [[nodiscard]] bool MoveTo(std::optional<SysTime> time);

  bool isVirtual_;
  SignalBox& signals_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  SysTime virtualNow_{};
  std::vector<TimedSource*> sources_;
  std::function<bool()> hasInput_;
  std::function<bool()> isBusy_;
  std::unique_ptr<WaitTask> waitTask_;
  /// The end of the pulse on the virtual clock.
  std::optional<SysTime> pulseDue_;
  bool portOpen_ = false;
};

}  // namespace quillmere
