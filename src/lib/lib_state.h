// What the system library remembers between two commands.
#pragma once

#include <memory>
#include <string>

#include "base/host.h"
#include "platform/platform.h"
#include "vm/object_list.h"

namespace quillmere {

/// A stop-watch of the script.
struct qmTimer : ObjectRecord {
  /// When the running stretch began; without meaning while the timer is paused.
  SysTime startTime{};
  /// The time of all stretches before it.
  SysTime elapsed{};
  bool paused = false;
};

struct LibState {
  static constexpr Room room = Room::lib;

  /// Enters itself in the host, which must outlive the record.
  explicit LibState(Host& owner) : host(owner) { host.Enter(*this); }
  ~LibState() { host.Leave(room); }
  LibState(const LibState&) = delete;
  LibState& operator=(const LibState&) = delete;

  Host& host;

  /// False when the desktop started the program, without any arguments. Set by the program's
  /// start-up.
  bool startedFromShell = true;
  /// The applet is a part of the executable. Set by the program's start-up.
  bool isAppended = false;

  ObjectList<qmTimer> timers{host, Error::TimerNotFound};

  /// The script's catalog of translated texts; null while none is open.
  std::unique_ptr<PlatformCatalog> catalog;

  /// Where the last file or path requester was left.
  std::string requestDirectory;
  std::string requestFile;
};

}  // namespace quillmere
