#include "scene/bgpic_change.h"

#include "pixels/plane_convert.h"
#include "pixels/scale.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// A copy of the whole scene of the current display.
Result<BitmapPtr> CopyOfScene(SceneState& scene, qmDisplay& display) {
  const BitmapPtr picture = ComposedPicture(scene, display);
  return TRY(CopyPlanes(Planes{.bitmap = picture, .mask = {}, .alpha = {}})).bitmap;
}

Result<BitmapPtr> ScaledTo(SceneState& scene, const BitmapPtr& bitmap, std::int32_t width,
                           std::int32_t height) {
  if (bitmap->width == width && bitmap->height == height) return bitmap;
  const Planes source{.bitmap = bitmap, .mask = {}, .alpha = {}};
  Planes scaled = TRY(ScalePlanes(scene.pixels().scaleTables, source,
                                  {0, 0, bitmap->width, bitmap->height}, width, height, false));
  return std::move(scaled.bitmap);
}

Status ChangePicture(VmState& state, const ObjectId& id, std::int32_t x, std::int32_t y,
                     bool keepWindow) {
  vmNewTable(state);
  const int table = vmGetTop(state);
  vmSetFieldId(state, "bgpic", id);
  if (x != KEEPPOSITION) vmSetFieldInt(state, "x", x);
  if (y != KEEPPOSITION) vmSetFieldInt(state, "y", y);
  const Status changed = SetDisplayAttributes(state, table, keepWindow);
  vmSetTop(state, table - 1);
  return changed;
}

}  // namespace

Status ShowBGPic(VmState& state, const ObjectId& id, std::int32_t x, std::int32_t y,
                 BGPicTransition* transition) {
  SceneState& scene = vmRoom<SceneState>(state);
  qmDisplay& display = *scene.currentDisplay;
  const qmBGPic* bgpic = TRY(FindBGPic(scene, id));
  if (scene.recorder.Recording() && bgpic->IsShaped()) {
    return Fail(Error::NoTransparentDisplaysWhileRecording);
  }
  if (transition == nullptr) return ChangePicture(state, id, x, y, false);
  BitmapPtr before = TRY(CopyOfScene(scene, display));
  if (!display.HasEngine()) {
    before = TRY(ScaledTo(scene, before, bgpic->outputWidth, bgpic->outputHeight));
  }
  TRY(ChangePicture(state, id, x, y, true));
  transition->oldPicture = std::move(before);
  transition->newPicture = TRY(CopyOfScene(scene, display));
  return {};
}

}  // namespace quillmere
