#include "platform/sdl/x11_desktop.h"

#include <SDL.h>
#include <SDL_syswm.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <string_view>
#include <thread>

#include "platform/sdl/sdl_library.h"
#include "platform/sdl/x11_connection.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

/// A window manager that has not answered by then does not know the question.
constexpr auto longestAnswer = 200ms;

bool IsOnX11() {
  const char* driver = SDL_GetCurrentVideoDriver();
  return driver != nullptr && std::string_view(driver) == "x11" && XlibIsThere();
}

struct FreeData {
  void operator()(unsigned char* data) const { XFree(data); }
};

std::optional<X11FrameExtents> ReadFrameExtents(Display* display, Window window, Atom property) {
  Atom type = 0;
  int format = 0;
  unsigned long count = 0;
  unsigned long rest = 0;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(display, window, property, 0, 4, False, 6 /* CARDINAL */, &type, &format,
                         &count, &rest, &data) != 0) {
    return std::nullopt;
  }
  const std::unique_ptr<unsigned char, FreeData> owned(data);
  if (format != 32 || count != 4) return std::nullopt;
  long extents[4];
  std::memcpy(extents, data, sizeof(extents));
  return X11FrameExtents{static_cast<int>(extents[0]), static_cast<int>(extents[1]),
                         static_cast<int>(extents[2]), static_cast<int>(extents[3])};
}

void SendToRoot(Display* display, Window about, Atom message) {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = about;
  event.xclient.message_type = message;
  event.xclient.format = 32;
  XSendEvent(display, DefaultRootWindow(display), False,
             SubstructureNotifyMask | SubstructureRedirectMask, &event);
  XFlush(display);
}

struct DestroyImage {
  void operator()(XImage* image) const { XDestroyImage(image); }
};

/// A channel of a pixel, brought to eight bits.
std::uint32_t Channel(unsigned long pixel, unsigned long mask) {
  if (mask == 0) return 0;
  const int shift = __builtin_ctzl(mask);
  return static_cast<std::uint32_t>(((pixel & mask) >> shift) * 255 / (mask >> shift));
}

/// The connection and the window of SDL.
std::optional<SDL_SysWMinfo> SystemWindow(SDL_Window* window) {
  SDL_SysWMinfo info;
  SDL_VERSION(&info.version);
  if (!SDL_GetWindowWMInfo(window, &info) || info.subsystem != SDL_SYSWM_X11 || !XlibIsThere()) {
    return std::nullopt;
  }
  return info;
}

}  // namespace

void CloseX11Display::operator()(_XDisplay* display) const {
  XCloseDisplay(display);
}

X11Connection ConnectToX11() {
  return X11Connection(IsOnX11() ? XOpenDisplay(nullptr) : nullptr);
}

void OutliveX11Errors() {
  if (IsOnX11()) XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
}

std::optional<X11FrameExtents> AskX11FrameExtents() {
  const X11Connection connection = ConnectToX11();
  Display* display = connection.get();
  if (display == nullptr) return std::nullopt;
  const Atom request = XInternAtom(display, "_NET_REQUEST_FRAME_EXTENTS", False);
  const Atom answer = XInternAtom(display, "_NET_FRAME_EXTENTS", False);
  const Window probe =
      XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 64, 64, 0, 0, 0);
  SendToRoot(display, probe, request);
  std::optional<X11FrameExtents> extents;
  const auto end = std::chrono::steady_clock::now() + longestAnswer;
  while (!(extents = ReadFrameExtents(display, probe, answer)) &&
         std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(2ms);
  }
  XDestroyWindow(display, probe);
  return extents;
}

std::optional<PixelImage> GrabX11Screen(int x, int y, int width, int height) {
  const X11Connection connection = ConnectToX11();
  Display* display = connection.get();
  if (display == nullptr) return std::nullopt;
  const Window root = DefaultRootWindow(display);
  XWindowAttributes attributes;
  if (XGetWindowAttributes(display, root, &attributes) == 0) return std::nullopt;
  const int left = std::clamp(x, 0, attributes.width);
  const int top = std::clamp(y, 0, attributes.height);
  const auto right = std::min<std::int64_t>(std::int64_t{x} + width, attributes.width);
  const auto bottom = std::min<std::int64_t>(std::int64_t{y} + height, attributes.height);
  if (right <= left || bottom <= top) return std::nullopt;
  const std::unique_ptr<XImage, DestroyImage> image(
      XGetImage(display, root, left, top, static_cast<unsigned>(right - left),
                static_cast<unsigned>(bottom - top), AllPlanes, ZPixmap));
  if (!image) return std::nullopt;
  PixelImage picture{image->width, image->height, {}};
  picture.pixels.reserve(static_cast<std::size_t>(image->width) *
                         static_cast<std::size_t>(image->height));
  for (int row = 0; row < image->height; ++row) {
    for (int column = 0; column < image->width; ++column) {
      const unsigned long pixel = XGetPixel(image.get(), column, row);
      picture.pixels.push_back(0xFF000000 | Channel(pixel, image->red_mask) << 16 |
                               Channel(pixel, image->green_mask) << 8 |
                               Channel(pixel, image->blue_mask));
    }
  }
  return picture;
}

void KeepX11WindowInactive(SDL_Window* window) {
  const auto info = SystemWindow(window);
  if (!info) return;
  Display* display = info->info.x11.display;
  // A window that the user never touched has no claim to the keyboard.
  const long never = 0;
  XChangeProperty(display, info->info.x11.window, XInternAtom(display, "_NET_WM_USER_TIME", False),
                  6 /* CARDINAL */, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(&never), 1);
}

void LowerX11Window(SDL_Window* window) {
  const auto info = SystemWindow(window);
  if (!info) return;
  XLowerWindow(info->info.x11.display, info->info.x11.window);
  XFlush(info->info.x11.display);
}

void SetX11WindowFunctions(SDL_Window* window, const X11WindowFunctions& functions) {
  const auto info = SystemWindow(window);
  if (!info) return;
  Display* display = info->info.x11.display;
  // The hints that all window managers share: which fields count, functions, decorations, input
  // mode and status.
  constexpr long functionsCount = 1;
  constexpr long resize = 2;
  constexpr long move = 4;
  constexpr long minimize = 8;
  constexpr long maximize = 16;
  constexpr long close = 32;
  long hints[5] = {};
  const Atom property = XInternAtom(display, "_MOTIF_WM_HINTS", False);
  Atom type = 0;
  int format = 0;
  unsigned long count = 0;
  unsigned long rest = 0;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(display, info->info.x11.window, property, 0, 5, False, AnyPropertyType,
                         &type, &format, &count, &rest, &data) == 0 &&
      data != nullptr) {
    const std::unique_ptr<unsigned char, FreeData> owned(data);
    if (format == 32) std::memcpy(hints, data, std::min<std::size_t>(count, 5) * sizeof(long));
  }
  hints[0] |= functionsCount;
  hints[1] = (functions.resize ? resize | maximize : 0) | (functions.move ? move : 0) |
             (functions.minimize ? minimize : 0) | (functions.close ? close : 0);
  XChangeProperty(display, info->info.x11.window, property, property, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(hints), 5);
  XFlush(display);
}

}  // namespace quillmere
