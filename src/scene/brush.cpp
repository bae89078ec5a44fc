#include "scene/brush.h"

#include "pixels/plane_convert.h"
#include "scene/pending.h"
#include "scene/scene_state.h"

namespace quillmere {

Result<qmBrush*> FindBrush(SceneState& scene, const ObjectId& id, unsigned flags) {
  qmBrush* brush = TRY(scene.brushes.FindObject(id, flags & ~FIND_MODIFY));
  // The planes come first: a copy that layers keep is a copy of planes.
  if (brush->pending) TRY(MakeBrushPlanes(*brush));
  if (flags & FIND_MODIFY) TRY(scene.brushes.FindObject(id, flags));
  return brush;
}

Status RequireNotSelectedBrush(const SceneState& scene, const ObjectId& id) {
  if (IsSelectedOutput(scene, ObjectType::BRUSH, id)) return Fail(Error::ActiveBrush);
  return {};
}

Result<qmBrush*> FindBrushToModify(SceneState& scene, const ObjectId& id) {
  TRY(RequireNotSelectedBrush(scene, id));
  return FindBrush(scene, id, FIND_MODIFY | FIND_NO_VECTOR);
}

Result<std::unique_ptr<qmBrush>> CloneBrush(const qmBrush& brush) {
  auto clone = std::make_unique<qmBrush>();
  clone->planes = TRY(CopyPlanes(brush.planes));
  clone->width = brush.width;
  clone->height = brush.height;
  clone->transparentColor = brush.transparentColor;
  clone->vectorTransformed = brush.vectorTransformed;
  clone->imageType = brush.imageType;
  clone->brushExtra = brush.brushExtra;
  return clone;
}

Result<ObjectId> AddBrush(SceneState& scene, const ObjectId& id, std::unique_ptr<qmBrush> brush) {
  TRY(scene.brushes.MakeRoomFor(id));
  return scene.brushes.Append(std::move(brush), id).Id();
}

Result<ObjectId> AddBrush(SceneState& scene, const ObjectId& id, Planes planes,
                          std::int32_t transparentColor) {
  auto brush = std::make_unique<qmBrush>();
  brush->transparentColor = transparentColor;
  ReplaceBrushPlanes(*brush, std::move(planes));
  return AddBrush(scene, id, std::move(brush));
}

Status MakeBrushPlanes(qmBrush& brush) {
  if (!brush.pending) return {};
  ReplaceBrushPlanes(brush, TRY(PlanesOfPending(*brush.pending, brush.transparentColor)));
  brush.pending.reset();
  return {};
}

void ReplaceBrushPlanes(qmBrush& brush, Planes planes) {
  brush.width = planes.bitmap->width;
  brush.height = planes.bitmap->height;
  brush.planes = std::move(planes);
}

}  // namespace quillmere
