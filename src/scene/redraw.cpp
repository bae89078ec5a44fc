// Composition: any rectangle of the scene from the background, the layers and the sprites, and the
// lists of rectangles that are to be repainted.
#include "scene/redraw.h"

#include "pixels/blit.h"
#include "pixels/plane_convert.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// One stage of the scene to compose into one bitmap.
struct Composition {
  SceneState& scene;
  qmDisplay& display;
  qmBGPic& bgpic;
  qmBitmap& target;
  Area area;
  unsigned flags;

  [[nodiscard]] bool Has(RedrawFlags flag) const { return (flags & flag) != 0; }
};

const qmBitmap* Background(const Composition& work) {
  if (work.Has(redrawLogical)) return work.bgpic.scaled.bitmap.get();
  if (work.Has(redrawFromShown)) return work.bgpic.shown.bitmap.get();
  const bool isDisplayed = work.display.bgpic == &work.bgpic;
  if (work.Has(redrawFromCanvas) || isDisplayed) return work.display.canvas.get();
  return work.bgpic.shown.bitmap.get();
}

void DrawBackground(const Composition& work) {
  const qmBitmap* source = Background(work);
  if (source == nullptr || source == &work.target) return;
  const Area part = ClipArea(work.area, source->width, source->height);
  if (part.Empty()) return;
  BLTBITMAP(work.scene.host.debug, *source, &work.target,
            {part.x, part.y, part.x, part.y, part.width, part.height});
}

Area AreaOf(const qmClipRegion& region) {
  return {region.x, region.y, region.width, region.height};
}

/// The colour plane with the tint laid over a copy.
Result<BitmapPtr> Tinted(const LayerPicture& picture, const qmLayer& layer) {
  Planes colour = TRY(CopyPlanes(Planes{.bitmap = picture.planes.bitmap, .mask = {}, .alpha = {}}));
  TintPicture(*colour.bitmap, {0, 0, colour.bitmap->width, colour.bitmap->height},
              layer.tintColor & 0xFFFFFF, layer.tint);
  return colour.bitmap;
}

void BlitClipped(const Composition& work, const Planes& planes, const BlitArea& area,
                 const qmClipRegion* region) {
  ClipShape shape;
  if (region != nullptr) shape = {AreaOf(*region), region->mask.get()};
  SafeBlit blit;
  blit.source = planes.bitmap.get();
  blit.sourceMask = planes.mask.get();
  blit.sourceAlpha = planes.alpha.get();
  blit.target = &work.target;
  blit.area = area;
  blit.sourceWidth = planes.bitmap->width;
  blit.sourceHeight = planes.bitmap->height;
  blit.targetWidth = work.target.width;
  blit.targetHeight = work.target.height;
  blit.flags = SAFEBLT_NOSPRITES | SAFEBLT_COLORONLY;
  blit.clip = region != nullptr ? &shape : nullptr;
  SAFEBLT(work.scene.host, blit);
}

/// Blends a layer as a whole; through a region with a shape by way of a copy of the target.
Status BlendLayer(const Composition& work, const Planes& planes, const BlitArea& area, int level,
                  const qmClipRegion* region) {
  if (region == nullptr || !region->mask) {
    BlendPicture(work.target, *planes.bitmap, planes.mask.get(), planes.alpha.get(), area, level);
    return {};
  }
  BitmapPtr copy = TRY(AllocBitmap(area.width, area.height));
  BLTBITMAP(work.scene.host.debug, work.target, copy.get(),
            {area.tx, area.ty, 0, 0, area.width, area.height});
  BlendPicture(*copy, *planes.bitmap, planes.mask.get(), planes.alpha.get(),
               {area.sx, area.sy, 0, 0, area.width, area.height}, level);
  BlitClipped(work, Planes{.bitmap = copy, .mask = {}, .alpha = {}},
              {0, 0, area.tx, area.ty, area.width, area.height}, region);
  return {};
}

Status DrawLayer(const Composition& work, const qmLayer& layer) {
  if (layer.type == ObjectType::NOOBJECT || layer.hidden || layer.leftOut) return {};
  const qmFrame& frame = work.Has(redrawLogical) ? *layer.transformed : *layer.output;
  Area area = work.area;
  if (frame.clipRegion != nullptr) area = Intersect(area, AreaOf(*frame.clipRegion));
  area = Intersect(area, {frame.boxX, frame.boxY, frame.outWidth, frame.outHeight});
  if (area.Empty()) return {};

  LayerPicture picture = TRY(LayerPlanes(work.scene, layer, frame, true, -1));
  if (!picture.planes.bitmap) return {};
  if (layer.tint > 0) picture.planes.bitmap = TRY(Tinted(picture, layer));
  BlitArea blit{area.x - frame.boxX, area.y - frame.boxY, area.x, area.y, area.width, area.height};
  const bool ownsPlanes = frame.live.bitmap || frame.planes.bitmap;
  if (!ownsPlanes && (layer.type == ObjectType::BRUSHPART || layer.type == ObjectType::BGPICPART)) {
    blit.sx += frame.partX;
    blit.sy += frame.partY;
  }
  blit = ClipSource(blit, {0, 0, picture.planes.bitmap->width, picture.planes.bitmap->height});
  if (blit.Empty()) return {};
  if (layer.transparency > 0) {
    return BlendLayer(work, picture.planes, blit, 255 - layer.transparency, frame.clipRegion);
  }
  BlitClipped(work, picture.planes, blit, frame.clipRegion);
  return {};
}

void DrawLayers(const Composition& work) {
  for (const auto& layer : work.bgpic.layers) {
    // What cannot be drawn is left out; the rest of the scene is not.
    (void)DrawLayer(work, *layer);
  }
}

void PaintOnDisplay(SceneState& scene, qmDisplay& display, const Area& area) {
  if (area.Empty()) return;
  REDRAW(scene, display, *display.bgpic, display.scratch.get(), area.x, area.y, area.width,
         area.height, 0);
  WindowBlit(scene, *display.scratch, area.x, area.y, display, area.x, area.y, area.width,
             area.height, blitMayScale);
}

}  // namespace

void REDRAW(SceneState& scene, qmDisplay& display, qmBGPic& bgpic, qmBitmap* target, std::int32_t x,
            std::int32_t y, std::int32_t width, std::int32_t height, unsigned flags) {
  DebugOutput& debug = scene.host.debug;
  if (target == nullptr) return debug.Write("ERROR! REDRAW CALLED WITHOUT DSTBM\n");
  if (width <= 0 || height <= 0) {
    return debug.Write("ERROR! REDRAW CALLED WITH WIDTH/HEIGHT <= 0\n");
  }
  if (x < 0 || y < 0) return debug.Write("ERROR! REDRAW CALLED WITH NEGATIVE X/Y COORDINATES\n");

  const bool isLogical = (flags & redrawLogical) != 0;
  const Area picture =
      ClipArea({x, y, width, height}, isLogical ? bgpic.logicalWidth : bgpic.outputWidth,
               isLogical ? bgpic.logicalHeight : bgpic.outputHeight);
  const Area area = ClipArea(picture, target->width, target->height);
  if (area.Empty()) return;
  const Composition work{scene, display, bgpic, *target, area, flags};
  if (!work.Has(redrawSpritesOnly)) {
    DrawBackground(work);
    DrawLayers(work);
  }
  if (!work.Has(redrawNoSprites) && scene.sprites.draw) scene.sprites.draw(bgpic, *target, area);
}

Result<LayerPicture> LayerPlanes(SceneState& scene, const qmLayer& layer, const qmFrame& frame,
                                 bool preferLive, std::int32_t frameNumber) {
  if (layer.type == ObjectType::NOOBJECT) return Fail(Error::WrongUsage);
  if (preferLive && frame.live.bitmap)
    return LayerPicture{frame.live, frame.outWidth, frame.outHeight};
  if (frame.planes.bitmap) return LayerPicture{frame.planes, frame.outWidth, frame.outHeight};
  switch (layer.type) {
    case ObjectType::BRUSH:
    case ObjectType::BRUSHPART: {
      const qmBrush* brush = TRY(FindBrush(scene, layer.id, FIND_HIDDEN));
      return LayerPicture{brush->planes, brush->width, brush->height};
    }
    case ObjectType::BGPICPART: {
      const qmBGPic* bgpic = TRY(FindBGPic(scene, layer.id, FIND_HIDDEN));
      return LayerPicture{bgpic->scaled, bgpic->logicalWidth, bgpic->logicalHeight};
    }
    case ObjectType::ANIM:
    case ObjectType::TEXTOBJECT: {
      const auto source = scene.pictureSources.find(layer.type);
      if (source == scene.pictureSources.end()) return Fail(Error::WrongUsage);
      const SourcePicture picture =
          TRY(source->second(layer.id, frameNumber < 0 ? frame.frame : frameNumber, true));
      return LayerPicture{picture.planes, picture.width, picture.height};
    }
    default:
      return Fail(Error::WrongUsage);
  }
}

void NoteRect(std::vector<DirtyRect>& rects, const DirtyRect& rect) {
  constexpr std::size_t growth = 1024;
  try {
    if (rects.size() == rects.capacity()) rects.reserve(rects.size() + growth);
    rects.push_back(rect);
  } catch (const std::bad_alloc&) {
    // Dropped: the place stays as it is until the next repaint.
  }
}

void AddDirty(SceneState& scene, std::int32_t x, std::int32_t y, std::int32_t width,
              std::int32_t height) {
  if (scene.currentDisplay == nullptr) return;
  qmDisplay& display = *scene.currentDisplay;
  const DirtyRect rect = ToDirtyRect(x, y, width, height);
  if (display.outputType == ObjectType::BGPIC) return NoteRect(display.dirtyRects, rect);
  if (display.outputType != ObjectType::DISPLAY) return;
  PaintOnDisplay(scene, display,
                 ClipDirty(rect, display.bgpic->outputWidth, display.bgpic->outputHeight));
}

void MergeAndPaint(SceneState& scene, std::vector<DirtyRect>& rects) {
  std::vector<DirtyRect> list;
  list.swap(rects);
  if (scene.currentDisplay == nullptr) return;
  std::vector<bool> isJoined(list.size());
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (isJoined[i]) continue;
    for (std::size_t j = 0; j < list.size(); ++j) {
      if (j == i || isJoined[j] || !list[i].Overlaps(list[j])) continue;
      list[i] = list[i].Union(list[j]);
      isJoined[j] = true;
    }
  }
  qmDisplay& display = *scene.currentDisplay;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (isJoined[i]) continue;
    PaintOnDisplay(scene, display,
                   ClipDirty(list[i], display.bgpic->outputWidth, display.bgpic->outputHeight));
  }
}

}  // namespace quillmere
