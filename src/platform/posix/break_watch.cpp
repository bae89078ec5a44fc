#include "platform/posix/break_watch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace quillmere {
namespace {

/// What a shell sees of a program that Ctrl-C has ended.
constexpr int brokenExitStatus = 130;

}  // namespace

Result<std::unique_ptr<BreakWatch>> BreakWatch::Create(std::function<void()> onBreak,
                                                       std::function<bool()> isPending) {
  std::unique_ptr<BreakWatch> watch(new BreakWatch);
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &watch->oldPipeAction_);
  watch->onBreak_ = std::move(onBreak);
  watch->isPending_ = std::move(isPending);
  sigset_t mask;
  sigemptyset(&mask);
  sigaddset(&mask, SIGINT);
  sigaddset(&mask, SIGTERM);
  sigaddset(&mask, SIGHUP);
  watch->maskChanged_ = pthread_sigmask(SIG_BLOCK, &mask, &watch->oldMask_) == 0;
  watch->signals_ = signalfd(-1, &mask, SFD_CLOEXEC | SFD_NONBLOCK);
  watch->stop_ = eventfd(0, EFD_CLOEXEC);
  if (!watch->maskChanged_ || watch->signals_ < 0 || watch->stop_ < 0) return Fail(Error::NoSignal);
  watch->task_ = TRY(PlatformTask::Create(
      "Quillmere break task", 0, [self = watch.get()](const std::stop_token&) { self->Run(); }));
  return watch;
}

BreakWatch::~BreakWatch() {
  if (task_) eventfd_write(stop_, 1);
  task_.reset();
  if (signals_ >= 0) close(signals_);
  if (stop_ >= 0) close(stop_);
  if (maskChanged_) pthread_sigmask(SIG_SETMASK, &oldMask_, nullptr);
  sigaction(SIGPIPE, &oldPipeAction_, nullptr);
}

void BreakWatch::Run() {
  pollfd sources[] = {{signals_, POLLIN, 0}, {stop_, POLLIN, 0}};
  for (;;) {
    if (poll(sources, 2, -1) < 0) continue;
    if (sources[1].revents != 0) return;
    signalfd_siginfo info;
    if (read(signals_, &info, sizeof(info)) != sizeof(info)) continue;
    if (isPending_()) _exit(brokenExitStatus);
    onBreak_();
  }
}

}  // namespace quillmere
