// Other programs.
#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace quillmere {

/// What a program's standard output is connected to. Its input and error output lead nowhere.
enum class Stream { Nothing, Pipe };

struct Process {
  int id = 0;
  /// The end to read from, -1 without a pipe. Whoever starts the process closes it.
  int output = -1;
};

/// The path of an executable file: the name itself when it holds a "/" or lies in the current
/// directory, else what the search path has.
[[nodiscard]] std::optional<std::string> FindProgram(const std::string& name);

/// The same, but only what the search path has: the current directory may be anybody's.
[[nodiscard]] std::optional<std::string> FindOnPath(const std::string& name);

/// Starts a program by its path and arguments, the name first.
[[nodiscard]] std::optional<Process> StartProcess(const std::vector<std::string>& arguments,
                                                  Stream output);

/// Waits for the end of a process and gives its exit status; 128 and the signal's number for one
/// that a signal has ended.
int WaitForEnd(int id);

/// Starts a program that goes on by itself, whatever becomes of this one.
[[nodiscard]] bool StartDetached(const std::vector<std::string>& arguments);

/// Takes the processes that have ended out of the list.
void CollectEnded(std::vector<int>& ids);

/// What a program has printed, and how it ended.
struct ProgramOutput {
  int status = 0;
  std::string text;
};

/// Runs a program to its end; a request to stop ends it early. Nothing when it could not be
/// started.
[[nodiscard]] std::optional<ProgramOutput> RunProgram(const std::vector<std::string>& arguments,
                                                      const std::stop_token& stop);

}  // namespace quillmere
