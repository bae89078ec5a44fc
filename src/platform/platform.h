// Everything that the logic needs of the operating system, as one interface with two back-ends:
// `sdl` opens real windows, `headless` keeps windows, clock and user in memory. Nothing outside of
// this room includes a system or SDL header. All operations belong to the main task unless they say
// otherwise.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "base/host.h"

namespace quillmere {

// ---- Time

/// System time: microseconds since the clock's own start, never going back.
using SysTime = std::chrono::microseconds;

/// A calendar date and time of day in local time.
struct LocalTime {
  int year = 2020;
  int month = 1;  ///< 1 to 12
  int day = 1;    ///< 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;
  int weekday = 0;  ///< 0 is Sunday
};

class PlatformTime {
 public:
  virtual ~PlatformTime() = default;
  virtual SysTime GetSysTime() = 0;
  virtual LocalTime Now() = 0;
  /// Sleeps until the next vertical blank of the screen.
  virtual void WaitVerticalBlank() = 0;
};

// ---- Waiting

/// A set of wake-up reasons.
enum class Wake : unsigned {
  Nothing = 0,
  Input = 1,      ///< a window or desktop message waits
  Timer = 2,      ///< a deadline that was asked for has passed
  Event = 4,      ///< another task has posted something (sound, clipboard)
  Requester = 8,  ///< a requester has its answer
  Break = 16,     ///< the break signal: the program shall end
};
[[nodiscard]] constexpr Wake operator|(Wake a, Wake b) {
  return static_cast<Wake>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
[[nodiscard]] constexpr bool Has(Wake set, Wake reason) {
  return (static_cast<unsigned>(set) & static_cast<unsigned>(reason)) != 0;
}

class PlatformWaiting {
 public:
  virtual ~PlatformWaiting() = default;
  /// Sleeps until any source fires, or until `deadline` when there is one. On the virtual clock the
  /// time jumps there. Returns all reasons that hold. When nothing can ever end the wait, the
  /// answer holds `Wake::Break` on the virtual clock.
  virtual Wake WaitForSignals(std::optional<SysTime> deadline) = 0;
  /// Wakes the main task with `Wake::Event`; callable from any task.
  virtual void SignalEvent() = 0;
};

// ---- Files and paths

/// An open file of the system with 64-bit positions. Closing is the destructor.
class PlatformFile {
 public:
  virtual ~PlatformFile() = default;
  /// Reads up to `bytes.size()` bytes; the count read, 0 at the end, nothing on an error.
  virtual std::optional<std::size_t> Read(std::span<std::uint8_t> bytes) = 0;
  /// Writes; the count written, less than asked when the system took no more.
  virtual std::size_t Write(std::span<const std::uint8_t> bytes) = 0;
  /// The same without the buffer; both forms may be mixed.
  virtual std::optional<std::size_t> ReadUnbuffered(std::span<std::uint8_t> bytes) = 0;
  virtual std::size_t WriteUnbuffered(std::span<const std::uint8_t> bytes) = 0;
  /// Moves to an absolute position; false when it is refused.
  virtual bool Seek(std::int64_t position) = 0;
  virtual std::int64_t Position() = 0;
  /// The length, -1 when it cannot be known (a pipe).
  virtual std::int64_t Size() = 0;
  virtual bool Flush() = 0;
};

enum class OpenMode { Read = 0, Write = 1, ReadWrite = 2 };

/// Protection bits of a file, a set bit allows: read 1, write 2, execute 4, delete 8, and the same
/// for group and others shifted up by 4 and 8.
using Protection = std::uint32_t;

/// What the system knows about a name.
struct FileInfo {
  std::string name;  ///< last part of the path
  bool isDirectory = false;
  std::int64_t size = 0;
  LocalTime date;
  Protection protection = 15;
  std::string comment;
};

class PlatformFiles {
 public:
  virtual ~PlatformFiles() = default;
  /// Opens a file; paths are POSIX paths, a volume prefix (`T:`, `PROGDIR:`, `FONTS:`) is mapped.
  /// Write makes the file or cuts it, ReadWrite makes it when absent. Null on every failure.
  virtual std::unique_ptr<PlatformFile> Open(std::string_view path, OpenMode mode) = 0;
  [[nodiscard]] virtual std::optional<FileInfo> Examine(std::string_view path) = 0;
  /// The entries of a directory, without "." and "..", in the system's order; nothing when it is no
  /// directory or cannot be read.
  virtual std::optional<std::vector<FileInfo>> ExamineDir(std::string_view path) = 0;
  virtual bool CreateDir(std::string_view path) = 0;
  virtual bool Delete(std::string_view path) = 0;
  virtual bool Rename(std::string_view from, std::string_view to) = 0;
  virtual bool SetProtection(std::string_view path, Protection protection) = 0;
  virtual bool SetComment(std::string_view path, std::string_view comment) = 0;
  virtual bool SetFileDate(std::string_view path, const LocalTime& date) = 0;
  /// The absolute path of a name, symbolic links followed; nothing when it does not exist.
  [[nodiscard]] virtual std::optional<std::string> FullPath(std::string_view path) = 0;
  [[nodiscard]] virtual std::string GetCurrentDir() = 0;
  virtual bool SetCurrentDir(std::string_view path) = 0;
  /// The path of the running executable.
  [[nodiscard]] virtual std::string ProgramPath() = 0;
  /// A directory for temporary files, without a closing slash.
  [[nodiscard]] virtual std::string TempDir() = 0;
  /// Makes an empty file with a fresh name in the temporary directory, ending in `suffix`, and
  /// gives its path; empty when that fails.
  [[nodiscard]] virtual std::string MakeTempFile(std::string_view suffix) = 0;
  /// Runs a program with its output thrown away; waits for its end when `wait` is set. The result
  /// is its exit status, 0 when not waited for, nothing when it could not be started.
  virtual std::optional<int> Execute(std::string_view command, std::string_view arguments,
                                     bool wait) = 0;
  /// Free bytes of memory. Kind 0 is all of it, 1 and 2 are the kinds of old that stand for the
  /// same.
  [[nodiscard]] virtual std::int64_t AvailMem(int kind) = 0;
};

/// Joins a directory and a name with exactly one separator; an absolute name replaces the
/// directory.
[[nodiscard]] std::string AddPart(std::string_view directory, std::string_view name);
/// The last part of a path, behind the last "/", "\\" or ":".
/// What stands before the last part, without its separator (but with ":").
[[nodiscard]] std::string_view PathPart(std::string_view path);

// ---- Pictures that cross the border

/// A view of pixels in format 10 (0xAARRGGBB words). `stride` counts pixels.
struct PixelView {
  const std::uint32_t* pixels = nullptr;
  int width = 0;
  int height = 0;
  int stride = 0;
};

/// Pixels that somebody owns, rows without padding.
struct PixelImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;
};

// ---- Windows

/// A set of keys of the keyboard that change others, as `IsKeyDown` names them, top bit included.
using Qualifiers = std::uint32_t;
inline constexpr Qualifiers qualifierLeftShift = 0x80010000;
inline constexpr Qualifiers qualifierRightShift = 0x80020000;
inline constexpr Qualifiers qualifierLeftAlt = 0x80040000;
inline constexpr Qualifiers qualifierRightAlt = 0x80080000;
inline constexpr Qualifiers qualifierLeftCommand = 0x80100000;
inline constexpr Qualifiers qualifierRightCommand = 0x80200000;
inline constexpr Qualifiers qualifierLeftControl = 0x80400000;
inline constexpr Qualifiers qualifierRightControl = 0x80800000;

enum class MouseButton { Left, Right, Middle };

enum class WindowMessageKind {
  Close,
  Active,
  Inactive,
  Moved,        ///< x, y are the new outer corner
  Resized,      ///< x, y are the new inner width and height
  Key,          ///< code, pressed, qualifiers
  MouseMove,    ///< x, y
  MouseButton,  ///< button, pressed, x, y
  Wheel,        ///< up in `pressed`, x, y
  Iconify,
  Restore,
  Refresh,
  Drop  ///< x, y, paths
};

class PlatformWindow;

/// One message of a window. Positions of the pointer are relative to the inner area.
struct WindowMessage {
  WindowMessageKind kind = WindowMessageKind::Close;
  PlatformWindow* window = nullptr;
  int x = 0;
  int y = 0;
  bool pressed = false;
  MouseButton button = MouseButton::Left;
  /// A printable key gives its Latin-1 character, every other key its code of 256 and more; the key
  /// of Ctrl-C gives 3. Keys that are neither are not reported.
  int key = 0;
  Qualifiers qualifiers = 0;
  /// Absolute paths.
  std::vector<std::string> paths;
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
  std::vector<std::uint8_t> alpha;  ///< one byte a pixel, rows without padding
};

struct WindowOptions {
  std::string title;
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
  std::optional<WindowShape> shape;
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
  virtual void MoveSize(int x, int y, int width, int height) = 0;
  virtual void SetTitle(std::string_view title) = 0;
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
  int refreshRate = 60;
  int titleBarHeight = 0;
  Rectangle usable;  ///< the area that windows may take
};

class PlatformWindows {
 public:
  virtual ~PlatformWindows() = default;
  [[nodiscard]] virtual DesktopInfo GetDesktopInfo() = 0;
  /// The frame that a window with these options will get.
  [[nodiscard]] virtual FrameSizes GetFrameSizes(bool borderless) = 0;
  virtual Result<std::unique_ptr<PlatformWindow>> OpenPlatformWindow(
      const WindowOptions& options) = 0;
  /// Switches to a full screen of that size; a missing mode is `Error::ScreenSizeUnsupported` with
  /// the size "%dx%dx%d" as its argument.
  virtual Status OpenPlatformScreen(int width, int height, int depth) = 0;
  virtual void ClosePlatformScreen() = 0;
  /// Makes a named public screen the default for new windows.
  virtual Status UsePublicScreen(std::string_view name) = 0;
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

// ---- Input devices and other services

struct JoystickState {
  int direction = 8;  ///< 0 to 7 clockwise from up, 8 for none
  std::uint32_t buttons = 0;
};

class PlatformInput {
 public:
  virtual ~PlatformInput() = default;
  /// Ports 0 to 3; an empty one or another number is `Error::JoystickNotFound`.
  virtual Result<JoystickState> ReadJoystick(int port) = 0;
  [[nodiscard]] virtual int CountJoysticks() = 0;
};

/// What the clipboard holds.
struct ClipboardContent {
  enum class Kind { Empty, Text, Image, Unknown } kind = Kind::Empty;
  std::string text;  ///< Latin-1 or UTF-8, as it was put there
  PixelImage image;
};

class PlatformClipboard {
 public:
  virtual ~PlatformClipboard() = default;
  virtual Result<ClipboardContent> Read() = 0;
  virtual Status WriteText(std::string_view text) = 0;
  virtual Status WriteImage(const PixelView& image) = 0;
  /// Calls `changed` on the main task, from within the message calls, whenever the clipboard has
  /// changed; an empty function ends it.
  virtual Status Watch(std::function<void()> changed) = 0;
};

/// One request to the user. It runs on the requester task, so that the main task goes on gathering
/// events; see `PlatformRequesters`.
struct RequesterCall {
  enum class Kind { File, Path, String, Choice } kind = Kind::Choice;
  std::string title;
  std::string body;
  /// Choice: the buttons from left to right.
  std::vector<std::string> buttons;
  /// Choice: 0 none, else information, error, warning, question as the platform's images 1 to 4.
  int icon = 0;
  /// String: the text to start with. File and path: the directory to open in.
  std::string defaultText;
  /// File: the name to start with.
  std::string fileName;
  /// File: a pattern such as "*.png|*.jpg".
  std::string pattern;
  bool saveMode = false;
  bool multiSelect = false;
  bool drawersOnly = false;
  /// String: 0 any, 1 numerical, 2 alphanumerical and so on as the command tells; hides what is
  /// typed with `password`.
  int type = 0;
  int maxLength = 0;
  bool password = false;
};

struct RequesterAnswer {
  bool cancelled = true;
  /// Choice: the last button is 0, the others count from 1 on the left.
  int choice = 0;
  std::string text;
  std::vector<std::string> paths;
};

class PlatformRequesters {
 public:
  virtual ~PlatformRequesters() = default;
  /// Hands a call to the requester task. Only one may be in flight.
  virtual void Start(RequesterCall call) = 0;
  /// The answer, once it is there.
  virtual std::optional<RequesterAnswer> TakeAnswer() = 0;
};

/// A table of texts by number in a file.
class PlatformCatalog {
 public:
  virtual ~PlatformCatalog() = default;
  [[nodiscard]] virtual std::optional<std::string> GetCatalogStr(int id) const = 0;
};

class PlatformLocale {
 public:
  virtual ~PlatformLocale() = default;
  /// Opens a catalog by file name and least version; null when there is none.
  virtual std::unique_ptr<PlatformCatalog> OpenCatalog(std::string_view name, int version) = 0;
  /// Whether a Latin-1 character prints.
  [[nodiscard]] virtual bool IsPrint(int character) = 0;
  /// Opens a web address with the user's browser.
  virtual Status OpenUrl(std::string_view url) = 0;
  /// Opens the console that debug text goes to when no device was named, or writes to a named one:
  /// "@stdout", "@serial", "@rexx:PORT".
  virtual void WriteDebug(std::string_view device, std::string_view text) = 0;
};

// ---- The whole

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

}  // namespace quillmere
