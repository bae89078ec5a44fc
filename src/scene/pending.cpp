#include "scene/pending.h"

#include "pixels/plane_convert.h"
#include "scene/scene_state.h"

namespace quillmere {

Result<Planes> PlanesOfPending(const PendingPicture& picture, std::int32_t transparentColor) {
  Planes planes{.bitmap = picture.pixels, .mask = {}, .alpha = {}};
  qmBitmap& bitmap = *picture.pixels;
  if (picture.withAlpha) {
    const std::span<const std::uint32_t> words(
        bitmap.Row(0), static_cast<std::size_t>(bitmap.pixelsPerRow) * bitmap.height);
    planes.alpha = TRY(ARGBToAlpha(words, bitmap.width, bitmap.height, bitmap.pixelsPerRow));
  } else if (transparentColor != noTransparentColor) {
    planes.mask = TRY(KeyToMask(bitmap, static_cast<std::uint32_t>(transparentColor) & 0xFFFFFF));
  }
  return planes;
}

Status MakePendingPlanes(SceneState& scene) {
  for (qmBrush& brush : scene.brushes.All()) TRY(MakeBrushPlanes(brush));
  for (qmBGPic& bgpic : scene.bgpics.All()) TRY(MakeBGPicPlanes(scene, bgpic));
  return {};
}

}  // namespace quillmere
