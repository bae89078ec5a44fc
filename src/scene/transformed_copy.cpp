#include "base/numbers.h"
#include "pixels/plane_convert.h"
#include "pixels/scale.h"
#include "pixels/transform.h"
#include "scene/display_object.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

bool IsPureScale(const Matrix& matrix) {
  return matrix.m01 == 0 && matrix.m10 == 0 && matrix.m00 >= 0 && matrix.m11 >= 0;
}

Result<Planes> ScaledCopy(SceneState& scene, const Planes& planes, const Area& source,
                          const Matrix& matrix, bool smooth) {
  std::int32_t width = std::max(1, ToInt32(source.width * matrix.m00));
  std::int32_t height = std::max(1, ToInt32(source.height * matrix.m11));
  const qmDisplay* display = scene.currentDisplay;
  if (display != nullptr && display->layerScale && display->HasScaleSize() &&
      matrix.m00 == display->scaleFactorX && matrix.m11 == display->scaleFactorY &&
      source.width == display->bgpic->logicalWidth &&
      source.height == display->bgpic->logicalHeight) {
    width = display->scaleWidth;
    height = display->scaleHeight;
  }
  return ScalePlanes(scene.pixels().scaleTables, planes, source, width, height, smooth);
}

Result<Planes> Transformed(SceneState& scene, const Planes& planes, const Area& source,
                           const Matrix& matrix, bool smooth) {
  if (matrix.IsIdentity()) {
    return CopyPlanes(planes, source.x, source.y, source.width, source.height);
  }
  if (IsPureScale(matrix)) return ScaledCopy(scene, planes, source, matrix, smooth);
  return TransformPlanes(planes, source, matrix, smooth);
}

}  // namespace

Result<TransformedPicture> TransformedCopy(SceneState& scene, const Planes& planes,
                                           const Area& source, const Matrix& matrix, bool smooth) {
  TransformedPicture picture;
  picture.planes = TRY(Transformed(scene, planes, source, matrix, smooth));
  picture.width = picture.planes.Width();
  picture.height = picture.planes.Height();
  return picture;
}

}  // namespace quillmere
