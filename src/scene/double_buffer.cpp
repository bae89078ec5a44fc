// Double buffering: drawing goes to a hidden picture, `Flip` shows it at once.
#include "pixels/blit.h"
#include "pixels/scale.h"
#include "scene/display_commands.h"
#include "scene/display_internal.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

Result<BitmapPtr> BlackBitmap(SceneState& scene, std::int32_t width, std::int32_t height) {
  BitmapPtr bitmap = TRY(AllocBitmap(width, height));
  RECTFILL(scene.host.debug, bitmap.get(), {0, 0, width, height}, 0);
  return bitmap;
}

bool IsScaled(const qmDisplay& display) {
  return display.autoScale && display.HasScaleSize();
}

/// The front picture has the size of what the window shows of the picture.
Result<BitmapPtr> MakeFront(SceneState& scene, const qmDisplay& display) {
  if (IsScaled(display)) return BlackBitmap(scene, display.scaleWidth, display.scaleHeight);
  return BlackBitmap(scene, display.bgpic->outputWidth, display.bgpic->outputHeight);
}

Status RequireDoubleBufferable(SceneState& scene, const qmDisplay& display) {
  TRY(RequireNoSelection(scene));
  if (display.layersEnabled || !display.bgpic->layers.empty()) return Fail(Error::TurnLayersOff);
  if (scene.sprites.Any(*display.bgpic)) return Fail(Error::RemoveSpritesFirst);
  if (display.bgpic->IsShaped()) return Fail(Error::NoDoubleBufferingForTransparent);
  return {};
}

void CopyBack(SceneState& scene, const qmBitmap& back, qmBitmap* target) {
  if (target == nullptr) return;
  BLTBITMAP(
      scene.host.debug, back, target,
      {0, 0, 0, 0, std::min(back.width, target->width), std::min(back.height, target->height)});
}

Status CopyToFront(SceneState& scene, qmDisplay& display) {
  const qmBitmap& back = *display.doubleBufferBack;
  if (!IsScaled(display)) {
    CopyBack(scene, back, display.doubleBufferFront.get());
    return {};
  }
  BitmapPtr& front = display.doubleBufferFront;
  if (front->width != display.scaleWidth || front->height != display.scaleHeight) {
    front = TRY(MakeFront(scene, display));
  }
  return ScaleBitmapInto(scene.pixels().scaleTables, back, {0, 0, back.width, back.height}, *front,
                         display.scaleWidth, display.scaleHeight, false);
}

}  // namespace

CommandResult BeginDoubleBuffer(VmState& state) {
  vmCheckArgs(state, 0, 0);
  SceneState& scene = vmRoom<SceneState>(state);
  qmDisplay& display = *scene.currentDisplay;
  TRY(RequireDoubleBufferable(scene, display));
  BitmapPtr front = TRY(MakeFront(scene, display));
  const qmBGPic& bgpic = *display.bgpic;
  BitmapPtr back = TRY(BlackBitmap(scene, bgpic.outputWidth, bgpic.outputHeight));
  if (!display.doubleBufferOutput) display.doubleBufferOutput = std::make_unique<qmOutput>();
  InitOutput(*display.doubleBufferOutput, ObjectType::BRUSH, 0,
             Planes{.bitmap = back, .mask = {}, .alpha = {}}, back->width, back->height);
  display.doubleBufferFront = std::move(front);
  display.doubleBufferBack = std::move(back);
  display.out = {};
  display.out.bitmap = display.doubleBufferBack;
  display.outputType = ObjectType::BRUSH;
  display.doubleBuffered = true;
  scene.SetCurrentOutput(display.doubleBufferOutput.get());
  return 0;
}

CommandResult Flip(VmState& state) {
  vmCheckArgs(state, 0, 0);
  SceneState& scene = vmRoom<SceneState>(state);
  qmDisplay& display = *scene.currentDisplay;
  if (!display.doubleBuffered) return Error::DoubleBufferingInactive;
  TRY(CopyToFront(scene, display));
  const qmBitmap& front = *display.doubleBufferFront;
  WindowBlit(scene, front, 0, 0, display, 0, 0, std::min(front.width, display.width),
             std::min(front.height, display.height), blitFrame);
  FrameWait(scene, display);
  vmRequestLineHook(state);
  return 0;
}

CommandResult EndDoubleBuffer(VmState& state) {
  vmCheckArgs(state, 0, 0);
  SceneState& scene = vmRoom<SceneState>(state);
  qmDisplay& display = *scene.currentDisplay;
  if (!display.doubleBuffered) return Error::DoubleBufferingInactive;
  EndDoubleBuffering(scene, display);
  return 0;
}

void EndDoubleBuffering(SceneState& scene, qmDisplay& display) {
  if (!display.doubleBufferBack) return;
  CopyBack(scene, *display.doubleBufferBack, display.canvas.get());
  if (display.autoScale) CopyBack(scene, *display.doubleBufferBack, display.scratch.get());
  display.doubleBufferFront.reset();
  display.doubleBufferBack.reset();
  InitOutput(*display.doubleBufferOutput, ObjectType::NOOBJECT, 0, {}, 0, 0);
  display.doubleBufferOutput->clipRegion = nullptr;
  display.doubleBuffered = display.doubleBufferSuspended = false;
  display.outputType = ObjectType::DISPLAY;
  display.out = {};
  if (scene.currentDisplay == &display) scene.SetCurrentOutput(display.bgpic);
}

}  // namespace quillmere
