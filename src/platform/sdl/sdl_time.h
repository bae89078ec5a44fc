// The clock of the desktop, and the one wait on everything that SDL and other tasks have to tell.
#pragma once

#include <SDL.h>

#include <chrono>
#include <memory>
#include <optional>

#include "platform/posix/signal_box.h"
#include "platform/posix/wait_task.h"
#include "platform/sdl/sdl_windows.h"
#include "platform/time.h"
#include "platform/waiting.h"

namespace quillmere {

class SdlTime final : public PlatformTime, public PlatformWaiting {
 public:
  SdlTime(SignalBox& signals, SdlWindows& windows) : signals_(signals), windows_(windows) {}

  [[nodiscard]] bool StartWaitTask();
  /// Lets other tasks wake the wait; false when SDL has no event left for it.
  [[nodiscard]] bool StartWakeEvent();

  SysTime GetSysTime() override;
  LocalTime Now() override;
  void WaitVerticalBlank() override;
  void SleepUntil(SysTime time) override;

  Wake WaitForSignals(std::optional<SysTime> deadline) override;
  void SignalEvent() override { signals_.Raise(Wake::Event); }
  void StartPulse(std::chrono::milliseconds delay) override;
  void AbortPulse() override;
  bool TakeBreak() override { return Has(signals_.Take(Wake::Break), Wake::Break); }
  void SetPortOpen(bool /*open*/) override {}

 private:
  SignalBox& signals_;
  SdlWindows& windows_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::unique_ptr<WaitTask> waitTask_;
};

}  // namespace quillmere
