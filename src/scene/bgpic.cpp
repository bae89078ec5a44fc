#include "scene/bgpic.h"

#include "pixels/plane_convert.h"
#include "pixels/scale.h"
#include "scene/fill.h"
#include "scene/pending.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

void SetAllPlanes(qmBGPic& bgpic, const Planes& planes) {
  bgpic.base = bgpic.scaled = bgpic.shown = planes;
  bgpic.baseWidth = bgpic.logicalWidth = bgpic.outputWidth = planes.bitmap->width;
  bgpic.baseHeight = bgpic.logicalHeight = bgpic.outputHeight = planes.bitmap->height;
}

void SetScaled(qmBGPic& bgpic, const Planes& planes) {
  bgpic.scaled = bgpic.shown = planes;
  bgpic.logicalWidth = bgpic.outputWidth = planes.bitmap->width;
  bgpic.logicalHeight = bgpic.outputHeight = planes.bitmap->height;
}

}  // namespace

Result<qmBGPic*> FindBGPic(SceneState& scene, const ObjectId& id, unsigned flags) {
  qmBGPic* bgpic = TRY(scene.bgpics.FindObject(id, flags & ~FIND_MODIFY));
  if (bgpic->pending) TRY(MakeBGPicPlanes(scene, *bgpic));
  if (flags & FIND_MODIFY) TRY(scene.bgpics.FindObject(id, flags));
  return bgpic;
}

Result<std::unique_ptr<qmBGPic>> CloneBGPic(const qmBGPic& bgpic) {
  auto clone = std::make_unique<qmBGPic>();
  clone->base = TRY(CopyPlanes(bgpic.base));
  clone->scaled =
      bgpic.scaled.bitmap == bgpic.base.bitmap ? clone->base : TRY(CopyPlanes(bgpic.scaled));
  clone->shown = bgpic.shown.bitmap == bgpic.base.bitmap     ? clone->base
                 : bgpic.shown.bitmap == bgpic.scaled.bitmap ? clone->scaled
                                                             : TRY(CopyPlanes(bgpic.shown));
  clone->outputWidth = bgpic.outputWidth;
  clone->outputHeight = bgpic.outputHeight;
  clone->logicalWidth = bgpic.logicalWidth;
  clone->logicalHeight = bgpic.logicalHeight;
  clone->baseWidth = bgpic.baseWidth;
  clone->baseHeight = bgpic.baseHeight;
  clone->transparentColor = bgpic.transparentColor;
  clone->palette = bgpic.palette;
  clone->fill = bgpic.fill;
  if (bgpic.fill.textureBitmap) {
    const Planes texture{.bitmap = bgpic.fill.textureBitmap, .mask = {}, .alpha = {}};
    clone->fill.textureBitmap = TRY(CopyPlanes(texture)).bitmap;
  }
  clone->imageType = bgpic.imageType;
  clone->brushExtra = bgpic.brushExtra;
  return clone;
}

std::unique_ptr<qmBGPic> MakeBGPic(Planes planes) {
  auto bgpic = std::make_unique<qmBGPic>();
  SetAllPlanes(*bgpic, planes);
  return bgpic;
}

Result<std::unique_ptr<qmBGPic>> MakeFilledBGPic(SceneState& scene, Fill fill, std::int32_t width,
                                                 std::int32_t height) {
  TRY(LoadTexture(scene, fill));
  auto bgpic = MakeBGPic(TRY(BuildFill(scene.host.debug, {}, fill, width, height)));
  bgpic->fill = std::move(fill);
  bgpic->imageType = IMAGETYPE_VECTOR;
  return bgpic;
}

Result<ObjectId> AddBGPic(SceneState& scene, const ObjectId& id, std::unique_ptr<qmBGPic> bgpic) {
  if (id.handle == 0) TRY(FreeBGPicObject(scene, id, false));
  return scene.bgpics.Append(std::move(bgpic), id).Id();
}

void CollectHiddenObjects(SceneState& scene) {
  // A picture that goes may take the last layer that showed another object with it.
  const auto count = [&] { return scene.brushes.Count() + scene.bgpics.Count(); };
  std::size_t before = 0;
  do {
    before = count();
    scene.pixels().objects.CollectHidden(SWEEP_BRUSHES | SWEEP_ANIMS | SWEEP_TEXTOBJECTS |
                                         SWEEP_BGPICS);
  } while (count() != before);
}

Status FreeBGPicObject(SceneState& scene, const ObjectId& id, bool mustExist) {
  TRY(scene.bgpics.FreeObject(id, mustExist));
  CollectHiddenObjects(scene);
  return {};
}

Status MakeBGPicPlanes(SceneState& scene, qmBGPic& bgpic) {
  if (!bgpic.pending) return {};
  TRY(LoadTexture(scene, bgpic.fill));
  const Planes picture = TRY(PlanesOfPending(*bgpic.pending, bgpic.transparentColor));
  SetAllPlanes(bgpic, TRY(BuildFill(scene.host.debug, picture, bgpic.fill, picture.Width(),
                                    picture.Height())));
  bgpic.pending.reset();
  return {};
}

Result<Planes> BGPicPlanesAt(SceneState& scene, const qmBGPic& bgpic, std::int32_t width,
                             std::int32_t height, bool smooth) {
  if (width == bgpic.baseWidth && height == bgpic.baseHeight) return bgpic.base;
  if (width == bgpic.logicalWidth && height == bgpic.logicalHeight) return bgpic.scaled;
  if (bgpic.imageType == IMAGETYPE_VECTOR) {
    return BuildFill(scene.host.debug, {}, bgpic.fill, width, height);
  }
  return ScalePlanes(scene.pixels().scaleTables, bgpic.base,
                     {0, 0, bgpic.baseWidth, bgpic.baseHeight}, width, height, smooth);
}

Status ScaleBGPicTo(SceneState& scene, qmBGPic& bgpic, std::int32_t width, std::int32_t height,
                    bool smooth) {
  if (width == bgpic.logicalWidth && height == bgpic.logicalHeight) return {};
  SetScaled(bgpic, TRY(BGPicPlanesAt(scene, bgpic, width, height, smooth)));
  return {};
}

void ShowUnscaled(qmBGPic& bgpic) {
  bgpic.shown = bgpic.scaled;
  bgpic.outputWidth = bgpic.logicalWidth;
  bgpic.outputHeight = bgpic.logicalHeight;
}

Status DeriveBGPicPlanes(SceneState& scene, qmBGPic& bgpic) {
  const auto derive = [&](std::int32_t width, std::int32_t height) -> Result<Planes> {
    if (width == bgpic.baseWidth && height == bgpic.baseHeight) return bgpic.base;
    return ScalePlanes(scene.pixels().scaleTables, bgpic.base,
                       {0, 0, bgpic.baseWidth, bgpic.baseHeight}, width, height, false);
  };
  Planes scaled = TRY(derive(bgpic.logicalWidth, bgpic.logicalHeight));
  const bool isShownScaled =
      bgpic.outputWidth == bgpic.logicalWidth && bgpic.outputHeight == bgpic.logicalHeight;
  Planes shown = isShownScaled ? scaled : TRY(derive(bgpic.outputWidth, bgpic.outputHeight));
  bgpic.scaled = std::move(scaled);
  bgpic.shown = std::move(shown);
  return {};
}

}  // namespace quillmere
