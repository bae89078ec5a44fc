#include "platform/posix/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace quillmere {
namespace {

/// How often a program's pipe is looked at for a request to stop.
constexpr int stopPollMilliseconds = 50;

bool IsProgram(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(path.c_str(), X_OK) == 0;
}

/// The settings of a new process, freed with this.
class SpawnSettings {
 public:
  SpawnSettings() {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    // This program ignores the signal; others must not inherit that.
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
};

}  // namespace

std::optional<std::string> FindProgram(const std::string& name) {
  if (name.empty()) return std::nullopt;
  if (IsProgram(name)) return name.find('/') == std::string::npos ? "./" + name : name;
  if (name.find('/') != std::string::npos) return std::nullopt;
  return FindOnPath(name);
}

std::optional<std::string> FindOnPath(const std::string& name) {
  const char* searched = std::getenv("PATH");
  std::string_view rest = searched != nullptr ? searched : "/usr/local/bin:/usr/bin:/bin";
  while (!rest.empty()) {
    const std::size_t end = rest.find(':');
    const std::string candidate = std::string(rest.substr(0, end)) + "/" + name;
    if (IsProgram(candidate)) return candidate;
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  }
  return std::nullopt;
}

std::optional<Process> StartProcess(const std::vector<std::string>& arguments, Stream output) {
  int ends[2] = {-1, -1};
  if (output == Stream::Pipe && pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  SpawnSettings settings;
  posix_spawn_file_actions_addopen(&settings.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (output == Stream::Pipe) {
    posix_spawn_file_actions_adddup2(&settings.actions, ends[1], STDOUT_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&settings.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  }
  posix_spawn_file_actions_addopen(&settings.actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  std::vector<char*> words;
  for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.data()));
  words.push_back(nullptr);
  pid_t id = 0;
  const int failure =
      posix_spawn(&id, words[0], &settings.actions, &settings.attributes, words.data(), environ);
  if (ends[1] >= 0) close(ends[1]);
  if (failure != 0) {
    if (ends[0] >= 0) close(ends[0]);
    return std::nullopt;
  }
  return Process{id, ends[0]};
}

int WaitForEnd(int id) {
  int status = 0;
  while (waitpid(id, &status, 0) < 0) {
    if (errno != EINTR) return 0;
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

bool StartDetached(const std::vector<std::string>& arguments) {
  // The shell starts it and ends at once, so that it belongs to nobody.
  std::vector<std::string> words = {"/bin/sh", "-c", "\"$@\" &", "sh"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  const auto shell = StartProcess(words, Stream::Nothing);
  return shell && WaitForEnd(shell->id) == 0;
}

void CollectEnded(std::vector<int>& ids) {
  std::erase_if(ids, [](int id) { return waitpid(id, nullptr, WNOHANG) != 0; });
}

std::optional<ProgramOutput> RunProgram(const std::vector<std::string>& arguments,
                                        const std::stop_token& stop) {
  const auto process = StartProcess(arguments, Stream::Pipe);
  if (!process) return std::nullopt;
  ProgramOutput result;
  char chunk[4096];
  for (;;) {
    pollfd source{process->output, POLLIN, 0};
    if (poll(&source, 1, stopPollMilliseconds) > 0) {
      const ssize_t count = read(process->output, chunk, sizeof(chunk));
      if (count <= 0) break;
      result.text.append(chunk, static_cast<std::size_t>(count));
    }
    if (stop.stop_requested()) {
      kill(process->id, SIGTERM);
      break;
    }
  }
  close(process->output);
  result.status = WaitForEnd(process->id);
  return result;
}

}  // namespace quillmere
