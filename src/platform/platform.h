// Everything that the logic needs of the operating system, as one interface with two back-ends:
// `sdl` opens real windows, `headless` keeps windows, clock and user in memory. Nothing outside of
// this room includes a system or SDL header. All operations belong to the main task unless they say
// otherwise. Each theme has a header of its own; this one gathers them.
#pragma once

#include <memory>

#include "base/error.h"
#include "base/host.h"
#include "platform/clipboard.h"
#include "platform/devices.h"
#include "platform/files.h"
#include "platform/locale.h"
#include "platform/requesters.h"
#include "platform/task.h"
#include "platform/time.h"
#include "platform/waiting.h"
#include "platform/windows.h"

namespace quillmere {

/// One opened platform.
class Platform {
 public:
  static constexpr Room room = Room::platform;
  virtual ~Platform() = default;
  virtual PlatformTime& time() = 0;
  virtual PlatformWaiting& waiting() = 0;
  virtual PlatformFiles& files() = 0;
  virtual PlatformWindows& windows() = 0;
  virtual PlatformInput& input() = 0;
  virtual PlatformClipboard& clipboard() = 0;
  virtual PlatformRequesters& requesters() = 0;
  virtual PlatformLocale& locale() = 0;
};

/// Opens the platform that `QUILLMERE_PLATFORM` names, facility by facility in order; the first
/// mandatory one that is missing is `Error::CannotOpen` with its name as the argument. A wrong
/// environment ends the process with a line on standard error and exit status 2. On success the
/// platform is entered in the host and translations are in force.
[[nodiscard]] Result<std::unique_ptr<Platform>> PlatformOpen(Host& host);

/// Whether the desktop seems to have started the program: a launcher has left its mark in the
/// environment, and there is no terminal to read from.
[[nodiscard]] bool StartedFromDesktop();

}  // namespace quillmere
