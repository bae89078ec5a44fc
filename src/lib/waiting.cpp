#include "lib/waiting.h"

#include <optional>

#include "lib/lib_state.h"

namespace quillmere {
namespace {

/// Sleeps until something happens and gathers what it is. False when the user wants to leave.
bool WaitAndPump(VmState& state, std::optional<SysTime> deadline) {
  const Wake wake = vmHost(state).Of<Platform>().waiting().WaitForSignals(deadline);
  if (Has(wake, Wake::Break)) vmSetQuitFlag(state, true);
  const LibState& lib = vmRoom<LibState>(state);
  const bool pumpSaysQuit = lib.pumpWhileWaiting && lib.pumpWhileWaiting();
  return !pumpSaysQuit && !vmQuitFlag(state);
}

/// Says that a request stands before the user for as long as it lives.
class RequesterScope {
 public:
  explicit RequesterScope(LibState& lib) : lib_(lib) { Tell(true); }
  ~RequesterScope() { Tell(false); }
  RequesterScope(const RequesterScope&) = delete;
  RequesterScope& operator=(const RequesterScope&) = delete;

 private:
  void Tell(bool active) {
    if (lib_.requesterActive) lib_.requesterActive(active);
  }

  LibState& lib_;
};

}  // namespace

void WaitPumping(VmState& state, std::chrono::microseconds time) {
  PlatformTime& clock = vmHost(state).Of<Platform>().time();
  const SysTime deadline = clock.GetSysTime() + time;
  while (clock.GetSysTime() < deadline) {
    if (!WaitAndPump(state, deadline)) return;
  }
}

RequesterAnswer AskUser(VmState& state, RequesterCall call) {
  const RequesterScope scope(vmRoom<LibState>(state));
  PlatformRequesters& requesters = vmHost(state).Of<Platform>().requesters();
  requesters.Start(std::move(call));
  while (true) {
    if (std::optional<RequesterAnswer> answer = requesters.TakeAnswer()) return std::move(*answer);
    // A request that is open must be answered before another may start, also when the program is
    // about to end.
    static_cast<void>(WaitAndPump(state, std::nullopt));
  }
}

}  // namespace quillmere
