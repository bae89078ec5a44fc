#include "scene/current_output.h"

#include "scene/scene_state.h"

namespace quillmere {

bool CurrentDisplayOutput::IsDisplay() const {
  return scene_.currentDisplay->outputType == ObjectType::DISPLAY;
}

bool CurrentDisplayOutput::LayersEnabled() const {
  return scene_.currentDisplay->layersEnabled;
}

bool CurrentDisplayOutput::AutoScaling() const {
  return scene_.currentDisplay->autoScale;
}

qmBitmap* CurrentDisplayOutput::OutBitmap() {
  return scene_.currentDisplay->out.bitmap.get();
}

qmMask* CurrentDisplayOutput::OutMask() {
  return scene_.currentDisplay->out.mask.get();
}

qmAlphaMap* CurrentDisplayOutput::OutAlpha() {
  return scene_.currentDisplay->out.alpha.get();
}

qmBitmap* CurrentDisplayOutput::Canvas() {
  return scene_.currentDisplay->canvas.get();
}

qmBitmap* CurrentDisplayOutput::Scratch() {
  return scene_.currentDisplay->scratch.get();
}

bool CurrentDisplayOutput::SpritesOverlap(const Area& area) const {
  return IsDisplay() && scene_.sprites.overlap &&
         scene_.sprites.overlap(*scene_.currentDisplay->bgpic, area);
}

void CurrentDisplayOutput::Render(const Area& area, Content content) {
  qmDisplay& display = *scene_.currentDisplay;
  const Area inside = ClipArea(area, display.bgpic->outputWidth, display.bgpic->outputHeight);
  if (inside.Empty()) return;
  const unsigned flags = content == Content::Scene                 ? 0u
                         : content == Content::SceneWithoutSprites ? redrawNoSprites
                                                                   : redrawSpritesOnly;
  REDRAW(scene_, display, *display.bgpic, display.scratch.get(), inside.x, inside.y, inside.width,
         inside.height, flags);
}

void CurrentDisplayOutput::UpdateWindow(const qmBitmap& source, const BlitArea& area) {
  WindowBlit(scene_, source, area.sx, area.sy, *scene_.currentDisplay, area.tx, area.ty, area.width,
             area.height, blitMayScale);
}

}  // namespace quillmere
