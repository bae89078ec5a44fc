// The program from its start to its end. It owns everything that lives for a run: the host, the
// platform, the machine and the state records of all rooms.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "base/error.h"
#include "base/host.h"
#include "files/files_state.h"
#include "frame/rooms.h"
#include "platform/platform.h"
#include "vm/vm.h"

namespace quillmere {

class Program {
 public:
  /// `appendedApplet` is the offset of an applet in the executable's own file.
  explicit Program(std::optional<std::uint32_t> appendedApplet) : appendedApplet_(appendedApplet) {}
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// Runs an applet from the arguments behind the program's name to the final message. The result
  /// is the exit status, which is always 0: a failure is told by its message alone. Called once.
  int Run(std::span<const char* const> arguments);

 private:
  struct CloseMachine {
    void operator()(VmState* state) const { vmClose(state); }
  };

  /// Runs and turns exceptions into codes.
  Error RunGuarded(std::span<const char* const> arguments);
  Status RunToEnd(std::span<const char* const> arguments);
  /// Opens the platform, reads the command line and opens the libraries.
  Status Start(std::span<const char* const> arguments);
  void FillRegistry();
  Status WritePrivateLists();
  Status LoadMainChunk();
  /// Enters what the applet declares for the machine: labels and constants.
  void EnterAppletTables();
  Status MakeObjectsAndDisplays();
  Status RunMainChunk();

  void Shutdown(Error code);
  void TellError(Error code);

  std::optional<std::uint32_t> appendedApplet_;
  Host host_;
  std::unique_ptr<Platform> platform_;
  std::optional<FilesState> files_;
  // The machine goes before the records that its values may point to.
  std::optional<Rooms> rooms_;
  std::unique_ptr<VmState, CloseMachine> machine_;
};

}  // namespace quillmere
