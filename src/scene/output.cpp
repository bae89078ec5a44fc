#include "scene/output.h"

#include "pixels/placement.h"
#include "scene/scene_state.h"

namespace quillmere {

void InitOutput(qmOutput& output, ObjectType type, std::int32_t frame, const Planes& planes,
                std::int32_t width, std::int32_t height) {
  output.selectType = type;
  output.selectFrame = frame;
  output.base = output.scaled = output.shown = planes;
  output.outputWidth = output.logicalWidth = output.baseWidth = width;
  output.outputHeight = output.logicalHeight = output.baseHeight = height;
  output.layers.clear();
}

bool IsSelectedOutput(const SceneState& scene, ObjectType type, const ObjectId& id,
                      std::int32_t frame) {
  const qmDisplay* display = scene.currentDisplay;
  if (display == nullptr || display->doubleBuffered || !display->HasSelection()) return false;
  if (display->outputType == ObjectType::BGPIC) {
    return type == ObjectType::BGPIC && scene.currentOutput->Id() == id;
  }
  const qmOutput& output = *scene.currentOutput;
  return output.selectType == type && output.selectId == id &&
         (frame < 0 || output.selectFrame == frame);
}

Status RequireNoSelection(const SceneState& scene) {
  const qmDisplay& display = *scene.currentDisplay;
  if (display.doubleBuffered) return Fail(Error::DoubleBufferingActive);
  switch (display.outputType) {
    case ObjectType::BRUSH: {
      const bool isAnim = scene.currentOutput->selectType == ObjectType::ANIM;
      return Fail(isAnim ? Error::AnimSelected : Error::BrushSelected);
    }
    case ObjectType::MASK:
      return Fail(Error::MaskSelected);
    case ObjectType::ALPHACHANNEL:
      return Fail(Error::AlphaChannelSelected);
    case ObjectType::BGPIC:
      return Fail(Error::BGPicSelected);
    default:
      return {};
  }
}

Area CurrentArea(const SceneState& scene) {
  if (scene.currentOutput == nullptr) return {};
  const qmOutput& output = *scene.currentOutput;
  if (const qmClipRegion* region = output.clipRegion) {
    return {region->x, region->y, region->width, region->height};
  }
  return {0, 0, output.logicalWidth, output.logicalHeight};
}

std::int32_t PlaceX(const SceneState& scene, std::int32_t x, std::int32_t size, double anchor) {
  const Area area = CurrentArea(scene);
  return ResolveX(x, size, {area.x, area.width}, anchor);
}

std::int32_t PlaceY(const SceneState& scene, std::int32_t y, std::int32_t size, double anchor) {
  const Area area = CurrentArea(scene);
  return ResolveY(y, size, {area.y, area.height}, anchor);
}

void ParkState(SceneState& scene, qmDisplay& display, bool keepLayers) {
  if (!display.parked) {
    display.parked = ParkedState{display.cursorX, display.cursorY, display.marginTextLeft,
                                 display.marginTextRight, display.layersEnabled};
  }
  display.cursorX = display.cursorY = 0;
  display.marginTextLeft = 0;
  display.marginTextRight = scene.currentOutput->logicalWidth - 1;
  if (!keepLayers) display.layersEnabled = false;
}

void UnparkState(qmDisplay& display) {
  if (!display.parked) return;
  display.cursorX = display.parked->cursorX;
  display.cursorY = display.parked->cursorY;
  display.marginTextLeft = display.parked->marginTextLeft;
  display.marginTextRight = display.parked->marginTextRight;
  display.layersEnabled = display.parked->layersEnabled;
  display.parked.reset();
}

}  // namespace quillmere
