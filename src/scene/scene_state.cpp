#include "scene/scene_state.h"

#include "scene/current_output.h"
#include "scene/layer_links.h"

namespace quillmere {
namespace {

Registry<qmBrush>::Hooks BrushHooks(const SceneState& scene) {
  return {
      .clone = CloneBrush,
      .isVector = [](const qmBrush& brush) { return brush.imageType != IMAGETYPE_RASTER; },
      .mayFree =
          [&scene](const qmBrush& brush) { return RequireNotSelectedBrush(scene, brush.Id()); },
      .inUse = {},
  };
}

Registry<qmBGPic>::Hooks BGPicHooks(SceneState& scene) {
  return {
      .clone = CloneBGPic,
      .isVector = {},
      .mayFree = [&scene](const qmBGPic& bgpic) -> Status {
        if (IsSelectedOutput(scene, ObjectType::BGPIC, bgpic.Id()))
          return Fail(Error::BGPicIsOutput);
        return {};
      },
      .inUse = [&scene](const qmBGPic& bgpic) { return DisplayOf(scene, bgpic) != nullptr; },
  };
}

}  // namespace

SceneState::SceneState(Host& owner)
    : host(owner),
      clipRegions(owner, pixels().objects, kinds::clipRegion),
      brushes(owner, pixels().objects, kinds::brush, BrushHooks(*this)),
      bgpics(owner, pixels().objects, kinds::bgpic, BGPicHooks(*this)),
      displays(owner, kinds::display.notFound),
      blitOutput_(std::make_unique<CurrentDisplayOutput>(*this)),
      layerLinks_(std::make_unique<SceneLayerLinks>(*this)) {
  pixels().objects.SetLayerLinks(layerLinks_.get());
  pixels().outputPalette = [this]() -> std::span<const std::uint32_t> {
    if (currentOutput == nullptr || !currentOutput->palette) return {};
    return *currentOutput->palette;
  };
  pixels().screenDepth = [this] { return platform().windows().GetDesktopInfo().depth; };
}

SceneState::~SceneState() {
  // The rooms above may be gone already; nothing is told to them any more.
  hooks = {};
  layerService = {};
  sprites = {};
  asyncDraw = {};
  recorder = {};
  CloseDisplays(*this);
  pixels().objects.SetLayerLinks(nullptr);
  pixels().outputPalette = {};
  pixels().screenDepth = {};
}

void SceneState::SetCurrentDisplay(qmDisplay* display) {
  currentDisplay = display;
  pixels().output = display != nullptr ? blitOutput_.get() : nullptr;
  qmOutput* output = nullptr;
  if (display != nullptr) {
    output = display->doubleBuffered ? display->doubleBufferOutput.get() : display->bgpic;
  }
  SetCurrentOutput(output);
}

void SceneState::SetCurrentOutput(qmOutput* output) {
  currentOutput = output;
  hooks.outputChanged.Call();
}

}  // namespace quillmere
