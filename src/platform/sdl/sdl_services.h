// Joysticks and the clipboard of the desktop.
#pragma once

#include <SDL.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/clipboard.h"
#include "platform/devices.h"

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
  Result<ClipboardContent> Read() override;
  Status WriteText(std::string_view text) override;
  Status WriteImage(const PixelView& image) override;
  Status Watch(std::function<void()> changed) override;
  /// Another program, or this one, has changed the clipboard.
  void NoteChange() { hasChanged_ = true; }
  void TellChanges();

 private:
  /// The picture on the clipboard, while the system's text is the one that was there with it.
  std::optional<PixelImage> image_;
  std::string textBesideImage_;
  std::function<void()> watcher_;
  bool hasChanged_ = false;
};

}  // namespace quillmere
