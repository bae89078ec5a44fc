#include "scene/pending.h"

#include "pixels/plane_convert.h"
#include "scene/scene_state.h"

namespace quillmere {

Result<Planes> PlanesOfPending(const PendingPicture& picture, std::int32_t transparentColor) {
  std::optional<std::uint32_t> key;
  if (transparentColor != noTransparentColor) {
    key = static_cast<std::uint32_t>(transparentColor) & 0xFFFFFF;
  }
  Planes planes = TRY(ARGBToBitmap(picture.pixels, picture.withAlpha ? std::nullopt : key,
                                   picture.width, picture.height, picture.width));
  if (picture.withAlpha) {
    planes.alpha = TRY(ARGBToAlpha(picture.pixels, picture.width, picture.height, picture.width));
  }
  return planes;
}

Status MakePendingPlanes(SceneState& scene) {
  for (qmBrush& brush : scene.brushes.All()) TRY(MakeBrushPlanes(brush));
  for (qmBGPic& bgpic : scene.bgpics.All()) TRY(MakeBGPicPlanes(scene, bgpic));
  return {};
}

}  // namespace quillmere
