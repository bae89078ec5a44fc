// The script library of graphics: what belongs to no single kind of object.
#include <vector>

#include "pixels/color_commands.h"
#include "pixels/object_types.h"
#include "pixels/placement.h"
#include "scene/libraries.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

CommandResult VWait(VmState& state) {
  vmCheckArgs(state, 0, 0);
  SceneState& scene = vmRoom<SceneState>(state);
  FrameWait(scene, *scene.currentDisplay);
  vmRequestLineHook(state);
  return 0;
}

CommandResult SetFPSLimit(VmState& state) {
  vmCheckArgs(state, 1, 1);
  SceneState& scene = vmRoom<SceneState>(state);
  const std::int32_t limit = std::max(0, vmArgInt(state, 1));
  scene.pacing.limited = limit > 0;
  scene.pacing.fpsLimit =
      limit > 0 ? limit : scene.platform().windows().GetDesktopInfo().refreshRate;
  return 0;
}

CommandResult GetFPSLimit(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmPushNumber(state, vmRoom<SceneState>(state).pacing.fpsLimit);
  return 1;
}

constexpr VmCommandEntry pacingCommands[] = {
    {"VWait", VWait},
    {"SetFPSLimit", SetFPSLimit},
    {"GetFPSLimit", GetFPSLimit},
};

}  // namespace

Status OpenGraphicsLibrary(VmState& state) {
  SceneState& scene = vmRoom<SceneState>(state);
  scene.pacing.fpsLimit = scene.platform().windows().GetDesktopInfo().refreshRate;
  const std::span<const VmCommandEntry> colors = ColorCommands();
  scene.graphicsCommands.assign(colors.begin(), colors.end());
  scene.graphicsCommands.insert(scene.graphicsCommands.end(), std::begin(pacingCommands),
                                std::end(pacingCommands));
  vmOpenLibrary(state, "graphics", scene.graphicsCommands);
  vmRegisterConstants(state, ObjectTypeConstants());
  vmRegisterConstants(state, PositionConstants());
  return {};
}

}  // namespace quillmere
