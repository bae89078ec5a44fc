// A full screen of the program's own: one window of the desktop that shows a screen in memory, so
// that the program's windows lie on it whatever the window manager thinks of them.
#pragma once

#include <SDL.h>

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "platform/memory_screen.h"
#include "platform/sdl/sdl_keys.h"
#include "platform/sdl/sdl_window.h"

namespace quillmere {

class SdlScreen {
 public:
  /// Switches the monitor; null when it has no such mode.
  [[nodiscard]] static std::unique_ptr<SdlScreen> Open(int monitor, int width, int height);
  ~SdlScreen();

  [[nodiscard]] MemoryScreen& Memory() { return memory_; }
  [[nodiscard]] Uint32 Id() const { return SDL_GetWindowID(window_.get()); }
  /// Shows what has changed.
  void Show();

  void Handle(const SDL_WindowEvent& event);
  void Motion(const SDL_MouseMotionEvent& event);
  void Button(const SDL_MouseButtonEvent& event, MouseButton button, Qualifiers qualifiers);
  void Wheel(bool up);
  void Stroke(const KeyStroke& stroke);
  /// The window that gets what is dropped, or null; its pointer position is up to date.
  [[nodiscard]] MemoryWindow* DropTarget();

 private:
  SdlScreen(SdlWindowHandle window, int width, int height);
  void NoteChange(const Rectangle& area);
  void ApplyPointer();
  /// The window that a press has caught, else the one under the pointer.
  [[nodiscard]] MemoryWindow* Target() const;
  static void PostPointer(MemoryWindow& window, WindowMessage message);

  SdlWindowHandle window_;
  SdlCanvas canvas_;
  MemoryScreen memory_;
  std::vector<Rectangle> changed_;
  std::map<const MemoryWindow*, std::shared_ptr<SDL_Cursor>> pointers_;
  MemoryWindow* caught_ = nullptr;
  int buttonsDown_ = 0;
};

}  // namespace quillmere
