// Selections: drawing goes into an object's planes, or with layers onto a background picture, until
// the selection ends.
#include "pixels/mask_ops.h"
#include "scene/output.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

Result<SelectedPlanes> ResolveBrush(SceneState& scene, const SelectionTarget& target) {
  const qmBrush* brush = TRY(FindBrush(scene, target.id, FIND_NO_VECTOR));
  return SelectedPlanes{brush->planes, brush->width, brush->height};
}

Result<SelectedPlanes> ResolveBGPic(SceneState& scene, const SelectionTarget& target) {
  const qmBGPic* bgpic = TRY(FindBGPic(scene, target.id));
  if (bgpic->imageType != IMAGETYPE_RASTER) return Fail(Error::BGPicTypeUnsupported);
  if (DisplayOf(scene, *bgpic) != nullptr) return Fail(Error::BGPicBelongsToDisplay);
  return SelectedPlanes{bgpic->base, bgpic->baseWidth, bgpic->baseHeight};
}

Result<SelectedPlanes> Resolve(SceneState& scene, SelectionTarget& target) {
  if (target.type == ObjectType::BRUSH) return ResolveBrush(scene, target);
  if (target.type == ObjectType::BGPIC) return ResolveBGPic(scene, target);
  if (target.type == ObjectType::LAYER && !scene.currentDisplay->layersEnabled) {
    return Fail(Error::LayersRequired);
  }
  const auto found = scene.selectables.find(target.type);
  if (found == scene.selectables.end()) return Fail(Error::WrongUsage);
  return found->second->Resolve(target);
}

/// Lets drawing see the planes that the kind of the selection stands for.
void SetOutPlanes(qmDisplay& display, const Planes& planes, ObjectType kind, bool withAll) {
  display.out = {};
  if (kind == ObjectType::MASK || withAll) display.out.mask = planes.mask;
  if (kind == ObjectType::ALPHACHANNEL || withAll) display.out.alpha = planes.alpha;
  if (kind == ObjectType::BRUSH) display.out.bitmap = planes.bitmap;
}

/// What was selected, read back from the record that stands for it.
SelectionTarget TargetOf(const qmDisplay& display, const qmOutput& output) {
  SelectionTarget target;
  target.type = output.selectType;
  target.id = output.selectId;
  target.layer = output.selectLayer;
  target.kind = display.outputType;
  target.frame = output.selectFrame;
  target.mode = output.selectMode;
  return target;
}

/// Makes the plane that is drawn into when it is missing. A picture whose mask is drawn into has no
/// alpha channel any more, and the other way round.
Status MakeSelectedPlane(Planes& planes, ObjectType kind) {
  const int width = planes.bitmap->width;
  const int height = planes.bitmap->height;
  if (kind == ObjectType::MASK) {
    if (!planes.mask) {
      planes.mask = TRY(AllocMask(width, height, true));
      FillMask(*planes.mask, {0, 0, width, height}, MASKVISIBLE);
    }
    planes.alpha.reset();
  }
  if (kind == ObjectType::ALPHACHANNEL) {
    if (!planes.alpha) {
      planes.alpha = TRY(AllocAlphaMap(width, height, false));
      FillAlpha(*planes.alpha, {0, 0, width, height}, 255);
    }
    planes.mask.reset();
  }
  return {};
}

Result<SelectedPlanes> Prepare(SceneState& scene, const SelectionTarget& target) {
  if (target.type == ObjectType::BRUSH) {
    qmBrush* brush = TRY(FindBrush(scene, target.id, FIND_MODIFY));
    TRY(MakeSelectedPlane(brush->planes, target.kind));
    return SelectedPlanes{brush->planes, brush->width, brush->height};
  }
  if (target.type == ObjectType::BGPIC) {
    qmBGPic* bgpic = TRY(FindBGPic(scene, target.id, FIND_MODIFY));
    TRY(MakeSelectedPlane(bgpic->base, target.kind));
    return SelectedPlanes{bgpic->base, bgpic->baseWidth, bgpic->baseHeight};
  }
  const auto found = scene.selectables.find(target.type);
  if (found == scene.selectables.end()) return Fail(Error::WrongUsage);
  return found->second->Prepare(target);
}

/// After drawing into an object: what was made from its planes is made anew.
Status FinishObject(SceneState& scene, const SelectionTarget& target) {
  if (target.type == ObjectType::BRUSH) return {};
  if (target.type == ObjectType::BGPIC) {
    return DeriveBGPicPlanes(scene, *TRY(FindBGPic(scene, target.id)));
  }
  const auto found = scene.selectables.find(target.type);
  if (found != scene.selectables.end()) found->second->Finish(target);
  return {};
}

/// Shows the layers that were made while the displayed picture was selected.
void FinishLayers(SceneState& scene, qmDisplay& display, const qmOutput& selected) {
  if (&selected != display.bgpic) {
    display.dirtyRects.clear();
    return;
  }
  for (const auto& layer : display.bgpic->layers) layer->leftOut = false;
  MergeAndPaint(scene, display.dirtyRects);
}

void ResumeDoubleBuffer(SceneState& scene, qmDisplay& display) {
  display.doubleBufferSuspended = false;
  display.doubleBuffered = true;
  display.outputType = ObjectType::BRUSH;
  display.out = {};
  display.out.bitmap = display.doubleBufferBack;
  scene.SetCurrentOutput(display.doubleBufferOutput.get());
}

}  // namespace

Status SelectOutput(SceneState& scene, SelectionTarget target) {
  qmDisplay& display = *scene.currentDisplay;
  const bool isSame = IsSelectedOutput(scene, target.type, target.id, target.frame) &&
                      display.outputType == target.kind && target.type != ObjectType::LAYER;
  if (isSame) return {};
  TRY(EndSelection(scene));
  const SelectedPlanes found = TRY(Resolve(scene, target));
  if (!display.selectOutput) display.selectOutput = std::make_unique<qmOutput>();
  qmOutput& output = *display.selectOutput;
  InitOutput(output, target.type, target.frame, found.planes, found.width, found.height);
  output.selectId = target.id;
  output.selectLayer = target.layer;
  output.selectMode = target.mode;
  output.selectDirty = false;
  output.clipRegion = nullptr;
  scene.SetCurrentOutput(&output);
  ParkState(scene, display, false);
  display.outputType = target.kind;
  if (display.doubleBuffered) {
    display.doubleBuffered = false;
    display.doubleBufferSuspended = true;
  }
  SetOutPlanes(display, found.planes, target.kind, target.mode == SELMODE_COMBO);
  return {};
}

Status PrepareOutput(SceneState& scene) {
  qmDisplay* display = scene.currentDisplay;
  if (display == nullptr || scene.currentOutput != display->selectOutput.get()) return {};
  qmOutput& output = *scene.currentOutput;
  if (output.selectDirty) return {};
  const SelectionTarget target = TargetOf(*display, output);
  const SelectedPlanes ready = TRY(Prepare(scene, target));
  output.base = output.scaled = output.shown = ready.planes;
  SetOutPlanes(*display, ready.planes, target.kind, target.mode == SELMODE_COMBO);
  output.selectDirty = true;
  return {};
}

Status SelectBGPicLayers(SceneState& scene, const ObjectId* id) {
  qmDisplay& display = *scene.currentDisplay;
  qmBGPic* bgpic = id != nullptr ? TRY(FindBGPic(scene, *id)) : display.bgpic;
  if (display.outputType == ObjectType::BGPIC && scene.currentOutput == bgpic) return {};
  TRY(EndSelection(scene));
  if (!display.layersEnabled) return Fail(Error::LayersRequired);
  if (bgpic != display.bgpic && DisplayOf(scene, *bgpic) != nullptr) {
    return Fail(Error::BGPicNeedsItsDisplay);
  }
  constexpr std::size_t room = 1024;
  display.dirtyRects.clear();
  display.dirtyRects.reserve(room);
  display.out = {};
  scene.SetCurrentOutput(bgpic);
  ParkState(scene, display, true);
  display.outputType = ObjectType::BGPIC;
  return {};
}

Status EndSelection(SceneState& scene) {
  qmDisplay& display = *scene.currentDisplay;
  if (display.doubleBuffered || !display.HasSelection()) return {};
  qmOutput& selected = *scene.currentOutput;
  const bool isOnLayers = display.outputType == ObjectType::BGPIC;
  const bool isDirty = !isOnLayers && selected.selectDirty;
  const SelectionTarget target = TargetOf(display, selected);

  if (!isOnLayers) {
    // The record must not keep planes alive that the object gives up.
    InitOutput(selected, ObjectType::NOOBJECT, 0, {}, 0, 0);
    selected.selectDirty = false;
    selected.clipRegion = nullptr;
  }
  if (display.doubleBufferSuspended) {
    ResumeDoubleBuffer(scene, display);
  } else {
    display.out = {};
    display.outputType = ObjectType::DISPLAY;
    scene.SetCurrentOutput(display.bgpic);
  }
  UnparkState(display);
  if (isOnLayers) FinishLayers(scene, display, selected);
  return isDirty ? FinishObject(scene, target) : Status{};
}

}  // namespace quillmere
