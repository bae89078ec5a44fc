// Windows, the screen, pointers, and the messages of windows.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "platform/keys.h"
#include "platform/picture.h"

namespace quillmere {

enum class MouseButton { Left, Right, Middle };

enum class WindowMessageKind {
  Close,
  Active,
  Inactive,
  Moved,        ///< x, y are the new outer corner; byUser
  Resized,      ///< x, y are the new inner width and height; byUser
  Key,          ///< code, pressed, qualifiers
  MouseMove,    ///< x, y
  MouseButton,  ///< button, pressed, x, y
  Wheel,        ///< up in `pressed`, x, y
  Iconify,      ///< the user asks for the window to be hidden, or has hidden it
  Restore,      ///< the user asks for it to be shown again, or has shown it
  Refresh,      ///< the picture is lost and must be drawn anew
  Drop          ///< x, y, paths
};

class PlatformWindow;

/// One message of a window. Positions of the pointer are relative to the inner area.
struct WindowMessage {
  WindowMessageKind kind = WindowMessageKind::Close;
  PlatformWindow* window = nullptr;
  int x = 0;
  int y = 0;
  bool pressed = false;
  /// Moved, Resized: false when the program's own `MoveSize` was the cause.
  bool byUser = true;
  MouseButton button = MouseButton::Left;
  /// A printable key gives its Latin-1 character, every other key its code of 256 and more; the key
  /// of Ctrl-C gives 3. Keys that are neither are not reported.
  int key = 0;
  Qualifiers qualifiers = 0;
  /// Absolute paths.
  std::vector<std::string> paths{};
};

/// The sizes of the frame around a window's inner area.
struct FrameSizes {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
};

struct Rectangle {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

/// The outline of a window: opaque where the mask bit is set or the alpha is not 0.
struct WindowShape {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> alpha{};  ///< one byte a pixel, rows without padding
};

/// How far from the screen's corner a window's corner may lie, in pixels and in each direction;
/// what is asked beyond ends there. Desktops count in 16 bits, and to scripts the numbers from
/// -15001 down are names of places.
constexpr int windowReach = 15000;

constexpr int WithinWindowReach(int position) {
  return std::clamp(position, -windowReach, windowReach);
}

struct WindowOptions {
  /// A number for the display whose window this is, the same each time that its window is opened
  /// and never that of another display; 0 for a window that stands for itself.
  std::uint64_t identity = 0;
  /// In Latin-1, like all texts that the user sees.
  std::string title{};
  /// Outer corner and inner size, in pixels.
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool borderless = false;
  bool sizeable = false;
  /// The user may not move the window.
  bool fixed = false;
  bool noClose = false;
  bool noHide = false;
  bool active = true;
  bool fullScreen = false;
  std::optional<WindowShape> shape{};
};

/// A pointer image, at most 64 by 64 pixels; an image of the platform's own when it was asked for.
class PlatformPointer {
 public:
  virtual ~PlatformPointer() = default;
};

/// A window on the screen. Closing is the destructor.
class PlatformWindow {
 public:
  virtual ~PlatformWindow() = default;
  /// Copies a rectangle of `source` (its top left at sourceX, sourceY) to the inner area at x, y.
  /// The part that lies outside of the window or the source is left out. Costs what the rectangle
  /// costs.
  virtual void Update(const PixelView& source, int sourceX, int sourceY, int x, int y, int width,
                      int height) = 0;
  /// Fills a rectangle of the inner area with a colour 0xRRGGBB.
  virtual void Fill(int x, int y, int width, int height, std::uint32_t color) = 0;
  /// Moves the outer corner and gives the inner area a size; what the picture holds afterwards is
  /// not defined when the size changes.
  virtual void MoveSize(int x, int y, int width, int height) = 0;
  virtual void SetTitle(std::string_view title) = 0;
  /// What stands for the window on the desktop, with its alpha.
  virtual void SetIcon(const PixelView& image) = 0;
  virtual void Activate() = 0;
  virtual void ToFront() = 0;
  virtual void ToBack() = 0;
  virtual void Iconify() = 0;
  virtual void Restore() = 0;
  /// Null is the system's pointer.
  virtual void SetPointer(const PlatformPointer* pointer) = 0;
  virtual void ShowPointer(bool show) = 0;
  /// Moves the pointer to a place of the inner area.
  virtual void MovePointer(int x, int y) = 0;
  /// The pointer relative to the inner area.
  virtual void PointerPosition(int& x, int& y) = 0;
  /// Position of the outer corner on the screen and size of the inner area, as they are now.
  [[nodiscard]] virtual Rectangle Geometry() const = 0;
  /// Whether files may be dropped here.
  virtual void SetDropZone(bool on) = 0;
  /// Where the user may drag or resize a borderless window, in inner pixels.
  virtual void SetRegions(std::span<const Rectangle> drag, std::span<const Rectangle> size) = 0;
};

struct DesktopInfo {
  int width = 0;
  int height = 0;
  int depth = 32;
  int pixelFormat = 10;
  int refreshRate = 60;
  int titleBarHeight = 0;
  Rectangle usable{};  ///< the area that windows may take
};

class PlatformWindows {
 public:
  virtual ~PlatformWindows() = default;
  [[nodiscard]] virtual DesktopInfo GetDesktopInfo() = 0;
  /// The frame that a window with these options will get.
  [[nodiscard]] virtual FrameSizes GetFrameSizes(bool borderless) = 0;
  /// Opens a window; failing is `Error::UnableOpenWindow`. Whether it fits the screen is the
  /// caller's affair.
  virtual Result<std::unique_ptr<PlatformWindow>> OpenPlatformWindow(
      const WindowOptions& options) = 0;
  /// Switches to a full screen of that size; a missing mode is `Error::ScreenSizeUnsupported` with
  /// the size "%dx%dx%d" as its argument.
  virtual Status OpenPlatformScreen(int width, int height, int depth) = 0;
  /// Goes back to the desktop. The windows of the screen must have been closed.
  virtual void ClosePlatformScreen() = 0;
  /// Makes a named public screen the default for new windows; an unknown name is
  /// `Error::PublicScreenNotFound`.
  virtual Status UsePublicScreen(std::string_view name) = 0;
  /// Chooses how windows that are opened from now on get their pixels: 0 copies them as the desktop
  /// takes them, any other number goes through the graphics card where there is one. A run that
  /// does not choose copies.
  virtual void ChoosePixelWriting(int mode) = 0;
  /// A pointer of an image; larger ones are scaled down to 64 by 64.
  virtual Result<std::unique_ptr<PlatformPointer>> MakePointer(const PixelView& image, int hotX,
                                                               int hotY) = 0;
  [[nodiscard]] virtual std::unique_ptr<PlatformPointer> BusyPointer() = 0;
  /// A copy of a rectangle of the whole screen; nothing when the system does not give it.
  virtual std::optional<PixelImage> GrabScreen(const Rectangle& area) = 0;
  /// The next message of any window; nothing when none waits.
  virtual std::optional<WindowMessage> GetNextWindowMessage() = 0;
  [[nodiscard]] virtual Qualifiers GetQualifiers() = 0;
};

}  // namespace quillmere
