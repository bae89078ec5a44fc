// Windows of displays: opening, closing, hiding, and where they stand.
#include <algorithm>
#include <cstdint>
#include <limits>

#include "base/numbers.h"
#include "pixels/placement.h"
#include "scene/display_internal.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// One byte a pixel: what of the window is there.
std::optional<WindowShape> ShapeOf(const qmDisplay& display) {
  const qmMask* mask = display.shapeMask ? display.shapeMask.get() : nullptr;
  const qmAlphaMap* alpha = display.shapeAlpha ? display.shapeAlpha.get() : nullptr;
  if (mask == nullptr && alpha == nullptr) {
    mask = display.bgpic->shown.mask.get();
    alpha = display.bgpic->shown.alpha.get();
  }
  if (mask == nullptr && alpha == nullptr) return std::nullopt;
  WindowShape shape;
  shape.width = alpha != nullptr ? alpha->width : mask->width;
  shape.height = alpha != nullptr ? alpha->height : mask->height;
  shape.alpha.resize(static_cast<std::size_t>(shape.width) *
                     static_cast<std::size_t>(shape.height));
  auto out = shape.alpha.begin();
  for (int y = 0; y < shape.height; ++y) {
    for (int x = 0; x < shape.width; ++x) {
      *out++ = alpha != nullptr ? alpha->Row(y)[x] : mask->Test(x, y) ? 255 : 0;
    }
  }
  return shape;
}

WindowOptions OptionsFor(SceneState& scene, const qmDisplay& display, bool active) {
  WindowOptions options;
  options.identity = display.serial;
  options.title = display.title;
  options.x = display.windowX;
  options.y = display.windowY;
  options.width = display.width;
  options.height = display.height;
  options.borderless = display.Has(displayBorderless);
  options.sizeable = display.Has(displaySizeable);
  options.fixed = display.Has(displayFixed);
  options.noClose = display.Has(displayNoClose);
  options.noHide = display.Has(displayNoHide);
  options.active = active;
  options.fullScreen = scene.fullScreen;
  options.shape = ShapeOf(display);
  return options;
}

bool IsFullScreenLike(const SceneState& scene) {
  return scene.fullScreen || scene.settings.displayMode == displayModeFakeFullScreen;
}

void SetUpPointer(const SceneState& scene, qmDisplay& display) {
  PlatformWindow& window = *display.window;
  const bool hides = display.Has(displayHidePointer) && IsFullScreenLike(scene);
  window.SetPointer(display.pointer);
  window.ShowPointer(!hides && !display.pointerHidden);
}

void SetUpIcon(const SceneState& scene, const qmDisplay& display) {
  const PixelImage& icon = scene.windowIcon;
  if (icon.pixels.empty() || !display.window) return;
  display.window->SetIcon({icon.pixels.data(), icon.width, icon.height, icon.width});
}

bool AnyPublicOpen(const SceneState& scene) {
  for (const qmDisplay& display : scene.displays.All()) {
    if (display.private1 == 0 && display.state == DisplayState::Open) return true;
  }
  return false;
}

void SetPrivateState(SceneState& scene, DisplayState from, DisplayState to) {
  for (qmDisplay& display : scene.displays.All()) {
    if (display.private1 == 0 || display.state != from || !display.window) continue;
    display.state = to;
    if (to == DisplayState::Minimized) {
      display.window->Iconify();
    } else {
      display.window->Restore();
      RefreshDisplay(scene, display);
    }
  }
}

/// A side of a window with its frame; what no window reaches is the largest number.
int OuterLength(int inner, int frameBefore, int frameAfter) {
  const std::int64_t length = std::int64_t{inner} + frameBefore + frameAfter;
  return static_cast<int>(std::min<std::int64_t>(length, std::numeric_limits<int>::max()));
}

}  // namespace

std::string SizeText(std::int32_t width, std::int32_t height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

Rectangle ScreenArea(SceneState& scene) {
  if (scene.fullScreen) return {0, 0, scene.screenWidth, scene.screenHeight};
  const DesktopInfo desktop = scene.platform().windows().GetDesktopInfo();
  return {0, 0, desktop.width, desktop.height};
}

Rectangle UsableArea(SceneState& scene) {
  if (scene.fullScreen) return ScreenArea(scene);
  return scene.platform().windows().GetDesktopInfo().usable;
}

Status RequireFit(SceneState& scene, const qmDisplay& display, std::int32_t width,
                  std::int32_t height) {
  const FrameSizes frame = scene.platform().windows().GetFrameSizes(display.Has(displayBorderless));
  const Rectangle screen = ScreenArea(scene);
  const bool isWithin = OuterLength(width, frame.left, frame.right) <= screen.width &&
                        OuterLength(height, frame.top, frame.bottom) <= screen.height;
  if (isWithin) return {};
  return scene.host.errors.Fail(Error::CannotChangeDisplaySize, SizeText(width, height));
}

Rectangle ResolveWindowPosition(SceneState& scene, const qmDisplay& display, std::int32_t x,
                                std::int32_t y) {
  const FrameSizes frame = scene.platform().windows().GetFrameSizes(display.Has(displayBorderless));
  const Rectangle area = UsableArea(scene);
  const int width = OuterLength(display.width, frame.left, frame.right);
  const int height = OuterLength(display.height, frame.top, frame.bottom);
  return {WithinWindowReach(ResolveX(x, width, {area.x, area.width})),
          WithinWindowReach(ResolveY(y, height, {area.y, area.height})), display.width,
          display.height};
}

ScriptPoint ToScriptPoint(const qmDisplay& display, std::int32_t x, std::int32_t y) {
  return {ToInt32((static_cast<double>(x) - display.marginLeft) / display.scaleFactorX),
          ToInt32((static_cast<double>(y) - display.marginTop) / display.scaleFactorY)};
}

Status OpenDisplayWindow(SceneState& scene, qmDisplay& display, bool active) {
  display.border = scene.platform().windows().GetFrameSizes(display.Has(displayBorderless));
  TRY(RequireFit(scene, display, display.width, display.height));
  const Rectangle place = ResolveWindowPosition(scene, display, display.x, display.y);
  display.windowX = place.x;
  display.windowY = place.y;
  display.window =
      TRY(scene.platform().windows().OpenPlatformWindow(OptionsFor(scene, display, active)));
  display.state = DisplayState::Open;
  display.activeWhenOpened = active;
  display.input.windowActive = active;
  UpdateRegions(display);
  SetUpPointer(scene, display);
  SetUpIcon(scene, display);
  scene.hooks.displayOpened.Call(display);
  RefreshDisplay(scene, display, blitMayScale | blitWhole);
  return {};
}

void SetWindowIcon(SceneState& scene, PixelImage icon) {
  scene.windowIcon = std::move(icon);
  for (const qmDisplay& display : scene.displays.All()) SetUpIcon(scene, display);
}

void CloseDisplayWindow(SceneState& scene, qmDisplay& display) {
  if (display.state == DisplayState::Closed) return;
  display.window.reset();
  display.state = DisplayState::Closed;
  display.activeWhenOpened = false;
  display.input.ReleaseAll();
  scene.hooks.displayClosed.Call(display);
}

Status ReopenDisplayWindow(SceneState& scene, qmDisplay& display) {
  const bool isMinimized = display.state == DisplayState::Minimized;
  const bool active = display.input.windowActive && !isMinimized;
  CloseDisplayWindow(scene, display);
  TRY(OpenDisplayWindow(scene, display, active));
  if (isMinimized) HideDisplayWindow(scene, display);
  return {};
}

void HideDisplayWindow(SceneState& scene, qmDisplay& display) {
  if (display.state != DisplayState::Open) return;
  display.state = DisplayState::Minimized;
  display.window->Iconify();
  if (!AnyPublicOpen(scene)) {
    SetPrivateState(scene, DisplayState::Open, DisplayState::Minimized);
  }
}

void ShowDisplayWindow(SceneState& scene, qmDisplay& display) {
  if (display.state != DisplayState::Minimized) return;
  SetPrivateState(scene, DisplayState::Minimized, DisplayState::Open);
  display.state = DisplayState::Open;
  display.window->Restore();
  display.window->Activate();
  RefreshDisplay(scene, display);
}

}  // namespace quillmere
