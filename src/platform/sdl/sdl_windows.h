// The windows of the desktop and the events that SDL has of them.
#pragma once

#include <SDL.h>

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "platform/posix/signal_box.h"
#include "platform/sdl/sdl_keys.h"
#include "platform/sdl/sdl_screen.h"
#include "platform/sdl/sdl_services.h"
#include "platform/sdl/sdl_window.h"
#include "platform/windows.h"

namespace quillmere {

class SdlWindows final : public PlatformWindows {
 public:
  SdlWindows(ErrorContext& errors, SignalBox& signals, SdlClipboard& clipboard);

  /// Asks the desktop for what cannot be asked later; false when there is no screen.
  [[nodiscard]] bool Start();
  /// Turns all that SDL has into messages, whatever the time of the last call.
  void Pump();
  /// Shows what has changed in any window.
  void Show();
  [[nodiscard]] bool HasMessages() const;

  DesktopInfo GetDesktopInfo() override;
  FrameSizes GetFrameSizes(bool borderless) override;
  Result<std::unique_ptr<PlatformWindow>> OpenPlatformWindow(const WindowOptions& options) override;
  Status OpenPlatformScreen(int width, int height, int depth) override;
  void ClosePlatformScreen() override;
  Status UsePublicScreen(std::string_view name) override;
  void ChoosePixelWriting(int mode) override;
  Result<std::unique_ptr<PlatformPointer>> MakePointer(const PixelView& image, int hotX,
                                                       int hotY) override;
  std::unique_ptr<PlatformPointer> BusyPointer() override;
  std::optional<PixelImage> GrabScreen(const Rectangle& area) override;
  std::optional<WindowMessage> GetNextWindowMessage() override;
  Qualifiers GetQualifiers() override;

 private:
  void Handle(const SDL_Event& event);
  void HandleMouseButton(const SDL_MouseButtonEvent& event);
  void HandleWheel(const SDL_MouseWheelEvent& event);
  void HandleDrop(const SDL_DropEvent& event);
  void HandleStrokes(Uint32 windowId);
  [[nodiscard]] SdlWindow* WindowOf(Uint32 id) const;
  [[nodiscard]] bool IsScreen(Uint32 id) const { return screen_ && screen_->Id() == id; }

  ErrorContext& errors_;
  SignalBox& signals_;
  SdlClipboard& clipboard_;
  SdlDesktop desktop_;
  int monitor_ = 0;
  std::unique_ptr<SdlScreen> screen_;
  std::map<Uint32, SdlWindow*> windows_;
  std::deque<WindowMessage> messages_;
  KeyTranslator keys_;
  std::vector<KeyStroke> strokes_;
  /// The window that the last key event belonged to.
  Uint32 keyWindow_ = 0;
  std::vector<std::string> dropped_;
  std::shared_ptr<SDL_Cursor> busyCursor_;
  std::chrono::steady_clock::time_point lastPump_{};
};

}  // namespace quillmere
