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

/// Signals are for the main task and for the watch that gathers them.
void BlockSignals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

Result<PlatformTask> PlatformTask::Create(const std::string& name, int priority, Entry entry) {
  try {
    return PlatformTask(std::jthread([shortName = name.substr(0, longestTaskName), priority,
                                      entry = std::move(entry)](std::stop_token stop) {
      pthread_setname_np(pthread_self(), shortName.c_str());
      BlockSignals();
      if (priority > 0) setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), -priority / 3);
      entry(std::move(stop));
    }));
  } catch (const std::system_error&) {
    return Fail(Error::NoTask);
  }
}

}  // namespace quillmere
