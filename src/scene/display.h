// Displays: a window (or a part of a full screen) that shows one background picture with what lies
// on it. One display is current at any moment; drawing goes to it. The record owns the two unscaled
// pictures, the window, and the words of the selection and of double buffering.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "files/run_info.h"
#include "pixels/placement.h"
#include "pixels/planes.h"
#include "platform/platform.h"
#include "scene/bgpic.h"
#include "scene/display_input.h"
#include "scene/geometry.h"
#include "vm/object_list.h"
#include "vm/vm.h"

namespace quillmere {

struct SceneState;

enum class DisplayState : std::int32_t { Closed = 0, Open = 1, Minimized = 2 };

inline constexpr std::int32_t DISPMODE_WINDOWED = 1;
inline constexpr std::int32_t DISPMODE_FULLSCREEN = 2;
/// Values of `ScreenSettings::displayMode`.
inline constexpr std::int32_t displayModeWindow = 1;
inline constexpr std::int32_t displayModeFullScreen = 2;
inline constexpr std::int32_t displayModeOwnScreen = 5;
inline constexpr std::int32_t displayModeFakeFullScreen = 6;
inline constexpr std::int32_t SCALEMODE_NONE = 0;
inline constexpr std::int32_t SCALEMODE_AUTO = 1;
inline constexpr std::int32_t SCALEMODE_LAYER = 2;

/// Bits of `DisplaySettings::flags`; they are the bits of an applet's display description too.
enum DisplayFlag : std::uint32_t {
  displayBorderless = 0x1,
  displaySizeable = 0x2,
  displayFixed = 0x4,
  displayNoModeSwitch = 0x8,
  displayHidePointer = 0x10,
  displayNoHide = 0x20,
  displayAutoScale = 0x40,
  displaySmoothScale = 0x80,
  displayLayerScale = 0x100,
  displayActive = 0x400,
  displayHidden = 0x800,
  displayLayers = 0x1000,
  displayUseQuartz = 0x2000,
  displayNoClose = 0x4000,
  displayKeepProportions = 0x8000,
  displayFitScale = 0x10000
};

inline constexpr std::size_t maxRegions = 64;

/// What the options of a display set: the part of the record that a change of attributes works on
/// as a copy.
struct DisplaySettings {
  /// Position as given: a number or a position constant.
  std::int32_t x = CENTER;
  std::int32_t y = CENTER;
  /// Inner size of the window.
  std::int32_t width = 640;
  std::int32_t height = 480;
  /// How to fill a picture that the display makes itself.
  Fill fill{.style = FILLCOLOR};
  std::uint32_t flags = 0;
  /// At most 255 characters.
  std::string title = "Quillmere";
  /// Where the user drags and resizes a borderless window, as the script gave it.
  std::vector<Rectangle> dragRegionsRaw;
  std::vector<Rectangle> sizeRegionsRaw;
  bool dragRegionsGiven = false;
  bool sizeRegionsGiven = false;
  /// The scaling engine in use; at most one is on.
  bool autoScale = false;
  bool layerScale = false;
  /// Black bars of the window when proportions are kept.
  std::int32_t marginLeft = 0;
  std::int32_t marginTop = 0;
  std::int32_t marginRight = 0;
  std::int32_t marginBottom = 0;
  /// Size that the script's picture is scaled to; 0 for none.
  std::int32_t scaleWidth = 0;
  std::int32_t scaleHeight = 0;
  bool smoothScale = false;

  [[nodiscard]] bool Has(DisplayFlag flag) const { return (flags & flag) != 0; }
  void Set(DisplayFlag flag, bool on) { flags = on ? flags | flag : flags & ~flag; }
  [[nodiscard]] bool HasEngine() const { return autoScale || layerScale; }
  [[nodiscard]] bool HasScaleSize() const { return scaleWidth > 0 && scaleHeight > 0; }
};

/// What a selection parks until it ends.
struct ParkedState {
  std::int32_t cursorX = 0;
  std::int32_t cursorY = 0;
  std::int32_t marginTextLeft = 0;
  std::int32_t marginTextRight = 0;
  bool layersEnabled = false;
};

struct qmDisplay : ObjectRecord, DisplaySettings {
  /// The number under which the platform knows the display's windows.
  std::uint64_t serial = 0;
  bool layersEnabled = false;
  /// The planes that drawing goes to; all null while the output is the display itself.
  Planes out;
  /// `DISPLAY`, or while an output is selected `BGPIC`, `BRUSH`, `MASK` or `ALPHACHANNEL`.
  ObjectType outputType = ObjectType::DISPLAY;
  /// The picture shown. Never null.
  qmBGPic* bgpic = nullptr;
  /// The picture that the display made itself, which is freed with it.
  std::optional<ObjectId> ownBGPic;
  bool doubleBuffered = false;
  /// A selection has interrupted double buffering.
  bool doubleBufferSuspended = false;
  /// `private1` marks the backdrop.
  std::int32_t private1 = 0;
  std::int32_t private2 = 0;
  std::int32_t private3 = 0;
  DisplayState state = DisplayState::Closed;
  FrameSizes border;
  /// The outer corner of the window, worked out.
  std::int32_t windowX = 0;
  std::int32_t windowY = 0;
  /// The regions in the current scale.
  std::vector<Rectangle> dragRegions;
  std::vector<Rectangle> sizeRegions;
  /// The permanent picture while layers are off.
  BitmapPtr canvas;
  /// What is composed before it goes to the window.
  BitmapPtr scratch;
  BitmapPtr doubleBufferFront;
  BitmapPtr doubleBufferBack;
  /// Window size over logical size.
  double scaleFactorX = 1;
  double scaleFactorY = 1;
  /// Noted while the picture is selected with layers, painted at the end of the selection.
  std::vector<DirtyRect> dirtyRects;
  DisplayInput input;
  /// Private outputs, made at their first use.
  std::unique_ptr<qmOutput> selectOutput;
  std::unique_ptr<qmOutput> doubleBufferOutput;
  /// The text cursor and the margins of text.
  std::int32_t cursorX = 0;
  std::int32_t cursorY = 0;
  std::int32_t marginTextLeft = 0;
  std::int32_t marginTextRight = 0;
  /// The pointer image in force; null is the system's. Its owner keeps it alive.
  const PlatformPointer* pointer = nullptr;
  ObjectId pointerId;
  bool pointerHidden = false;
  /// The state to go back to while a mode switch has closed the window.
  std::optional<DisplayState> reopenAfterModeSwitch;
  bool activeWhenOpened = false;
  /// The scaled outline of a shaped window.
  MaskPtr shapeMask;
  AlphaPtr shapeAlpha;
  std::optional<ParkedState> parked;
  /// Time of the last frame wait.
  SysTime lastFrame{};
  std::unique_ptr<PlatformWindow> window;

  /// True while something else than the display itself is drawn to, double buffering included.
  [[nodiscard]] bool HasSelection() const { return outputType != ObjectType::DISPLAY; }
};

// Finding.

/// The display of an identifier. Errors: `DisplayNotFound`, `ObjectNotFound`.
[[nodiscard]] Result<qmDisplay*> FindDisplay(SceneState& scene, const ObjectId& id);

/// The display that shows a background picture, or null.
[[nodiscard]] qmDisplay* DisplayOf(SceneState& scene, const qmBGPic& bgpic);

/// The display of a platform window, or null.
[[nodiscard]] qmDisplay* DisplayOf(SceneState& scene, const PlatformWindow* window);

// Making and freeing.

/// Makes a display from the options in the table at `tableIndex` (0 for none). The record is linked
/// and stays closed. The identifier is given back with its handle filled in.
Result<ObjectId> MakeDisplay(VmState& state, ObjectId id, int tableIndex);

/// Closes a display and takes it from the list; no check is made.
void DestroyDisplay(SceneState& scene, qmDisplay& display);

// Windows.

/// Opens the window and paints the whole picture. Errors: `CannotChangeDisplaySize` with the size
/// when it does not fit the screen, and those of the platform.
Status OpenDisplayWindow(SceneState& scene, qmDisplay& display, bool active);
void CloseDisplayWindow(SceneState& scene, qmDisplay& display);
void HideDisplayWindow(SceneState& scene, qmDisplay& display);
void ShowDisplayWindow(SceneState& scene, qmDisplay& display);

/// Makes a display the current one; with `activate` its open window comes to the front.
void SelectCurrentDisplay(SceneState& scene, qmDisplay& display, bool activate);

/// Where a resize comes from.
enum class ResizeOrigin { Window, Script };

struct ResizeRequest {
  /// Position constants and `KEEPPOSITION` are allowed.
  std::int32_t x = KEEPPOSITION;
  std::int32_t y = KEEPPOSITION;
  std::int32_t width = 0;
  std::int32_t height = 0;
  ResizeOrigin origin = ResizeOrigin::Window;
  bool smooth = false;
  /// Leave the platform's window alone.
  bool keepClosed = false;
};

/// Changes the size of a display: of its window, or under a scale engine of what the script sees.
/// The input side calls it for the user's resizing. Errors: `CannotChangeDisplaySize`,
/// `OutOfMemory`.
Status ResizeDisplay(SceneState& scene, qmDisplay& display, const ResizeRequest& request);

/// Gives all windows, now and later, the picture that stands for them on the desktop.
void SetWindowIcon(SceneState& scene, PixelImage icon);

/// The position of a window, with named places worked out against the screen.
[[nodiscard]] Rectangle ResolveWindowPosition(SceneState& scene, const qmDisplay& display,
                                              std::int32_t x, std::int32_t y);

/// A point of the window's inner area in the coordinates of the script.
struct ScriptPoint {
  std::int32_t x = 0;
  std::int32_t y = 0;
};
[[nodiscard]] ScriptPoint ToScriptPoint(const qmDisplay& display, std::int32_t x, std::int32_t y);

/// Changes attributes of the current display by the table at `tableIndex`. With `keepWindow` the
/// picture in the window stays as it is, for a transition that will paint it.
Status SetDisplayAttributes(VmState& state, int tableIndex, bool keepWindow);

/// What `EnableLayers` refuses: asynchronous drawing, double buffering, selections and sprites.
[[nodiscard]] Status RequireLayersSwitchable(SceneState& scene);

/// Switches between a window and a full screen of the given size.
Status SwitchDisplayMode(VmState& state, std::int32_t mode, std::int32_t width,
                         std::int32_t height);

/// Switches from windows to a full screen of the size that the start-up settings ask for, or else
/// of the desktop's, and from a full screen to windows.
Status ToggleDisplayMode(VmState& state);

// Start.

/// Opens the screen, the backdrop and every display that is not hidden, and makes the first active
/// one current. Prints the progress lines of this step.
Status OpenDisplays(VmState& state, const ScreenSettings& settings, std::string_view privatePath);

/// Closes and frees all displays, the backdrop and the screen, at the end of the program.
void CloseDisplays(SceneState& scene);

}  // namespace quillmere
