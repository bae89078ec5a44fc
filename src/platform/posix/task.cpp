#include "platform/task.h"

#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <system_error>

namespace quillmere {
namespace {

/// The system keeps this many characters of a task's name.
constexpr std::size_t longestTaskName = 15;

/// Blocks all signals of the thread, so that a new one begins with them blocked: signals are for
/// the main task and for the watch that gathers them.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

Result<PlatformTask> PlatformTask::Create(const std::string& name, int priority, Entry entry) {
  const BlockedSignals blocked;
  try {
    return PlatformTask(std::jthread([shortName = name.substr(0, longestTaskName), priority,
                                      entry = std::move(entry)](std::stop_token stop) {
      pthread_setname_np(pthread_self(), shortName.c_str());
      if (priority > 0) setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), -priority / 3);
      entry(std::move(stop));
    }));
  } catch (const std::system_error&) {
    return Fail(Error::NoTask);
  }
}

}  // namespace quillmere
