// The start of the displays, and the switch between windows and a full screen.

#include "base/progress.h"
#include "scene/display_internal.h"
#include "scene/pending.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

void SetFullScreenFlags(qmDisplay& display) {
  display.Set(displayBorderless, true);
  display.Set(displayFixed, true);
  display.Set(displaySizeable, false);
  display.x = display.y = CENTER;
}

void SetWindowedFlags(qmDisplay& display) {
  display.Set(displayBorderless, false);
  display.Set(displayFixed, false);
}

template <class Change>
void ForPublicDisplays(SceneState& scene, Change change) {
  for (qmDisplay& display : scene.displays.All()) {
    if (display.private1 == 0) change(display);
  }
}

struct ScreenMode {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t depth = 0;
};

/// The mode of an own screen by the start-up settings; what they leave open is the desktop's.
ScreenMode StartMode(SceneState& scene) {
  const DesktopInfo desktop = scene.platform().windows().GetDesktopInfo();
  const ScreenSettings& settings = scene.settings;
  return {settings.scrWidth > 0 ? settings.scrWidth : desktop.width,
          settings.scrHeight > 0 ? settings.scrHeight : desktop.height,
          settings.scrDepth > 0 ? settings.scrDepth : desktop.depth};
}

Status OpenScreen(SceneState& scene, const ScreenMode& mode) {
  TRY(scene.platform().windows().OpenPlatformScreen(mode.width, mode.height, mode.depth));
  scene.fullScreen = true;
  scene.screenWidth = mode.width;
  scene.screenHeight = mode.height;
  return {};
}

void CloseScreen(SceneState& scene) {
  if (!scene.fullScreen) return;
  scene.platform().windows().ClosePlatformScreen();
  scene.fullScreen = false;
}

Status OpenStartScreen(SceneState& scene) {
  const std::int32_t mode = scene.settings.displayMode;
  if (mode == displayModeFullScreen || mode == displayModeOwnScreen) {
    TRY(OpenScreen(scene, StartMode(scene)));
  }
  if (mode == displayModeFullScreen || mode == displayModeFakeFullScreen) {
    ForPublicDisplays(scene, SetFullScreenFlags);
  }
  return {};
}

bool StartsActive(const qmDisplay& display) {
  return display.private1 == 0 && display.Has(displayActive) && !display.Has(displayHidden);
}

/// The display to begin with: the first that starts active, else display 1.
Result<qmDisplay*> FirstDisplay(SceneState& scene) {
  for (qmDisplay& display : scene.displays.All()) {
    if (StartsActive(display)) return &display;
  }
  return FindDisplay(scene, ObjectId{.number = 1, .handle = 0});
}

Status OpenVisibleDisplays(SceneState& scene) {
  for (qmDisplay& display : scene.displays.All()) {
    if (display.private1 != 0 || display.Has(displayHidden)) continue;
    TRY(OpenDisplayWindow(scene, display, display.Has(displayActive)));
  }
  return {};
}

void CloseForSwitch(SceneState& scene) {
  ForPublicDisplays(scene, [&](qmDisplay& display) {
    display.reopenAfterModeSwitch.reset();
    if (display.state == DisplayState::Closed) return;
    display.reopenAfterModeSwitch = display.state;
    const bool active = display.input.windowActive;
    CloseDisplayWindow(scene, display);
    display.activeWhenOpened = active;
  });
}

Status ReopenAfterSwitch(SceneState& scene) {
  Status result;
  ForPublicDisplays(scene, [&](qmDisplay& display) {
    if (!display.reopenAfterModeSwitch) return;
    const DisplayState state = *display.reopenAfterModeSwitch;
    display.reopenAfterModeSwitch.reset();
    const Status opened = OpenDisplayWindow(scene, display, display.activeWhenOpened);
    if (!opened) {
      if (result) result = opened;
      return;
    }
    if (state == DisplayState::Minimized) HideDisplayWindow(scene, display);
  });
  return result;
}

/// What the displays were before a switch, to go back to when it fails.
struct ModeBefore {
  bool fullScreen = false;
  ScreenMode mode;
  std::int32_t displayMode = 0;
  std::vector<std::pair<qmDisplay*, DisplaySettings>> settings;
};

ModeBefore RememberMode(SceneState& scene) {
  ModeBefore before;
  before.fullScreen = scene.fullScreen;
  before.mode = {scene.screenWidth, scene.screenHeight,
                 scene.platform().windows().GetDesktopInfo().depth};
  before.displayMode = scene.settings.displayMode;
  ForPublicDisplays(scene, [&](qmDisplay& display) {
    before.settings.emplace_back(&display, static_cast<DisplaySettings&>(display));
  });
  return before;
}

Status EnterMode(SceneState& scene, std::int32_t mode, const ScreenMode& screen) {
  const std::int32_t depth = scene.platform().windows().GetDesktopInfo().depth;
  CloseScreen(scene);
  if (mode == DISPMODE_FULLSCREEN) {
    TRY(OpenScreen(scene, screen));
    scene.settings.displayMode = displayModeFullScreen;
    ForPublicDisplays(scene, SetFullScreenFlags);
    return {};
  }
  if (scene.platform().windows().GetDesktopInfo().depth != depth) {
    return Fail(Error::DisplayModeColorMismatch);
  }
  scene.settings.displayMode = displayModeWindow;
  ForPublicDisplays(scene, SetWindowedFlags);
  return {};
}

/// The displays that are about to be opened again must fit the new screen.
Status RequireAllFit(SceneState& scene) {
  Status result;
  ForPublicDisplays(scene, [&](qmDisplay& display) {
    if (!result || !display.reopenAfterModeSwitch) return;
    result = RequireFit(scene, display, display.width, display.height);
  });
  return result;
}

void GoBack(SceneState& scene, const ModeBefore& before) {
  CloseScreen(scene);
  scene.settings.displayMode = before.displayMode;
  for (const auto& [display, settings] : before.settings) {
    static_cast<DisplaySettings&>(*display) = settings;
  }
  if (before.fullScreen) (void)OpenScreen(scene, before.mode);
}

}  // namespace

Status OpenDisplays(VmState& state, const ScreenSettings& settings, std::string_view privatePath) {
  SceneState& scene = vmRoom<SceneState>(state);
  scene.settings = settings;
  scene.privatePath = privatePath;
  PrintLine(scene.host, MessageId::PreparingDisplay);
  TRY(MakePendingPlanes(scene));
  qmDisplay* first = TRY(FirstDisplay(scene));
  scene.SetCurrentDisplay(first);
  TRY(OpenStartScreen(scene));
  TRY(BuildBackdrop(state));
  TRY(OpenVisibleDisplays(scene));
  if (StartsActive(*first)) first->window->Activate();
  PrintLine(scene.host, MessageId::AndAction);
  return {};
}

Status SwitchDisplayMode(VmState& state, std::int32_t mode, std::int32_t width,
                         std::int32_t height) {
  SceneState& scene = vmRoom<SceneState>(state);
  const bool wantsScreen = mode == DISPMODE_FULLSCREEN;
  if (wantsScreen == scene.fullScreen) {
    if (!wantsScreen) return {};
    if (width == scene.screenWidth && height == scene.screenHeight) return {};
  }
  const ModeBefore before = RememberMode(scene);
  CloseForSwitch(scene);
  FreeBackdrop(scene);
  Status result = EnterMode(scene, mode, {width, height, before.mode.depth});
  if (result) result = RequireAllFit(scene);
  if (!result) GoBack(scene, before);
  const Status backdrop = BuildBackdrop(state);
  const Status reopened = ReopenAfterSwitch(scene);
  if (!result) return result;
  return !backdrop ? backdrop : reopened;
}

Status ToggleDisplayMode(VmState& state) {
  SceneState& scene = vmRoom<SceneState>(state);
  const ScreenMode screen = StartMode(scene);
  const std::int32_t mode = scene.fullScreen ? DISPMODE_WINDOWED : DISPMODE_FULLSCREEN;
  return SwitchDisplayMode(state, mode, screen.width, screen.height);
}

}  // namespace quillmere
