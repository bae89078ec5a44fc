#include "platform/sdl/sdl_platform.h"

#include <SDL.h>

#include <cstdio>

#include "platform/posix/desktop_requests.h"
#include "platform/posix/platform_base.h"
#include "platform/sdl/sdl_library.h"
#include "platform/sdl/sdl_requests.h"
#include "platform/sdl/sdl_services.h"
#include "platform/sdl/sdl_time.h"
#include "platform/sdl/sdl_windows.h"
#include "platform/sdl/x11_desktop.h"

namespace quillmere {
namespace {

/// SDL's part that has windows, for as long as this lives.
class VideoSystem {
 public:
  VideoSystem() = default;
  ~VideoSystem() {
    if (open_) SDL_QuitSubSystem(SDL_INIT_VIDEO);
  }
  VideoSystem(const VideoSystem&) = delete;
  VideoSystem& operator=(const VideoSystem&) = delete;

  bool Open() {
    if (!SdlIsThere()) {
      std::fputs("SDL2 is not installed\n", stderr);
      return false;
    }
    // The program's own watch gathers signals, and windows are closed one by one.
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_QUIT_ON_LAST_WINDOW_CLOSE, "0");
    SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
    SDL_SetHint(SDL_HINT_MOUSE_FOCUS_CLICKTHROUGH, "1");
    SDL_SetHint(SDL_HINT_APP_NAME, "Quillmere Player");
    open_ = SDL_InitSubSystem(SDL_INIT_VIDEO) == 0;
    // What SDL says is of more use to the user than the facility's name alone.
    if (!open_) std::fprintf(stderr, "%s\n", SDL_GetError());
    if (open_) SDL_EnableScreenSaver();
    if (open_) OutliveX11Errors();
    return open_;
  }

 private:
  bool open_ = false;
};

class SdlPlatform final : public PlatformBase {
 public:
  explicit SdlPlatform(Host& host)
      : PlatformBase(host),
        joysticks_(host.errors),
        clipboard_(signals_),
        windows_(host.errors, signals_, clipboard_),
        time_(signals_, windows_) {}

  ~SdlPlatform() override {
    EndRequesters();
    signals_.SetNotify({});
  }

  Status OpenAll() {
    OpeningActions actions = CommonActions(RunDesktopRequest(ShowMessageBox));
    actions["intuition.library"] = [this] { return video_.Open() && windows_.Start(); };
    actions["wait signal"] = [this] { return time_.StartWakeEvent(); };
    actions["wait task"] = [this] { return time_.StartWaitTask(); };
    actions["busy pointer"] = [this] { return windows_.BusyPointer() != nullptr; };
    TRY(Open(actions, {}));
    files_->SetBeforeWait([this] { windows_.Show(); });
    return {};
  }

  PlatformTime& time() override { return time_; }
  PlatformWaiting& waiting() override { return time_; }
  PlatformWindows& windows() override { return windows_; }
  PlatformInput& input() override { return joysticks_; }
  PlatformClipboard& clipboard() override { return clipboard_; }

 private:
  VideoSystem video_;
  SdlJoysticks joysticks_;
  SdlClipboard clipboard_;
  SdlWindows windows_;
  SdlTime time_;
};

}  // namespace

Result<std::unique_ptr<Platform>> OpenSdlPlatform(Host& host) {
  auto platform = std::make_unique<SdlPlatform>(host);
  TRY(platform->OpenAll());
  return platform;
}

}  // namespace quillmere
