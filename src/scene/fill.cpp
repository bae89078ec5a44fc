#include "scene/fill.h"

#include "pixels/blit.h"
#include "pixels/image_ops.h"
#include "pixels/plane_convert.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

std::int32_t WrapOffset(std::int64_t offset, std::int32_t size) {
  const std::int64_t rest = offset % size;
  return static_cast<std::int32_t>(rest < 0 ? rest + size : rest);
}

/// One row of tiles: `height` rows of the tile from `tileY` on, side by side.
void TileRow(DebugOutput& debug, qmBitmap& target, const Area& row, const qmBitmap& tile,
             std::int32_t offsetX, std::int32_t tileY) {
  std::int32_t tileX = offsetX;
  for (std::int32_t x = 0; x < row.width;) {
    const std::int32_t width = std::min(tile.width - tileX, row.width - x);
    BLTBITMAP(debug, tile, &target, {tileX, tileY, row.x + x, row.y, width, row.height});
    x += width;
    tileX = 0;
  }
}

}  // namespace

void TileBitmap(DebugOutput& debug, qmBitmap& target, const Area& area, const qmBitmap& tile,
                std::int32_t offsetX, std::int32_t offsetY) {
  const Area inside = ClipArea(area, target.width, target.height);
  if (inside.Empty()) return;
  const std::int32_t startX =
      WrapOffset(static_cast<std::int64_t>(offsetX) + inside.x - area.x, tile.width);
  std::int32_t tileY =
      WrapOffset(static_cast<std::int64_t>(offsetY) + inside.y - area.y, tile.height);
  for (std::int32_t y = 0; y < inside.height;) {
    const std::int32_t height = std::min(tile.height - tileY, inside.height - y);
    TileRow(debug, target, {inside.x, inside.y + y, inside.width, height}, tile, startX, tileY);
    y += height;
    tileY = 0;
  }
}

void PaintFill(DebugOutput& debug, qmBitmap& target, const Area& area, const Fill& fill) {
  if (fill.style == FILLGRADIENT) {
    DrawGradient(debug, &target, area, fill.color & 0xFFFFFF, fill.endColor & 0xFFFFFF, fill.angle);
  } else if (fill.style == FILLTEXTURE && fill.textureBitmap) {
    TileBitmap(debug, target, area, *fill.textureBitmap, fill.textureX, fill.textureY);
  } else {
    RECTFILL(debug, &target, area, fill.style == FILLCOLOR ? fill.color & 0xFFFFFF : 0);
  }
}

Result<Planes> BuildFill(DebugOutput& debug, const Planes& picture, const Fill& fill,
                         std::int32_t width, std::int32_t height) {
  if (picture.bitmap && (fill.style == FILLNONE || picture.IsOpaque())) return picture;
  BitmapPtr bitmap = TRY(AllocBitmap(width, height));
  PaintFill(debug, *bitmap, {0, 0, width, height}, fill);
  const BlitArea whole{0, 0, 0, 0, width, height};
  if (picture.mask) BLTMASK(debug, *picture.bitmap, bitmap.get(), whole, *picture.mask);
  if (picture.alpha) BLTALPHABITMAP(debug, *picture.bitmap, bitmap.get(), whole, *picture.alpha);
  return Planes{.bitmap = std::move(bitmap), .mask = {}, .alpha = {}};
}

Status LoadTexture(SceneState& scene, Fill& fill) {
  if (fill.style != FILLTEXTURE || fill.textureBitmap) return {};
  const qmBrush* brush = TRY(FindBrush(scene, fill.texture));
  Planes copy = TRY(CopyPlanes(Planes{.bitmap = brush->planes.bitmap, .mask = {}, .alpha = {}}));
  fill.textureBitmap = std::move(copy.bitmap);
  fill.textureWidth = brush->width;
  fill.textureHeight = brush->height;
  return {};
}

}  // namespace quillmere
