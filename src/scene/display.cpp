#include "scene/display.h"

#include "scene/display_internal.h"
#include "scene/display_options.h"
#include "scene/fill.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// Frees the display that bears a number which is to be used again.
Status ReplaceDisplay(SceneState& scene, const ObjectId& id) {
  if (id.handle != 0) return {};
  qmDisplay* old = scene.displays.Lookup(id);
  if (old == nullptr) return {};
  TRY(RequireFreeable(scene, *old));
  DestroyDisplay(scene, *old);
  return {};
}

/// Gives the display a picture of its own when it was given none.
Status MakeOwnBGPic(SceneState& scene, qmDisplay& display) {
  TRY(LoadTexture(scene, display.fill));
  auto picture = TRY(MakeFilledBGPic(scene, display.fill, display.width, display.height));
  picture->ownerSerial = display.serial;
  display.bgpic = &scene.bgpics.Append(std::move(picture), ObjectId{0, 1});
  display.ownBGPic = display.bgpic->Id();
  return {};
}

void TakeScaleSize(qmDisplay& display) {
  if (!display.HasEngine() || (display.scaleWidth == 0 && display.scaleHeight == 0)) return;
  if (display.scaleWidth == 0) display.scaleWidth = display.width;
  if (display.scaleHeight == 0) display.scaleHeight = display.height;
  display.width = display.scaleWidth;
  display.height = display.scaleHeight;
}

Status SetUpDisplay(SceneState& scene, qmDisplay& display) {
  if (display.bgpic == nullptr) TRY(MakeOwnBGPic(scene, display));
  display.border = scene.platform().windows().GetFrameSizes(display.Has(displayBorderless));
  TakeScaleSize(display);
  TRY(PrepareBuffers(scene, display));
  ResetTextMargins(display);
  UpdateRegions(display);
  return {};
}

/// The script may have freed the picture, and another one may bear its handle by now.
void FreeOwnBGPic(SceneState& scene, const qmDisplay& display) {
  if (!display.ownBGPic) return;
  const qmBGPic* own = scene.bgpics.Lookup(*display.ownBGPic);
  if (own == nullptr || own->ownerSerial != display.serial) return;
  (void)FreeBGPicObject(scene, own->Id(), false);
}

}  // namespace

Result<qmDisplay*> FindDisplay(SceneState& scene, const ObjectId& id) {
  return scene.displays.Find(id);
}

qmDisplay* DisplayOf(SceneState& scene, const qmBGPic& bgpic) {
  for (qmDisplay& display : scene.displays.All()) {
    if (display.bgpic == &bgpic) return &display;
  }
  return nullptr;
}

qmDisplay* DisplayOf(SceneState& scene, const PlatformWindow* window) {
  for (qmDisplay& display : scene.displays.All()) {
    if (display.window.get() == window && window != nullptr) return &display;
  }
  return nullptr;
}

Status RequireNotRecording(const SceneState& scene) {
  if (scene.recorder.Recording()) return Fail(Error::NotWhileRecording);
  return {};
}

Status RequireFreeable(const SceneState& scene, const qmDisplay& display) {
  if (&display == scene.currentDisplay) return Fail(Error::DisplayIsActive);
  if (scene.asyncDraw.any && scene.asyncDraw.any(display)) return Fail(Error::DisplayHasAsyncDraw);
  return {};
}

Result<ObjectId> MakeDisplay(VmState& state, ObjectId id, int tableIndex) {
  SceneState& scene = vmRoom<SceneState>(state);
  if (scene.recorder.Recording()) return Fail(Error::NoMultipleDisplaysWhileRecording);
  TRY(ReplaceDisplay(scene, id));
  DisplayOptions options =
      TRY(ReadDisplayOptions(state, tableIndex, OptionScope::Create, {}, nullptr));
  auto display = std::make_unique<qmDisplay>();
  static_cast<DisplaySettings&>(*display) = std::move(options.settings);
  display->serial = scene.nextDisplaySerial++;
  display->bgpic = options.bgpic;
  display->private1 = options.private1;
  display->private2 = options.private2;
  display->private3 = options.private3;
  display->layersEnabled = options.layers || display->layerScale;
  if (const Status made = SetUpDisplay(scene, *display); !made) {
    FreeOwnBGPic(scene, *display);
    return Fail(made.error());
  }
  const std::lock_guard lock(scene.displayLock);
  const qmDisplay& added = display->private1 != 0 ? scene.displays.Prepend(std::move(display), id)
                                                  : scene.displays.Append(std::move(display), id);
  return added.Id();
}

void DestroyDisplay(SceneState& scene, qmDisplay& display) {
  scene.hooks.displayFreed.Call(display);
  CloseDisplayWindow(scene, display);
  if (scene.currentDisplay == &display) scene.SetCurrentDisplay(nullptr);
  ReleaseBGPic(scene, display, *display.bgpic);
  std::unique_ptr<qmDisplay> taken;
  {
    const std::lock_guard lock(scene.displayLock);
    taken = scene.displays.Remove(display);
  }
  FreeOwnBGPic(scene, *taken);
  CollectHiddenObjects(scene);
}

void SelectCurrentDisplay(SceneState& scene, qmDisplay& display, bool activate) {
  if (scene.currentDisplay == &display) return;
  if (scene.currentDisplay != nullptr) (void)EndSelection(scene);
  if (activate && display.state == DisplayState::Open) display.window->Activate();
  scene.SetCurrentDisplay(&display);
}

void CloseDisplays(SceneState& scene) {
  scene.SetCurrentDisplay(nullptr);
  while (!scene.displays.Empty()) DestroyDisplay(scene, *scene.displays.All().begin());
  if (scene.fullScreen) {
    scene.platform().windows().ClosePlatformScreen();
    scene.fullScreen = false;
  }
}

}  // namespace quillmere
