// What the system library remembers between two commands, and what the program tells it about
// itself.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/host.h"
#include "platform/platform.h"
#include "vm/object_id.h"

namespace quillmere {

/// One switch of the command line that belongs to the script.
struct UserArgument {
  std::string name;
  /// Nothing when no value followed the switch.
  std::optional<std::string> value;
};

/// How the program was started. Filled by the program's start-up before the script runs.
struct ProgramFacts {
  /// The file that runs is a compiled applet.
  bool isApplet = false;
  /// The applet is a part of the executable.
  bool isAppended = false;
  /// Absolute paths.
  std::string scriptPath;
  std::string selfPath;
  /// False when the desktop started the program, without any arguments.
  bool fromShell = true;
  /// In the order of the command line.
  std::vector<UserArgument> userArguments;
};

/// A stop-watch of the script.
struct qmTimer {
  ObjectId id;
  /// When the running stretch began; without meaning while the timer is paused.
  SysTime startTime{};
  /// The time of all stretches before it.
  SysTime elapsed{};
  bool paused = false;
};

struct LibState {
  static constexpr Room room = Room::lib;

  ProgramFacts program;

  /// In the order of their making. A timer's handle is its own address.
  std::vector<std::unique_ptr<qmTimer>> timers;

  /// The script's catalog of translated texts; null while none is open.
  std::unique_ptr<PlatformCatalog> catalog;

  /// Where the last file or path requester was left.
  std::string requestDirectory;
  std::string requestFile;

  /// The icon that stands for a hidden display, without its ".info".
  std::string hiddenIcon;

  /// Gathers what the platform's sources have to say while a command waits; true asks the command
  /// to give up. Joined by the room that owns the event queue.
  std::function<bool()> pumpWhileWaiting;
};

}  // namespace quillmere
