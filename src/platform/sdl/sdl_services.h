// Joysticks and the clipboard of the desktop.
#pragma once

#include <SDL.h>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/clipboard.h"
#include "platform/devices.h"
#include "platform/posix/signal_box.h"
#include "platform/sdl/x11_clipboard_watch.h"

namespace quillmere {

/// Joysticks are looked for at the first use.
class SdlJoysticks final : public PlatformInput {
 public:
  explicit SdlJoysticks(ErrorContext& errors) : errors_(errors) {}
  ~SdlJoysticks() override;

  Result<JoystickState> ReadJoystick(int port) override;
  int CountJoysticks() override;

 private:
  static constexpr std::size_t portCount = 4;
  struct CloseJoystick {
    void operator()(SDL_Joystick* joystick) const { SDL_JoystickClose(joystick); }
  };

  bool Start();

  ErrorContext& errors_;
  bool started_ = false;
  std::array<std::unique_ptr<SDL_Joystick, CloseJoystick>, portCount> open_;
};

/// Texts are shared with other programs. A picture stays inside of the program, until another
/// program puts something on the clipboard.
class SdlClipboard final : public PlatformClipboard {
 public:
  explicit SdlClipboard(SignalBox& signals) : signals_(signals) {}

  Result<ClipboardContent> Read() override;
  Status WriteText(std::string_view text) override;
  Status WriteImage(const PixelView& image) override;
  Status Watch(std::function<void()> changed) override;
  /// SDL has noticed a change of the clipboard.
  void NoteChange();
  void TellChanges();

 private:
  /// The picture on the clipboard, while the system's text is the one that was there with it.
  std::optional<PixelImage> image_;
  std::string textBesideImage_;
  std::function<void()> watcher_;
  SignalBox& signals_;
  std::atomic<bool> hasChanged_ = false;
  /// Notices what SDL does not; null while nobody watches.
  std::unique_ptr<X11ClipboardWatch> x11Watch_;
};

}  // namespace quillmere
