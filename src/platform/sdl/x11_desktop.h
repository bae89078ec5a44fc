// What SDL does not offer of an X11 desktop. Every operation does nothing, or has no result, where
// the desktop is another one.
#pragma once

#include <optional>

#include "platform/picture.h"

struct SDL_Window;

namespace quillmere {

/// The frame that the window manager puts around a window.
struct X11FrameExtents {
  int left = 0;
  int right = 0;
  int top = 0;
  int bottom = 0;
};

/// Lets requests that the server refuses pass. SDL wakes its own wait through a second connection,
/// by an event to a window that may have been closed before the event arrives; Xlib would end the
/// program for it.
void OutliveX11Errors();

/// Asks the window manager for the frame of a window that is not open yet.
[[nodiscard]] std::optional<X11FrameExtents> AskX11FrameExtents();

/// The picture of the whole screen from x, y on, cut to the screen.
[[nodiscard]] std::optional<PixelImage> GrabX11Screen(int x, int y, int width, int height);

/// Makes a window that is still hidden one that does not become active when it is shown.
void KeepX11WindowInactive(SDL_Window* window);

/// Puts a window behind all others.
void LowerX11Window(SDL_Window* window);

/// What the user may do with a window.
struct X11WindowFunctions {
  bool move = true;
  bool resize = true;
  bool minimize = true;
  bool close = true;
};
void SetX11WindowFunctions(SDL_Window* window, const X11WindowFunctions& functions);

}  // namespace quillmere
